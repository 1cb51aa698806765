// The stand-in of the Security framework, as it is built, opened from a framework like that in a Mac-shaped root.

#import <Foundation/Foundation.h>

#include <dlfcn.h>
#include <gtest/gtest.h>

#include <cerrno>
#include <filesystem>
#include <optional>
#include <string>

#import "cocoa/support/temporary_folder.h"
#import "platform/cocoa/text.h"

namespace fs = std::filesystem;

namespace quillmark {

namespace {

using IsTranslocated = unsigned char (*)(NSURL *bundle, unsigned char *isTranslocated, NSError **error);
using CreateOriginalPath = NSURL *(*)(NSURL *bundle, NSError **error);

const std::string original = "/Users/ann/Downloads/Quillmark Installer/Quillmark Installer.app";

class SecurityFramework : public testing::Test {
 protected:
  struct Answer {
    bool succeeded;
    int flag;
    std::optional<std::string> original;
  };

  SecurityFramework() {
    fs::create_directories(framework() / "Versions/A/Resources");
    fs::copy(QUILLMARK_SECURITY_FRAMEWORK, framework() / "Versions/A/Security");
    fs::create_symlink("A", framework() / "Versions/Current");
    for (const char *item : {"Resources", "Security"}) {
      fs::create_symlink(fs::path("Versions/Current") / item, framework() / item);
    }
    fs::create_directories(relocated());
  }

  ~SecurityFramework() override { [pool_ drain]; }

  fs::path framework() { return folder_ / "Security.framework"; }
  fs::path relocated() { return folder_ / "d/Quillmark Installer.app"; }

  /// Lists the relocated bundle.
  void list(NSDictionary *relocation) {
    NSDictionary *relocations = @{cocoa::string(relocated().string()) : relocation};
    ASSERT_TRUE([relocations writeToFile:cocoa::string((framework() / "Resources/Relocations.plist").string())
                              atomically:NO]);
  }

  void *open(int mode = RTLD_LAZY) { return dlopen((framework() / "Security").c_str(), mode); }

  template <typename Function>
  static Function lookUp(void *library, const char *name) {
    EXPECT_NE(library, nullptr) << dlerror();
    return reinterpret_cast<Function>(dlsym(library, name));
  }

  /// Asks both questions as the installer does, which opens the framework before and closes it behind them.
  Answer ask(const fs::path &bundle) {
    NSURL *url = bundle.empty() ? nil : [NSURL fileURLWithPath:cocoa::string(bundle.string())];
    void *library = open();
    unsigned char flag = 0;
    lastErrors_[0] = lastErrors_[1] = nil;
    NSAutoreleasePool *pool = [[NSAutoreleasePool alloc] init];
    const bool succeeded =
        lookUp<IsTranslocated>(library, "SecTranslocateIsTranslocatedURL")(url, &flag, &lastErrors_[0]) != 0;
    NSURL *created =
        lookUp<CreateOriginalPath>(library, "SecTranslocateCreateOriginalPathForURL")(url, &lastErrors_[1]);
    [pool drain];
    // It is the caller's, and so it is still there.
    Answer answer{.succeeded = succeeded, .flag = flag, .original = std::nullopt};
    if (created != nil) answer.original = cocoa::utf8([created path]);
    [created release];
    dlclose(library);
    return answer;
  }

  TemporaryFolder temporaryFolder_;
  fs::path folder_ = temporaryFolder_.path();
  NSError *lastErrors_[2] = {};
  NSAutoreleasePool *pool_ = [[NSAutoreleasePool alloc] init];
};

TEST_F(SecurityFramework, ARelocatedBundleHasTheOriginalThatTheListNames) {
  list(@{@"Original" : cocoa::string(original)});
  const Answer answer = ask(relocated());
  EXPECT_TRUE(answer.succeeded);
  EXPECT_EQ(answer.flag, 1);
  EXPECT_EQ(answer.original, original);
}

TEST_F(SecurityFramework, ARelocatedBundleIsKnownByAPathThroughALinkToo) {
  list(@{@"Original" : cocoa::string(original)});
  fs::create_symlink("d", folder_ / "link");
  const Answer answer = ask(folder_ / "link/Quillmark Installer.app");
  EXPECT_EQ(answer.flag, 1);
  EXPECT_EQ(answer.original, original);
}

TEST_F(SecurityFramework, AnOriginalThatTheListDoesNotNameCannotBeHad) {
  list(@{});
  const Answer answer = ask(relocated());
  EXPECT_TRUE(answer.succeeded);
  EXPECT_EQ(answer.flag, 1);
  EXPECT_EQ(answer.original, std::nullopt);
  EXPECT_EQ([lastErrors_[1] code], ENOENT);
}

TEST_F(SecurityFramework, AQueryThatFailsHasSetItsFlagAllTheSame) {
  list(@{@"Original" : cocoa::string(original), @"QueryFails" : @(YES)});
  const Answer answer = ask(relocated());
  EXPECT_FALSE(answer.succeeded);
  EXPECT_EQ([lastErrors_[0] code], EIO);
  EXPECT_EQ(answer.flag, 1);
  EXPECT_EQ(answer.original, original);
}

TEST_F(SecurityFramework, ABundleThatTheListDoesNotNameIsNotRelocatedAndIsItsOwnOriginal) {
  list(@{@"Original" : cocoa::string(original)});
  const fs::path other = folder_ / "Quillmark Installer.app";
  fs::create_directory(other);
  const Answer answer = ask(other);
  EXPECT_TRUE(answer.succeeded);
  EXPECT_EQ(answer.flag, 0);
  EXPECT_EQ(answer.original, other);
}

TEST_F(SecurityFramework, WithoutAListNothingIsRelocated) {
  const Answer answer = ask(relocated());
  EXPECT_TRUE(answer.succeeded);
  EXPECT_EQ(answer.flag, 0);
  EXPECT_EQ(answer.original, relocated());
}

TEST_F(SecurityFramework, WithoutABundleBothQuestionsFail) {
  const Answer answer = ask({});
  EXPECT_FALSE(answer.succeeded);
  EXPECT_EQ(answer.flag, 0);
  EXPECT_EQ(answer.original, std::nullopt);
  for (const NSError *error : lastErrors_) EXPECT_EQ([error code], EINVAL);
}

TEST_F(SecurityFramework, OnceClosedItStaysLoadedAndAnswersAgain) {
  list(@{@"Original" : cocoa::string(original)});
  for (int times = 0; times < 3; ++times) {
    EXPECT_EQ(ask(relocated()).original, original);
    EXPECT_NE(open(RTLD_LAZY | RTLD_NOLOAD), nullptr) << "GNUstep's runtime would be left with pointers into nowhere";
  }
}

}  // namespace

}  // namespace quillmark
