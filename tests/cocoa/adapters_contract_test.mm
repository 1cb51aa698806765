// The Cocoa adapters keep the contracts that the unit tests' fakes keep.

#import <Foundation/Foundation.h>

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <atomic>
#include <filesystem>

#import "HelperToolProtocol.h"
#import "cocoa/support/live_objects.h"
#import "cocoa/support/main_loop.h"
#import "cocoa/support/temporary_folder.h"
#include "contract/bundle_contract.hpp"
#include "contract/file_manager_contract.hpp"
#include "contract/helper_connection_contract.hpp"
#include "contract/main_queue_contract.hpp"
#include "contract/path_examples.hpp"
#include "contract/shell_task_contract.hpp"
#include "contract/user_defaults_contract.hpp"
#import "platform/cocoa/dynamic_loader.h"
#import "platform/cocoa/foundation.h"
#import "platform/cocoa/helper_connection.h"
#import "platform/cocoa/text.h"
#import "platform/gnustep/mach_services.h"

namespace fs = std::filesystem;

/// Tells its versions, counted from 1.
@interface VersionHelper : NSObject <HelperToolProtocol> {
  int version;
}
@end

@implementation VersionHelper

- (void)connectWithEndpointReply:(void (^)(NSXPCListenerEndpoint *))reply {
}

- (void)getVersionWithReply:(void (^)(NSString *))reply {
  reply([NSString stringWithFormat:@"%d", ++version]);
}

- (void)install:(NSString *)path authorization:(NSData *)authorization withReply:(void (^)(NSError *))reply {
}

- (void)bindToLowNumberPortAuthorization:(NSData *)authorization
                               withReply:(void (^)(NSError *, NSFileHandle *, NSFileHandle *))reply {
}

@end

namespace quillmark::contract {

namespace {

class RealFiles final : public FileManagerSubject {
 public:
  FileManager &files() override { return files_; }
  std::string folder() override { return folder_.path(); }
  void addFile(const std::string &path, const std::string &contents) override { writeFile(path, contents); }
  void addLink(const std::string &path, const std::string &target) override {
    fs::create_directories(fs::path(path).parent_path());
    fs::create_symlink(target, path);
  }
  std::optional<std::string> at(const std::string &path) override {
    const fs::file_status status = fs::symlink_status(path);
    if (!fs::exists(status)) return std::nullopt;
    if (fs::is_symlink(status)) return "-> " + fs::read_symlink(path).string();
    if (fs::is_directory(status)) return "folder";
    return contentsOf(path);
  }

 private:
  TemporaryFolder folder_;
  cocoa::CocoaFileManager files_;
};

class RealShell final : public ShellTaskSubject {
 public:
  ShellTask &task() override { return task_; }
  void expect(const std::string &command, const std::string &output) override {}

 private:
  cocoa::CocoaShellTask task_;
};

class RealDefaults final : public UserDefaultsSubject {
 public:
  ~RealDefaults() override { [[NSUserDefaults standardUserDefaults] removeVolatileDomainForName:domain_]; }
  UserDefaults &defaults() override { return defaults_; }
  void setString(const std::string &key, const std::string &value) override { set(key, cocoa::string(value)); }
  void setInteger(const std::string &key, int value) override { set(key, [NSNumber numberWithInt:value]); }

 private:
  void set(const std::string &key, id value) {
    NSUserDefaults *standard = [NSUserDefaults standardUserDefaults];
    [standard removeVolatileDomainForName:domain_];
    [standard setVolatileDomain:@{cocoa::string(key) : value} forName:domain_];
    [standard setSearchList:[@[ domain_ ] arrayByAddingObjectsFromArray:[standard searchList]]];
  }

  NSString *domain_ = @"QuillmarkTests";
  cocoa::CocoaUserDefaults defaults_;
};

class RealBundle final : public BundleSubject {
 public:
  Bundle &bundle() override { return bundle_; }
  std::string path() override { return folder_.path() + "/Sample.app"; }

