// NSXPCConnection over the Mach services of this process. GNUstep declares the class and leaves it empty. As on a Mac,
// a connection does nothing before it is resumed; only a privileged one is looked up in the system's domain; each
// message is answered once, by its reply or by the error handler of its proxy; replies, errors and the invalidation run
// one at a time on the connection's private queue; a message to a service that does not exist invalidates the
// connection.

#include <Block.h>
#import <Foundation/Foundation.h>
#include <dispatch/dispatch.h>
#include <objc/runtime.h>

#include <condition_variable>
#include <deque>
#include <functional>
#include <map>
#include <memory>
#include <mutex>
#include <string>
#include <thread>
#include <utility>
#include <vector>

#import "platform/cocoa/retained.h"
#import "platform/gnustep/mach_services.h"

using quillmark::cocoa::Retained;

namespace {

// NSXPCConnectionInvalid of <Foundation/FoundationErrors.h>.
constexpr NSInteger connectionInvalid = 4099;

using ErrorHandler = void (^)(NSError *error);
using Delivery = void (^)(id<HelperToolProtocol> helper);

std::mutex servicesMutex;

std::map<std::string, Retained<NSObject>> &services() {
  static auto *const table = new std::map<std::string, Retained<NSObject>>;
  return *table;
}

/// A copy of a block, which is an object like any other.
template <typename Block>
Retained<NSObject> copied(Block block) {
  return Retained<NSObject>::assume(static_cast<NSObject *>([(id)block copy]));
}

/// GNUstep's lazy locks lock nothing until the program knows that it has several threads. If it learns that from the
/// new thread, the old one may be between locking and unlocking, and the unlocking raises an exception.
void becomeMultiThreaded() {
  if (![NSThread isMultiThreaded]) {
    [NSThread detachNewThreadSelector:@selector(self) toTarget:[NSThread class] withObject:nil];
  }
}

/// Runs functions one at a time, in order, on a thread of its own.
class PrivateQueue {
 public:
  PrivateQueue() {
    becomeMultiThreaded();
    std::thread(serve, shared_).detach();
  }

  ~PrivateQueue() {
    post([shared = shared_] { shared->closed = true; });
    start();
  }

  void start() {
    const std::lock_guard<std::mutex> lock(shared_->mutex);
    shared_->started = true;
    shared_->changed.notify_one();
  }

  void post(std::function<void()> work) {
    const std::lock_guard<std::mutex> lock(shared_->mutex);
    shared_->waiting.push_back(std::move(work));
    shared_->changed.notify_one();
  }

 private:
  struct Shared {
    std::mutex mutex;
    std::condition_variable changed;
    std::deque<std::function<void()>> waiting;
    bool started = false;
    bool closed = false;  // the thread's own
  };

  static void serve(std::shared_ptr<Shared> shared) {
    GSRegisterCurrentThread();
    while (!shared->closed) {
      std::function<void()> work;
      {
        std::unique_lock<std::mutex> lock(shared->mutex);
        shared->changed.wait(lock, [&] { return shared->started && !shared->waiting.empty(); });
        work = std::move(shared->waiting.front());
        shared->waiting.pop_front();
      }
      @autoreleasepool {
        work();
        work = nullptr;
      }
    }
    GSUnregisterCurrentThread();
  }

  std::shared_ptr<Shared> shared_ = std::make_shared<Shared>();
};

/// A message that waits for its reply.
struct Message {
  Retained<NSObject> errorHandler;
  bool answered = false;
};

struct Connection : std::enable_shared_from_this<Connection> {
  Connection(NSString *service, bool privileged)
      : service(Retained<NSString>::retain(service)), privileged(privileged) {}

  Retained<NSString> service;
  const bool privileged;
  PrivateQueue queue;

  std::mutex mutex;
  Retained<NSObject> invalidationHandler;
  Retained<NSXPCInterface> remoteObjectInterface;

  // On the private queue only.
  bool invalid = false;
  std::vector<std::shared_ptr<Message>> pending;

  void invalidate() {
    if (invalid) return;
    invalid = true;
    for (const auto &message : std::exchange(pending, {})) fail(*message);
    dispatch_block_t handler = nil;  // not retained: a handler that clears itself keeps itself alive
    {
      const std::lock_guard<std::mutex> lock(mutex);
      handler = (dispatch_block_t)(id)invalidationHandler.get();
    }
    if (handler != nil) handler();
  }

