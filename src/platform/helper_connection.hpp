#pragma once

#include <functional>
#include <memory>
#include <optional>
#include <string>

#include "platform/error.hpp"

/// The way to the privileged helper tool; platform/cocoa/helper_connection.mm speaks NSXPCConnection. Texts are UTF-8.

namespace quillmark {

/// An NSData, carried but never looked into.
class Data {
 public:
  virtual ~Data() = default;

  /// What "%@" prints.
  [[nodiscard]] virtual std::string description() const = 0;
};

/// The privileged helper tool, as a proxy of an NSXPCConnection: HelperToolProtocol's messages that the installer
/// sends. Sending returns at once. Each message is answered once, on the connection's private queue: by its reply,
/// or by the error handler that the proxy was made with.
class HelperTool {
 public:
  virtual ~HelperTool() = default;

  virtual void getVersion(std::function<void(const std::optional<std::string> &version)> reply) = 0;

  /// `authorization` may be null. The reply's error is nothing on success.
  virtual void install(const std::string &path, const std::shared_ptr<Data> &authorization,
                       std::function<void(const std::optional<Error> &error)> reply) = 0;

  /// With an error there are no descriptors, and both numbers are -1. Without one they are closed when the reply has
  /// returned.
  virtual void bindToLowNumberPort(
      const std::shared_ptr<Data> &authorization,
      std::function<void(const std::optional<Error> &error, int ipv4, int ipv6)> reply) = 0;
};

/// An NSXPCConnection. Any thread.
class HelperConnection {
 public:
  virtual ~HelperConnection() = default;

  /// To an NSXPCInterface made from HelperToolProtocol.
  virtual void setRemoteObjectInterface() = 0;

  /// Run once, on the connection's private queue, after the platform has invalidated the connection. An empty
  /// handler clears it. A handler may clear itself: it stays whole until it returns.
  virtual void setInvalidationHandler(std::function<void()> handler) = 0;

  virtual void resume() = 0;

  /// The error handler runs on the connection's private queue.
  [[nodiscard]] virtual std::unique_ptr<HelperTool> remoteObjectProxy(
      std::function<void(const Error &error)> errorHandler) = 0;
};

/// Makes connections. Any thread.
class HelperConnections {
 public:
  virtual ~HelperConnections() = default;

  /// -[NSXPCConnection initWithMachServiceName:options:] with NSXPCConnectionPrivileged: the service is looked up in
  /// the system's launchd domain. Never fails; a missing service shows when a message is sent.
  [[nodiscard]] virtual std::shared_ptr<HelperConnection> privilegedConnection(const std::string &machServiceName) = 0;
};

}  // namespace quillmark