 private:
  NSBundle *make() {
    writeFile(path() + "/Resources/client.up.tunnelblick.sh", "up");
    writeFile(path() + "/Resources/Localizable.strings", "\"Install\" = \"Installieren\";\n");
    writeFile(path() + "/Resources/Common.strings", "\"Install\" = \"of another table\";\n");
    return [NSBundle bundleWithPath:cocoa::string(path())];
  }

  TemporaryFolder folder_;
  cocoa::CocoaBundle bundle_{make()};
};

class RealQueue final : public MainQueueSubject {
 public:
  MainQueue &queue() override { return queue_; }
  void serve() override { serveMainQueue(); }

 private:
  cocoa::CocoaMainQueue queue_;
};

class RealConnection final : public HelperConnectionSubject {
 public:
  RealConnection() {
    registerMachService(@"quillmark.tests", [[[VersionHelper alloc] init] autorelease]);
    connection_->setRemoteObjectInterface();
    connection_->resume();
  }
  ~RealConnection() override { registerMachService(@"quillmark.tests", nil); }
  HelperConnection &connection() override { return *connection_; }
  /// What it answers to one more message comes behind all that was sent before.
  void answer() override {
    std::atomic<bool> answered = false;
    connection_->remoteObjectProxy([&](const Error & /*error*/) { answered = true; })
        ->getVersion([&](const std::optional<std::string> & /*version*/) { answered = true; });
    EXPECT_TRUE(serveMainLoopUntil([&] { return answered.load(); }));
  }
  void invalidate() override {
    [static_cast<cocoa::CocoaHelperConnection &>(*connection_).get() invalidate];
    answer();
  }

 private:
  std::shared_ptr<HelperConnection> connection_ =
      cocoa::CocoaHelperConnections().privilegedConnection("quillmark.tests");
};

template <typename Base, typename Subject>
std::unique_ptr<Base> make() {
  return std::make_unique<Subject>();
}

const auto named = [](const auto & /*info*/) { return "Cocoa"; };

INSTANTIATE_TEST_SUITE_P(Adapters, FileManagerContract, testing::Values(&make<FileManagerSubject, RealFiles>), named);
INSTANTIATE_TEST_SUITE_P(Adapters, ShellTaskContract, testing::Values(&make<ShellTaskSubject, RealShell>), named);
INSTANTIATE_TEST_SUITE_P(Adapters, UserDefaultsContract, testing::Values(&make<UserDefaultsSubject, RealDefaults>),
                         named);
INSTANTIATE_TEST_SUITE_P(Adapters, MainQueueContract, testing::Values(&make<MainQueueSubject, RealQueue>), named);
INSTANTIATE_TEST_SUITE_P(Adapters, HelperConnectionContract,
                         testing::Values(&make<HelperConnectionSubject, RealConnection>), named);
INSTANTIATE_TEST_SUITE_P(Adapters, BundleContract, testing::Values(&make<BundleSubject, RealBundle>), named);

TEST(CocoaFileManager, ACopyKeepsModesAlsoOfWhatForbidsWritingAndOfWhatALinkLeadsTo) {
  const TemporaryFolder folder;
  writeFile(folder.path() + "/source/b/tool", "#!/bin/sh\n");
  for (const char *link : {"a", "c"}) fs::create_symlink("b/tool", folder.path() + "/source/" + link);
  ASSERT_EQ(chmod((folder.path() + "/source/b/tool").c_str(), 06750), 0);
  ASSERT_EQ(chmod((folder.path() + "/source/b").c_str(), 0555), 0);
  ASSERT_TRUE(cocoa::CocoaFileManager().copyItemAtPath(folder.path() + "/source", folder.path() + "/target"));
  EXPECT_EQ(fs::status(folder.path() + "/target/b/tool").permissions(), fs::perms(06750));
  EXPECT_EQ(fs::status(folder.path() + "/target/b").permissions(), fs::perms(0555));
}

/// While one exists, a file stands in for a descriptor of this process.
class Redirected {
 public:
  Redirected(int descriptor, const std::string &file) : descriptor_(descriptor), former_(dup(descriptor)) {
    const int opened = open(file.c_str(), O_RDWR | O_CREAT, 0600);
    EXPECT_EQ(dup2(opened, descriptor), descriptor);
    close(opened);
  }
  ~Redirected() {
    dup2(former_, descriptor_);
    close(former_);
  }
  Redirected(const Redirected &) = delete;
  Redirected &operator=(const Redirected &) = delete;

