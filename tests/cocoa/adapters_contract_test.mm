// The Cocoa adapters keep the contracts that the unit tests' fakes keep.

#import <Foundation/Foundation.h>

#include <sys/stat.h>
#include <unistd.h>

#include <filesystem>
#include <fstream>
#include <iterator>

#include "contract/bundle_contract.hpp"
#include "contract/file_manager_contract.hpp"
#include "contract/path_examples.hpp"
#include "contract/shell_task_contract.hpp"
#include "contract/user_defaults_contract.hpp"
#import "platform/cocoa/foundation.h"
#import "platform/cocoa/text.h"

namespace fs = std::filesystem;

namespace quillmark::contract {

namespace {

/// A folder of its own, gone with it.
class TemporaryFolder {
 public:
  TemporaryFolder() {
    std::string name = "/tmp/quillmark-XXXXXX";  // where every user may look
    path_ = mkdtemp(name.data());
  }
  ~TemporaryFolder() { fs::remove_all(path_); }
  [[nodiscard]] const std::string &path() const { return path_; }

 private:
  std::string path_;
};

void writeFile(const std::string &path, const std::string &contents) {
  fs::create_directories(fs::path(path).parent_path());
  std::ofstream(path) << contents;
}

/// Root may do everything, so while one exists root acts as a user whom permissions bind.
class OrdinaryUser {
 public:
  explicit OrdinaryUser(const std::string &folder) {
    if (geteuid() != 0) return;
    constexpr uid_t nobody = 65534;
    EXPECT_EQ(chown(folder.c_str(), nobody, nobody), 0);
    EXPECT_EQ(seteuid(nobody), 0);
  }
  ~OrdinaryUser() { EXPECT_EQ(seteuid(getuid()), 0); }
  OrdinaryUser(const OrdinaryUser &) = delete;
  OrdinaryUser &operator=(const OrdinaryUser &) = delete;
};

class RealFiles final : public FileManagerSubject {
 public:
  FileManager &files() override { return files_; }
  std::string folder() override { return folder_.path(); }
  void addFile(const std::string &path, const std::string &contents) override { writeFile(path, contents); }
  void addLink(const std::string &path, const std::string &target) override {
    fs::create_directories(fs::path(path).parent_path());
    fs::create_symlink(target, path);
  }
  void setMode(const std::string &path, unsigned mode) override { EXPECT_EQ(chmod(path.c_str(), mode), 0); }
  std::optional<std::string> at(const std::string &path) override {
    const fs::file_status status = fs::symlink_status(path);
    if (!fs::exists(status)) return std::nullopt;
    if (fs::is_symlink(status)) return "-> " + fs::read_symlink(path).string();
    if (fs::is_directory(status)) return "folder";
    std::ifstream file(path);
    return std::string(std::istreambuf_iterator<char>(file), {});
  }

 private:
  TemporaryFolder folder_;
  OrdinaryUser user_{folder_.path()};
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
    return [NSBundle bundleWithPath:cocoa::string(path())];
  }

  TemporaryFolder folder_;
  cocoa::CocoaBundle bundle_{make()};
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
INSTANTIATE_TEST_SUITE_P(Adapters, BundleContract, testing::Values(&make<BundleSubject, RealBundle>), named);

TEST(CocoaFileManager, ACopyKeepsModes) {
  const TemporaryFolder folder;
  writeFile(folder.path() + "/source/tool", "#!/bin/sh\n");
  writeFile(folder.path() + "/source/secret", "secret");
  fs::create_directories(folder.path() + "/source/empty");
  ASSERT_EQ(chmod((folder.path() + "/source/tool").c_str(), 0755), 0);
  ASSERT_EQ(chmod((folder.path() + "/source/secret").c_str(), 0600), 0);
  cocoa::CocoaFileManager files;
  ASSERT_TRUE(files.copyItemAtPath(folder.path() + "/source", folder.path() + "/target"));
  EXPECT_EQ(fs::status(folder.path() + "/target/tool").permissions(), fs::perms(0755));
  EXPECT_EQ(fs::status(folder.path() + "/target/secret").permissions(), fs::perms(0600));
  EXPECT_TRUE(fs::is_empty(folder.path() + "/target/empty"));
}

TEST(CocoaFileManager, CopyingALinkLeavesTheModeOfWhatItLeadsTo) {
  const TemporaryFolder folder;
  writeFile(folder.path() + "/source/b/tool", "#!/bin/sh\n");
  ASSERT_EQ(chmod((folder.path() + "/source/b/tool").c_str(), 0750), 0);
  for (const char *link : {"a", "c"}) fs::create_symlink("b/tool", folder.path() + "/source/" + link);
  cocoa::CocoaFileManager files;
  ASSERT_TRUE(files.copyItemAtPath(folder.path() + "/source", folder.path() + "/target"));
  EXPECT_EQ(fs::status(folder.path() + "/target/b/tool").permissions(), fs::perms(0750));
}

TEST(CocoaFileManager, AFolderThatForbidsWritingIsCopiedWithWhatItHolds) {
  const TemporaryFolder folder;
  writeFile(folder.path() + "/source/file", "text");
  ASSERT_EQ(chmod((folder.path() + "/source").c_str(), 0555), 0);
  cocoa::CocoaFileManager files;
  ASSERT_TRUE(files.copyItemAtPath(folder.path() + "/source", folder.path() + "/target"));
  EXPECT_EQ(fs::status(folder.path() + "/target").permissions(), fs::perms(0555));
  EXPECT_TRUE(fs::exists(folder.path() + "/target/file"));
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
