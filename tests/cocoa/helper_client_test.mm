// The delegate's real blocks, proxies and atomic properties, against a helper in this process that answers through the
// same protocol, and against none.

#import <AppKit/AppKit.h>

#include <ServiceManagement/ServiceManagement.h>
#include <gtest/gtest.h>
#include <objc/runtime.h>

#include <algorithm>
#include <atomic>
#include <map>
#include <sstream>
#include <string>
#include <vector>

#import "HelperToolProtocol.h"
#import "app/AppDelegate.h"
#import "cocoa/support/app_kit_spy.h"
#import "cocoa/support/bare_text_view.h"
#import "cocoa/support/installer_folder.h"
#import "cocoa/support/live_objects.h"
#import "cocoa/support/main_loop.h"
#import "platform/gnustep/mach_services.h"
#import "platform/gnustep/security_calls.h"

/// Answers at once, on whatever thread the platform calls it.
@interface TestHelper : NSObject <HelperToolProtocol> {
 @public
  NSError *error;
  std::atomic<int> *installs;
  NSString *installedPath;
  NSData *givenAuthorization;
  NSFileHandle *ipv4;
  NSFileHandle *ipv6;
  BOOL silent;
  std::atomic<int> *received;
}
@end

@implementation TestHelper

- (id)init {
  self = [super init];
  ipv4 = [NSFileHandle fileHandleWithStandardInput];
  ipv6 = [NSFileHandle fileHandleWithStandardError];
  installs = new std::atomic<int>(0);
  received = new std::atomic<int>(0);
  return self;
}

- (void)dealloc {
  delete installs;
  delete received;
  [installedPath release];
  [givenAuthorization release];
  [super dealloc];
}

- (void)connectWithEndpointReply:(void (^)(NSXPCListenerEndpoint *))reply {
  ADD_FAILURE() << "the installer never sends this";
}

- (void)getVersionWithReply:(void (^)(NSString *))reply {
  ++*received;
  if (!silent) reply(@"2.0");
}

- (void)install:(NSString *)path authorization:(NSData *)authorization withReply:(void (^)(NSError *))reply {
  ++*installs;
  [installedPath release];
  installedPath = [path copy];
  [givenAuthorization release];
  givenAuthorization = [authorization retain];
  reply(error);
}

- (void)bindToLowNumberPortAuthorization:(NSData *)authorization
                               withReply:(void (^)(NSError *, NSFileHandle *, NSFileHandle *))reply {
  [givenAuthorization release];
  givenAuthorization = [authorization retain];
  reply(error, ipv4, ipv6);
}

@end

static NSThread *installedOn;

@interface NSObject (NotingThread)
@end

@implementation NSObject (NotingThread)

- (void)noteDidInstall:(BOOL)didInstall {
  installedOn = [NSThread currentThread];
}

@end

namespace quillmark {

namespace {

NSString *const service = @"com.quillmark.customInstaller.Helper";

class HelperClient : public testing::Test {
 protected:
  HelperClient() { delegate_.textView = textView_; }

  ~HelperClient() override {
    registerMachService(service, nil);
    [delegate_.helperToolConnection invalidate];
    EXPECT_TRUE(serveMainLoopUntil([&] { return delegate_.helperToolConnection == nil; }));
    serveMainQueue();
    [delegate_ release];
    [textView_ release];
    [helper_ release];
    [pool_ drain];
  }

  void registerHelper() { registerMachService(service, helper_); }

  /// The log once it holds as many lines.
  std::string log(std::size_t lines) {
    EXPECT_TRUE(serveMainLoopUntil([&] { return lineCount() >= lines; })) << text();
    serveMainQueue();
    return text();
  }

  /// The same once the connection has ended as well, after which no other line can come.
  std::string logToItsEnd(std::size_t lines) {
    (void)log(lines);
    [delegate_.helperToolConnection invalidate];
    return log(lines + 1);
  }

  std::string text() { return [[textView_ string] UTF8String]; }

  std::size_t lineCount() {
    const std::string log = text();
    return std::count(log.begin(), log.end(), '\n');
  }

