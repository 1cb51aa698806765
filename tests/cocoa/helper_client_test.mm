// The delegate's real blocks, proxies and atomic properties, against a helper in this process that answers through the
// same protocol, and against none.

#import <AppKit/AppKit.h>

#include <ServiceManagement/ServiceManagement.h>
#include <gtest/gtest.h>
#include <objc/runtime.h>

#include <algorithm>
#include <atomic>
#include <cstdio>
#include <map>
#include <memory>
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

/// Writes down that it was asked for its descriptor, which is its place in the order of all that were asked.
@interface NotingHandle : NSFileHandle {
 @public
  std::vector<NSFileHandle *> *asked;
}
@end

@implementation NotingHandle

- (int)fileDescriptor {
  asked->push_back(self);
  return static_cast<int>(asked->size());
}

@end

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

// A connection has a thread of its own, by which the counting helper tells the connections apart.
static std::atomic<int> connections = 0;
static thread_local const int connectionNumber = connections++;
static thread_local int answerNumber = 0;

/// Numbers the answers that it gives to each connection, a version and an error in turn.
@interface CountingHelper : TestHelper
@end

@implementation CountingHelper

- (void)getVersionWithReply:(void (^)(NSString *))reply {
  reply([NSString stringWithFormat:@"%d %d", connectionNumber, answerNumber++]);
}