 private:
  int descriptor_;
  int former_;
};

TEST(CocoaShellTask, TheShellsInputAndErrorsAreTheInstallersOwn) {
  const TemporaryFolder folder;
  writeFile(folder.path() + "/input", "asked for");
  {
    const Redirected input(STDIN_FILENO, folder.path() + "/input");
    const Redirected errors(STDERR_FILENO, folder.path() + "/errors");
    EXPECT_EQ(cocoa::CocoaShellTask().standardOutput("cat; echo wrong >&2"), "asked for");
  }
  EXPECT_EQ(contentsOf(folder.path() + "/errors"), "wrong\n");
}

TEST(CocoaShellTask, AShellThatHasClosedItsOutputIsNotWaitedFor) {
  const TemporaryFolder folder;
  const std::string gate = folder.path() + "/gate";
  const std::string ended = folder.path() + "/ended";
  ASSERT_EQ(mkfifo(gate.c_str(), 0600), 0);
  const auto output =
      cocoa::CocoaShellTask().standardOutput("echo all; exec >/dev/null; timeout 20 cat " + gate + "; touch " + ended);
  EXPECT_EQ(output, "all\n");
  EXPECT_FALSE(fs::exists(ended));
  EXPECT_TRUE(serveMainLoopUntil([&] {
    close(open(gate.c_str(), O_WRONLY | O_NONBLOCK));
    return fs::exists(ended);
  }));
}

TEST(SystemLoader, ALibraryIsBoundLazilyAndClosed) {
  // It calls a function that does not exist: only a lazy binding opens it.
  cocoa::SystemLoader loader;
  void *library = loader.open(QUILLMARK_UNBOUND_LIBRARY);
  ASSERT_NE(library, nullptr) << dlerror();
  EXPECT_NE(loader.symbol(library, "callsNobody"), nullptr);
  loader.close(library);
  EXPECT_EQ(dlopen(QUILLMARK_UNBOUND_LIBRARY, RTLD_LAZY | RTLD_NOLOAD), nullptr);
}

TEST(CocoaURLs, AURLIsReleasedOnce) {
  GSDebugAllocationActive(YES);
  cocoa::CocoaURLs urls;
  @autoreleasepool {
    const OwnedURL url(urls, urls.createFileURL("/Volumes/Quillmark Installer"));
    EXPECT_EQ(urls.path(url.get()), "/Volumes/Quillmark Installer");
    EXPECT_EQ(GSDebugAllocationCount([NSURL class]), 1);
  }
  EXPECT_EQ(GSDebugAllocationCount([NSURL class]), 0);
}

TEST(PathExamples, NSStringAnswersAsOurPathFunctionsDo) {
  for (const auto &[base, component, joined] : appendingExamples) {
    EXPECT_EQ(cocoa::utf8([cocoa::string(std::string(base))
                  stringByAppendingPathComponent:cocoa::string(std::string(component))]),
              joined);
  }
  for (const auto &[path, parent] : deletingExamples) {
    EXPECT_EQ(cocoa::utf8([cocoa::string(std::string(path)) stringByDeletingLastPathComponent]), parent);
  }
}

}  // namespace

}  // namespace quillmark::contract