  void fail(Message &message) {
    if (std::exchange(message.answered, true)) return;
    NSString *description =
        [NSString stringWithFormat:@"The connection to service named %@ was invalidated.", service.get()];
    NSError *error = [NSError errorWithDomain:NSCocoaErrorDomain
                                         code:connectionInvalid
                                     userInfo:@{NSLocalizedDescriptionKey : description}];
    ((ErrorHandler)(id)message.errorHandler.get())(error);
  }

  void deliver(const std::shared_ptr<Message> &message, const Retained<NSObject> &delivery) {
    id<HelperToolProtocol> helper = invalid || !privileged ? nil : machService(service.get());
    if (helper == nil) {
      fail(*message);
      invalidate();
      return;
    }
    pending.push_back(message);
    ((Delivery)(id)delivery.get())(helper);
  }

  void answer(const std::shared_ptr<Message> &message, const Retained<NSObject> &reply) {
    if (std::exchange(message->answered, true)) return;
    std::erase(pending, message);
    ((dispatch_block_t)(id)reply.get())();
  }
};

std::mutex connectionsMutex;

/// By NSXPCConnection: the class is the library's, and has no room for an instance variable of ours.
std::map<void *, std::shared_ptr<Connection>> &connections() {
  static auto *const table = new std::map<void *, std::shared_ptr<Connection>>;
  return *table;
}

std::shared_ptr<Connection> connectionOf(NSXPCConnection *object) {
  const std::lock_guard<std::mutex> lock(connectionsMutex);
  return connections().at(object);
}

}  // namespace

void registerMachService(NSString *name, id<HelperToolProtocol> helper) {
  const std::lock_guard<std::mutex> lock(servicesMutex);
  services()[[name UTF8String]] = Retained<NSObject>::retain(static_cast<NSObject *>(helper));
}

id<HelperToolProtocol> machService(NSString *name) {
  const std::lock_guard<std::mutex> lock(servicesMutex);
  return static_cast<id<HelperToolProtocol>>([[services()[[name UTF8String]].get() retain] autorelease]);
}

/// Each message of the protocol is spelled out: the gcc runtime cannot forward one that carries a block.
@interface QuillmarkHelperProxy : NSObject <HelperToolProtocol> {
  std::shared_ptr<Connection> *_connection;
  ErrorHandler _errorHandler;
}
@end

@implementation QuillmarkHelperProxy

- (id)initWithConnection:(const std::shared_ptr<Connection> &)connection errorHandler:(ErrorHandler)errorHandler {
  self = [super init];
  if (self == nil) return nil;
  _connection = new std::shared_ptr<Connection>(connection);
  _errorHandler = [(id)errorHandler copy];
  return self;
}

- (void)dealloc {
  delete _connection;
  [(id)_errorHandler release];
  [super dealloc];
}

/// Sends `delivery` to the helper; the block that it gets back hands a reply over to the private queue.
- (void)send:(void (^)(id<HelperToolProtocol> helper, void (^answer)(dispatch_block_t reply)))delivery {
  const std::shared_ptr<Connection> connection = *_connection;
  const auto message = std::make_shared<Message>();
  message->errorHandler = copied(_errorHandler);
  const Retained<NSObject> deliver = copied(^(id<HelperToolProtocol> helper) {
    delivery(helper, ^(dispatch_block_t reply) {
      connection->queue.post([connection, message, copy = copied(reply)] { connection->answer(message, copy); });
    });
  });
  connection->queue.post([connection, message, deliver] { connection->deliver(message, deliver); });
}

- (void)connectWithEndpointReply:(void (^)(NSXPCListenerEndpoint *))reply {
  [self send:^(id<HelperToolProtocol> helper, void (^answer)(dispatch_block_t)) {
    [helper connectWithEndpointReply:^(NSXPCListenerEndpoint *endpoint) {
      answer(^{
        reply(endpoint);
      });
    }];
  }];
}

- (void)getVersionWithReply:(void (^)(NSString *))reply {
  [self send:^(id<HelperToolProtocol> helper, void (^answer)(dispatch_block_t)) {
    [helper getVersionWithReply:^(NSString *version) {
      answer(^{
        reply(version);
      });
    }];
  }];
}