- (void)bindToLowNumberPortAuthorization:(NSData *)authorization
                               withReply:(void (^)(NSError *, NSFileHandle *, NSFileHandle *))reply {
  NSString *domain = [NSString stringWithFormat:@"%d", connectionNumber];
  reply([NSError errorWithDomain:domain code:answerNumber++ userInfo:nil], nil, nil);
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

  /// The handles of a bind reply that are asked for their descriptors from now on, in order.
  std::shared_ptr<std::vector<NSFileHandle *>> giveNotingHandles() {
    auto asked = std::make_shared<std::vector<NSFileHandle *>>();
    for (NSFileHandle **const handle : {&helper_->ipv4, &helper_->ipv6}) {
      NotingHandle *noting = [[[NotingHandle alloc] init] autorelease];
      noting->asked = asked.get();
      *handle = noting;
    }
    return asked;
  }

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

TEST_F(HelperClient, TheDescriptorsOfABindReplyAreTakenInOrder) {
  registerHelper();
  const auto asked = giveNotingHandles();
  [delegate_ bindAction:nil];
  EXPECT_EQ(log(1), "IPv4 = 1, IPv6 = 2\n");
  EXPECT_EQ(helper_->givenAuthorization, nil);
  EXPECT_EQ(*asked, (std::vector<NSFileHandle *>{helper_->ipv4, helper_->ipv6}));
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

TEST_F(HelperClient, ABindReplyThatCarriesAnErrorLogsItAndLeavesTheHandlesAlone) {
  registerHelper();
  helper_->error = [NSError errorWithDomain:@"NSPOSIXErrorDomain" code:13 userInfo:nil];
  const auto asked = giveNotingHandles();
  [delegate_ bindAction:nil];
  EXPECT_EQ(logToItsEnd(1), "error NSPOSIXErrorDomain / 13\nconnection invalidated\n");
  EXPECT_TRUE(asked->empty());
}

TEST_F(HelperClient, TheConnectionSpeaksTheHelpersProtocol) {
  [delegate_ connectToHelperTool];
  NSXPCInterface *interface = [delegate_.helperToolConnection remoteObjectInterface];
  EXPECT_TRUE([NSStringFromProtocol([interface protocol]) isEqualToString:@"HelperToolProtocol"]);
}

// A thread that GNUstep learns of by itself may catch the main thread with a lock that cannot be unlocked any more.
TEST_F(HelperClient, TheProgramKnowsThatItHasSeveralThreadsAsSoonAsThereIsAConnection) {
  ASSERT_FALSE([NSThread isMultiThreaded]);
  [delegate_ connectToHelperTool];
  EXPECT_TRUE([NSThread isMultiThreaded]);
}

TEST_F(HelperClient, AConnectionThatIsNotPrivilegedReachesNoHelper) {
  registerHelper();
  NSXPCConnection *plain = [[NSXPCConnection alloc] initWithMachServiceName:service options:0];
  [plain setRemoteObjectInterface:[NSXPCInterface interfaceWithProtocol:@protocol(HelperToolProtocol)]];
  [plain resume];
  std::atomic<bool> failed = false;
  std::atomic<bool> *const tellFailure = &failed;
  [[plain remoteObjectProxyWithErrorHandler:^(NSError *error) {
    *tellFailure = true;
  }] getVersionWithReply:^(NSString *version) {
    ADD_FAILURE() << "only a privileged connection is looked up in the system's domain";
  }];
  EXPECT_TRUE(serveMainLoopUntil([&] { return failed.load(); }));
  EXPECT_EQ(*helper_->received, 0);
  [plain release];
}

TEST_F(HelperClient, TwoCommandsInARowUseOneConnection) {
  registerHelper();
  [delegate_ getVersionAction:nil];
  NSXPCConnection *connection = delegate_.helperToolConnection;
  [delegate_ connectToHelperTool];
  [delegate_ bindAction:nil];
  EXPECT_EQ(log(2), "version = 2.0\nIPv4 = 0, IPv6 = 2\n");
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

TEST_F(HelperClient, TheCommandBlockIsRunInsideTheCallWithNil) {
  __block bool ran = false;
  [delegate_ connectAndExecuteCommandBlock:^(NSError *error) {
    ran = true;
    EXPECT_EQ(error, nil);
  }];
  EXPECT_TRUE(ran);
  EXPECT_NE(delegate_.helperToolConnection, nil);
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

TEST_F(HelperClient, AFailedInstallReplyLeavesOnlyItsErrorLine) {
  registerHelper();
  helper_->error = [NSError errorWithDomain:@"NSOSStatusErrorDomain" code:-60005 userInfo:nil];
  [delegate_ installQuillmarkApplication2];
  EXPECT_EQ(logToItsEnd(1), "error NSOSStatusErrorDomain / -60005\nconnection invalidated\n");
  EXPECT_FALSE(delegate_.didInstall);
}

/// What lies in the temporary folder, which is handed to the helper.
std::string staged(const std::string &name) {
  return contentsOf(std::string([NSTemporaryDirectory() UTF8String]) + "/" + name);
}

TEST_F(HelperClient, RunTwiceInARowTheSecondRunReplacesEveryStagedItem) {
  registerHelper();
  for (const std::string version : {"first", "second"}) {
    installer_.addResource("Quillmark.app/Contents/Info.plist", version);
    installer_.addResource("client.up.tunnelblick.sh", version);
    installer_.addResource("client.down.tunnelblick.sh", version);
    installer_.addComponent("ca.crt", version + " ca");
    [delegate_ installQuillmarkApplication2];
    EXPECT_EQ(staged("Quillmark.app/Contents/Info.plist"), version);
    EXPECT_EQ(staged("Quillmark.app/Quillmark.app/Contents/Info.plist"), "");
    EXPECT_EQ(staged("client.up.tunnelblick.sh"), version);
    EXPECT_EQ(staged("client.down.tunnelblick.sh"), version);
    EXPECT_EQ(staged("ca.crt"), version + " ca");
  }
  EXPECT_EQ(log(2), "success\nsuccess\n");
}

/// The log of many threads at once.
class CrowdedLog : public HelperClient {
 protected:
  CrowdedLog() {
    delegate_.textView = bare_;
    [textView_ release];
    textView_ = bare_;
  }

  ~CrowdedLog() override { EXPECT_FALSE(bare_->touchedOffMainThread); }

  struct Tally {
    std::map<int, int> answers;  // of each thread
    int undelivered = 0;
    int invalidations = 0;
  };

  /// Counts the lines, which must be numbered without a gap for each thread.
  static Tally tally(const std::string &lines) {
    Tally tally;
    std::istringstream stream(lines);
    for (std::string line; std::getline(stream, line);) {
      int thread = -1;
      int number = -1;
      if (line == "connection invalidated") {
        ++tally.invalidations;
      } else if (line == "error NSCocoaErrorDomain / 4099") {
        ++tally.undelivered;
      } else if (std::sscanf(line.c_str(), "version = %d %d", &thread, &number) == 2 ||
                 std::sscanf(line.c_str(), "error %d / %d", &thread, &number) == 2) {
        EXPECT_EQ(number, tally.answers[thread]++) << "of thread " << thread;
      } else {
        ADD_FAILURE() << line;
      }
    }
    return tally;
  }

 private:
  BareTextView *bare_ = [[BareTextView alloc] initWithFrame:NSMakeRect(0, 0, 300, 100)];
};

TEST_F(CrowdedLog, AHundredThousandLogCallsFromManyThreadsKeepEachThreadsOrderAndTheWindowToTheMainThread) {
  constexpr int threads = 8;
  constexpr int linesPerThread = 12500;
  AppDelegate *delegate = delegate_;
  NSOperationQueue *queue = [[[NSOperationQueue alloc] init] autorelease];
  [queue setMaxConcurrentOperationCount:threads];
  for (int thread = 0; thread < threads; ++thread) {
    [queue addOperationWithBlock:^{
      NSString *domain = [NSString stringWithFormat:@"%d", thread];
      for (int line = 0; line < linesPerThread; ++line) {
        @autoreleasepool {
          if (line % 2 == 0) {
            [delegate logWithFormat:@"version = %d %d\n", thread, line];
          } else {
            [delegate logError:[NSError errorWithDomain:domain code:line userInfo:nil]];
          }
        }
      }
    }];
  }

  const Tally lines = tally(log(threads * linesPerThread));
  EXPECT_EQ(lines.answers.size(), threads);
  for (const auto &[thread, count] : lines.answers) EXPECT_EQ(count, linesPerThread) << "of thread " << thread;
}

// Eight delegates, so that eight connections answer at once, each on its private queue, while other threads invalidate
// them again and again: every command ends in one line, a reply or an error. An invalidation overtakes the answers that
// are still on their way.
TEST_F(CrowdedLog, AHundredThousandCommandsAreAllAnsweredWhileOtherThreadsInvalidateTheirConnections) {
  constexpr int delegateCount = 8;
  constexpr int rounds = 25;
  constexpr int commandsPerRound = 500;
  constexpr int commands = delegateCount * rounds * commandsPerRound;
  CountingHelper *helper = [[[CountingHelper alloc] init] autorelease];
  registerMachService(service, helper);
  NSMutableArray *delegates = [NSMutableArray arrayWithObject:delegate_];
  while ([delegates count] < delegateCount) {
    AppDelegate *delegate = [[[AppDelegate alloc] init] autorelease];
    delegate.textView = textView_;
    [delegates addObject:delegate];
  }

  for (int round = 0; round < rounds; ++round) {
    @autoreleasepool {
      for (int command = 0; command < commandsPerRound; ++command) {
        for (AppDelegate *delegate in delegates) {
          if (command % 2 == 0) {
            [delegate getVersionAction:nil];
          } else {
            [delegate bindAction:nil];
          }
          if (command == commandsPerRound / 2) {
            [delegate.helperToolConnection performSelectorInBackground:@selector(invalidate) withObject:nil];
          }
        }
      }
    }
    for (AppDelegate *delegate in delegates) {
      ASSERT_TRUE(serveMainLoopUntil([&] { return delegate.helperToolConnection == nil; }));
    }
  }

  const Tally lines = tally(log(commands + delegateCount * rounds));
  int answers = 0;
  for (const auto &[connection, count] : lines.answers) answers += count;
  EXPECT_EQ(answers + lines.undelivered, commands);
  EXPECT_EQ(lines.invalidations, delegateCount * rounds);
  EXPECT_GT(lines.answers.size(), 1U);
  EXPECT_GT(lines.undelivered, 0);
}

}  // namespace

}  // namespace quillmark
