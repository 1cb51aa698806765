#import "platform/cocoa/helper_connection.h"

#import "HelperToolProtocol.h"
#import "platform/cocoa/error.h"
#import "platform/cocoa/text.h"

namespace quillmark::cocoa {

namespace {

NSData *nsData(const std::shared_ptr<Data> &data) {
  return data == nullptr ? nil : static_cast<const CocoaData &>(*data).get();
}

class CocoaHelperTool final : public HelperTool {
 public:
  explicit CocoaHelperTool(id proxy) : proxy_(Retained<NSObject>::retain(proxy)) {}

  void getVersion(std::function<void(const std::optional<std::string> &)> reply) override {
    [proxy() getVersionWithReply:^(NSString *version) {
      reply(optionalUTF8(version));
    }];
  }

  void install(const std::string &path, const std::shared_ptr<Data> &authorization,
               std::function<void(const std::optional<Error> &)> reply) override {
    [proxy() install:string(path)
        authorization:nsData(authorization)
            withReply:^(NSError *error) {
              reply(optionalError(error));
            }];
  }

  void bindToLowNumberPort(const std::shared_ptr<Data> &authorization,
                           std::function<void(const std::optional<Error> &, int, int)> reply) override {
    [proxy() bindToLowNumberPortAuthorization:nsData(authorization)
                                    withReply:^(NSError *error, NSFileHandle *ipv4Handle, NSFileHandle *ipv6Handle) {
                                      if (error != nil) {
                                        reply(makeError(error), -1, -1);
                                        return;
                                      }
                                      const int ipv4 = [ipv4Handle fileDescriptor];
                                      const int ipv6 = [ipv6Handle fileDescriptor];
                                      reply(std::nullopt, ipv4, ipv6);
                                    }];
  }

 private:
  [[nodiscard]] id<HelperToolProtocol> proxy() const { return static_cast<id<HelperToolProtocol>>(proxy_.get()); }

  Retained<NSObject> proxy_;
};

}  // namespace

std::string CocoaData::description() const { return utf8([get() description]); }

void CocoaHelperConnection::setRemoteObjectInterface() {
  [get() setRemoteObjectInterface:[NSXPCInterface interfaceWithProtocol:@protocol(HelperToolProtocol)]];
}

void CocoaHelperConnection::setInvalidationHandler(std::function<void()> handler) {
  if (!handler) {
    [get() setInvalidationHandler:nil];
    return;
  }
  [get() setInvalidationHandler:^{
    const std::function<void()> running = handler;  // outlives the block when the handler clears itself
    running();
  }];
}

void CocoaHelperConnection::resume() { [get() resume]; }

std::unique_ptr<HelperTool> CocoaHelperConnection::remoteObjectProxy(
    std::function<void(const Error &error)> errorHandler) {
  return std::make_unique<CocoaHelperTool>([get() remoteObjectProxyWithErrorHandler:^(NSError *error) {
    errorHandler(makeError(error));
  }]);
}

std::shared_ptr<HelperConnection> CocoaHelperConnections::privilegedConnection(const std::string &machServiceName) {
  return std::make_shared<CocoaHelperConnection>(Retained<NSXPCConnection>::assume(
      [[NSXPCConnection alloc] initWithMachServiceName:string(machServiceName) options:NSXPCConnectionPrivileged]));
}

}  // namespace quillmark::cocoa