- (void)install:(NSString *)path authorization:(NSData *)authorization withReply:(void (^)(NSError *))reply {
  [self send:^(id<HelperToolProtocol> helper, void (^answer)(dispatch_block_t)) {
    [helper install:path
        authorization:authorization
            withReply:^(NSError *error) {
              answer(^{
                reply(error);
              });
            }];
  }];
}

- (void)bindToLowNumberPortAuthorization:(NSData *)authorization
                               withReply:(void (^)(NSError *, NSFileHandle *, NSFileHandle *))reply {
  [self send:^(id<HelperToolProtocol> helper, void (^answer)(dispatch_block_t)) {
    [helper bindToLowNumberPortAuthorization:authorization
                                   withReply:^(NSError *error, NSFileHandle *ipv4Handle, NSFileHandle *ipv6Handle) {
                                     answer(^{
                                       reply(error, ipv4Handle, ipv6Handle);
                                     });
                                   }];
  }];
}

@end

@interface NSXPCConnection (QuillmarkXPC)
@end

@implementation NSXPCConnection (QuillmarkXPC)

- (id)initWithMachServiceName:(NSString *)name options:(NSXPCConnectionOptions)options {
  const auto connection = std::make_shared<Connection>(name, (options & NSXPCConnectionPrivileged) != 0);
  const std::lock_guard<std::mutex> lock(connectionsMutex);
  connections()[self] = connection;
  return self;
}

- (void)dealloc {
  std::shared_ptr<Connection> connection;  // let go of without the lock, because of what its handlers may hold
  {
    const std::lock_guard<std::mutex> lock(connectionsMutex);
    connection = std::move(connections().at(self));
    connections().erase(self);
  }
  [super dealloc];
}

- (void)setRemoteObjectInterface:(NSXPCInterface *)interface {
  const auto connection = connectionOf(self);
  const std::lock_guard<std::mutex> lock(connection->mutex);
  connection->remoteObjectInterface = Retained<NSXPCInterface>::retain(interface);
}

- (NSXPCInterface *)remoteObjectInterface {
  const auto connection = connectionOf(self);
  const std::lock_guard<std::mutex> lock(connection->mutex);
  return [[connection->remoteObjectInterface.get() retain] autorelease];
}

- (void)setInvalidationHandler:(GSXPCInvalidationHandler)handler {
  const auto connection = connectionOf(self);
  Retained<NSObject> former;  // let go of without the lock, because of what it may hold
  const std::lock_guard<std::mutex> lock(connection->mutex);
  former = std::exchange(connection->invalidationHandler, copied(handler));
}

- (void)resume {
  connectionOf(self)->queue.start();
}

- (void)invalidate {
  const auto connection = connectionOf(self);
  connection->queue.post([connection] { connection->invalidate(); });
}

/// There is one protocol here that the proxy knows.
- (id)remoteObjectProxyWithErrorHandler:(GSXPCProxyErrorHandler)handler {
  if (![NSStringFromProtocol([[self remoteObjectInterface] protocol]) isEqualToString:@"HelperToolProtocol"]) {
    [NSException raise:NSInvalidArgumentException format:@"the connection's remote interface is not the helper's"];
  }
  return [[[QuillmarkHelperProxy alloc] initWithConnection:connectionOf(self) errorHandler:handler] autorelease];
}

@end

@interface QuillmarkXPCInterface : NSXPCInterface {
  Protocol *_protocol;
}
@end

@implementation QuillmarkXPCInterface

- (Protocol *)protocol {
  return _protocol;
}

/// A record that @protocol() makes is one that the gcc runtime does not know; the one of the same name that a class
/// adopts it does know. Its second word is the name, see struct objc_protocol of libobjc.
- (void)setProtocol:(Protocol *)protocol {
  _protocol = objc_getProtocol(((const char **)(void *)protocol)[1]);
}

@end

@interface NSXPCInterface (QuillmarkXPC)
@end

@implementation NSXPCInterface (QuillmarkXPC)

+ (NSXPCInterface *)interfaceWithProtocol:(Protocol *)protocol {
  QuillmarkXPCInterface *interface = [[[QuillmarkXPCInterface alloc] init] autorelease];
  [interface setProtocol:protocol];
  return interface;
}

@end
