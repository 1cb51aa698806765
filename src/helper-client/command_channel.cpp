#include "helper-client/command_channel.hpp"

#include "helper-client/helper_label.hpp"
#include "platform/foundation.hpp"
#include "window/activity_log.hpp"

namespace quillmark {

namespace {

/// Runs on the connection's queue.
void connectionWasInvalidated(MainQueue &mainQueue, const DelegatePtr &delegate) {
  // The handler holds the delegate, which holds the connection, which holds the handler.
  if (const auto connection = delegate->helperToolConnection()) connection->setInvalidationHandler(nullptr);
  mainQueue.addOperation([&mainQueue, delegate] {
    delegate->setHelperToolConnection(nullptr);
    logText(mainQueue, delegate, "connection invalidated\n");
  });
}

}  // namespace

void connectToHelperTool(const Mac &mac, const DelegatePtr &delegate) {
  if (delegate->helperToolConnection() != nullptr) return;
  const auto connection = mac.helperConnections.privilegedConnection(helperLabel);
  delegate->setHelperToolConnection(connection);
  connection->setRemoteObjectInterface();
  connection->setInvalidationHandler(
      [&mainQueue = mac.mainQueue, delegate] { connectionWasInvalidated(mainQueue, delegate); });
  connection->resume();
}

void connectAndExecuteCommandBlock(const Mac &mac, const DelegatePtr &delegate, const CommandBlock &command) {
  connectToHelperTool(mac, delegate);
  command(std::nullopt);
}

void sendCommand(const Mac &mac, const DelegatePtr &delegate, const std::function<void(HelperTool &)> &send) {
  connectAndExecuteCommandBlock(mac, delegate, [&](const std::optional<Error> &error) {
    if (error) {
      logError(mac.mainQueue, delegate, *error);
      return;
    }
    const auto connection = delegate->helperToolConnection();
    if (connection == nullptr) return;  // the field was emptied meanwhile: there is nobody to send to
    const auto helperTool =
        connection->remoteObjectProxy([&mainQueue = mac.mainQueue, delegate](const Error &undelivered) {
          logError(mainQueue, delegate, undelivered);
        });
    send(*helperTool);
  });
}

void getVersionAction(const Mac &mac, const DelegatePtr &delegate) {
  sendCommand(mac, delegate, [&](HelperTool &helperTool) {
    helperTool.getVersion([&mainQueue = mac.mainQueue, delegate](const std::optional<std::string> &version) {
      logText(mainQueue, delegate, "version = " + objectDescription(version) + "\n");
    });
  });
}

void bindAction(const Mac &mac, const DelegatePtr &delegate) {
  sendCommand(mac, delegate, [&](HelperTool &helperTool) {
    const auto reply = [&mainQueue = mac.mainQueue, delegate](const std::optional<Error> &error, int ipv4, int ipv6) {
      if (error) {
        logError(mainQueue, delegate, *error);
        return;
      }
      // The second number is unsigned: a descriptor of -1 reads 4294967295 there.
      logText(mainQueue, delegate,
              "IPv4 = " + std::to_string(ipv4) + ", IPv6 = " + std::to_string(static_cast<unsigned>(ipv6)) + "\n");
    };
    helperTool.bindToLowNumberPort(delegate->authorization(), reply);
  });
}

}  // namespace quillmark