  NSAutoreleasePool *pool_ = [[NSAutoreleasePool alloc] init];
  AppKitSpy spy_;
  InstallerFolder installer_;
  AppDelegate *delegate_ = [[AppDelegate alloc] init];
  NSTextView *textView_ = [[NSTextView alloc] initWithFrame:NSMakeRect(0, 0, 300, 100)];
  TestHelper *helper_ = [[TestHelper alloc] init];
};

const std::string missing = "error NSCocoaErrorDomain / 4099\nconnection invalidated\n";

TEST_F(HelperClient, WithTheHelperMissingAVersionRequestWritesAnErrorLineAndConnectionInvalidated) {
  [delegate_ getVersionAction:nil];
  EXPECT_EQ(log(2), missing);
  EXPECT_EQ(delegate_.helperToolConnection, nil);
  EXPECT_TRUE(spy_.terminateSenders.empty());
  EXPECT_TRUE(spy_.alerts.empty());
}

TEST_F(HelperClient, AnAuthorizationArrivesWithEachCommandThatTakesOne) {
  registerHelper();
  delegate_.authorization = [NSData dataWithBytes:"\x0b\xad" length:2];
  [delegate_ bindAction:nil];
  (void)log(1);
  EXPECT_TRUE([helper_->givenAuthorization isEqualToData:delegate_.authorization]);
  [delegate_ installQuillmarkApplication2];
  (void)log(2);
  EXPECT_TRUE([helper_->givenAuthorization isEqualToData:delegate_.authorization]);
  const std::string description = [[delegate_.authorization description] UTF8String];
  EXPECT_EQ(spy_.console, (std::vector<std::string>{description, description}));
}

TEST_F(HelperClient, AReplyThatCarriesAnErrorLogsOnlyTheErrorLine) {
  registerHelper();
  helper_->error = [NSError errorWithDomain:@"NSOSStatusErrorDomain" code:-60005 userInfo:nil];
  [delegate_ bindAction:nil];
  [delegate_ installQuillmarkApplication2];
  const std::string line = "error NSOSStatusErrorDomain / -60005\n";
  EXPECT_EQ(logToItsEnd(2), line + line + "connection invalidated\n");
  EXPECT_FALSE(delegate_.didInstall);
}

TEST_F(HelperClient, ACommandBlockIsRunInsideTheCallWithNilAndAConnectionThatSpeaksTheHelpersProtocol) {
  __block bool ran = false;
  [delegate_ connectAndExecuteCommandBlock:^(NSError *error) {
    ran = true;
    EXPECT_EQ(error, nil);
  }];
  EXPECT_TRUE(ran);
  NSXPCInterface *interface = [delegate_.helperToolConnection remoteObjectInterface];
  EXPECT_TRUE([NSStringFromProtocol([interface protocol]) isEqualToString:@"HelperToolProtocol"]);
}

TEST_F(HelperClient, TwoCommandsInARowUseOneConnection) {
  registerHelper();
  [delegate_ getVersionAction:nil];
  NSXPCConnection *connection = delegate_.helperToolConnection;
  [delegate_ connectToHelperTool];
  [delegate_ bindAction:nil];
  EXPECT_EQ(log(2), "version = 2.0\nIPv4 = 0, IPv6 = 2\n");
  EXPECT_EQ(helper_->givenAuthorization, nil);
  EXPECT_EQ(delegate_.helperToolConnection, connection);
}

TEST_F(HelperClient, AMessageThatWaitsForItsReplyFailsWhenTheConnectionIsInvalidated) {
  registerHelper();
  helper_->silent = YES;
  [delegate_ getVersionAction:nil];
  ASSERT_TRUE(serveMainLoopUntil([&] { return *helper_->received == 1; }));
  [delegate_.helperToolConnection invalidate];
  EXPECT_EQ(log(2), missing);
}

TEST_F(HelperClient, AnInvalidatedConnectionThatSomebodyKeepsLetsGoOfTheDelegate) {
  const NSUInteger before = [delegate_ retainCount];
  NSXPCConnection *connection = nil;
  @autoreleasepool {
    [delegate_ connectToHelperTool];
    EXPECT_GT([delegate_ retainCount], before);
    connection = [delegate_.helperToolConnection retain];
    [connection invalidate];
  }
  ASSERT_EQ(log(1), "connection invalidated\n");
  EXPECT_TRUE(serveMainLoopUntil([&] { return [delegate_ retainCount] == before; }));
  [connection release];
}

TEST_F(HelperClient, AConnectionThatHasEndedAndARefusedBlessingLeaveNoObjectBehind) {
  GSDebugAllocationActive(YES);
  std::vector<int> before;
  for (int round = 1; round <= 2; ++round) {
    @autoreleasepool {
      [delegate_ installAction:nil];
      [delegate_ connectToHelperTool];
      [delegate_.helperToolConnection invalidate];
      (void)log(2 * round);
      delegate_.installButtonTitle = nil;
    }
    // The connection's queue lets go of it in its own time.
    std::vector<int> alive;
    EXPECT_TRUE(serveMainLoopUntil([&] {
      alive = {GSDebugAllocationCount([NSXPCConnection class]), GSDebugAllocationCount([NSError class])};
      return round == 1 ? alive[0] == 0 : alive == before;
    })) << alive[0]
        << " connections, " << alive[1] << " errors";
    before = alive;
  }
}

TEST_F(HelperClient, ARefusedBlessingWritesTheConsoleThenTheLogThenTheAlertAndTerminates) {
  [delegate_ installAction:nil];
  EXPECT_EQ(spy_.console.size(), 1U);
  ASSERT_EQ(spy_.alerts.size(), 1U);
  EXPECT_EQ(spy_.alerts[0].messageText, "Quillmark Installer");
  EXPECT_EQ(spy_.alerts[0].informativeText, "Could not authorize properly. The Installer will now quit.");
  EXPECT_EQ(spy_.alerts[0].style, NSCriticalAlertStyle);
  EXPECT_TRUE(spy_.alerts[0].buttons.empty());
  EXPECT_EQ(spy_.terminateSenders, std::vector<id>{delegate_});
  EXPECT_EQ(log(1), "error CFErrorDomainLaunchd / 4\n");
}

TEST_F(HelperClient, EachBlessingLogsSuccessActivatesTheApplicationAndCarriesANullAuthorization) {
  registerHelper();
  blessCalls().clear();
  [delegate_ installAction:nil];
  [delegate_ installAction:nil];
  EXPECT_EQ(log(2), "success\nsuccess\n");
  EXPECT_EQ(spy_.activations, 2);
  ASSERT_EQ(blessCalls().size(), 2U);
  for (const BlessCall &call : blessCalls()) {
    EXPECT_EQ(call.authorization, nullptr);
    EXPECT_TRUE([call.label isEqualToString:service]);
    EXPECT_TRUE([call.domain isEqualToString:(NSString *)(id)kSMDomainSystemLaunchd]);
  }
  void *authRef = this;
  object_getInstanceVariable(delegate_, "_authRef", &authRef);
  EXPECT_EQ(authRef, nullptr);
}

TEST_F(HelperClient, ASuccessfulInstallReplyLeavesItsLineAndChangesTheWindowOnTheMainThread) {
  registerHelper();
  const Method setter = class_getInstanceMethod([AppDelegate class], @selector(setDidInstall:));
  const Method noting = class_getInstanceMethod([NSObject class], @selector(noteDidInstall:));
  const IMP former = method_setImplementation(setter, method_getImplementation(noting));
  [delegate_ installQuillmarkApplication2];
  EXPECT_EQ(logToItsEnd(1), "success\nconnection invalidated\n");
  method_setImplementation(setter, former);
  EXPECT_EQ(installedOn, [NSThread mainThread]);
  EXPECT_EQ(spy_.console, (std::vector<std::string>{"(null)", "(null)"}));
  EXPECT_TRUE([[delegate_.installButtonTitle string] isEqualToString:@"Launch Quillmark"]);
  EXPECT_TRUE([helper_->installedPath isEqualToString:NSTemporaryDirectory()]);
  EXPECT_EQ(helper_->givenAuthorization, nil);
}

// An invalidation overtakes the answers that are still on their way; every command ends in one line all the same.
TEST_F(HelperClient, EveryCommandIsAnsweredWhileOtherThreadsInvalidateItsConnection) {
  constexpr std::size_t rounds = 50;
  constexpr std::size_t commandsPerRound = 200;
  registerHelper();
  BareTextView *bare = [[BareTextView alloc] initWithFrame:NSMakeRect(0, 0, 300, 100)];
  [textView_ release];
  textView_ = bare;
  delegate_.textView = bare;
  for (std::size_t round = 0; round < rounds; ++round) {
    for (std::size_t command = 0; command < commandsPerRound; ++command) {
      [delegate_ getVersionAction:nil];
      if (command == commandsPerRound / 2) {
        [delegate_.helperToolConnection performSelectorInBackground:@selector(invalidate) withObject:nil];
      }
    }
    ASSERT_TRUE(serveMainLoopUntil([&] { return delegate_.helperToolConnection == nil; }));
  }
  std::map<std::string, std::size_t> lines;
  std::istringstream stream(log(rounds * (commandsPerRound + 1)));
  for (std::string line; std::getline(stream, line);) ++lines[line];
  EXPECT_EQ(lines["version = 2.0"] + lines["error NSCocoaErrorDomain / 4099"], rounds * commandsPerRound);
  EXPECT_EQ(lines["connection invalidated"], rounds);
  EXPECT_EQ(lines.size(), 3U);
  EXPECT_FALSE(bare->touchedOffMainThread);
}

}  // namespace

}  // namespace quillmark
