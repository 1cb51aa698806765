// The fakes keep the contracts that the Cocoa adapters keep.

#include "contract/bundle_contract.hpp"
#include "contract/file_manager_contract.hpp"
#include "contract/helper_connection_contract.hpp"
#include "contract/main_queue_contract.hpp"
#include "contract/shell_task_contract.hpp"
#include "contract/user_defaults_contract.hpp"
#include "support/fake_mac.hpp"

namespace quillmark::contract {

namespace {

class FakeFiles final : public FileManagerSubject {
 public:
  FakeFiles() { files_.addFolder(folder()); }
  FileManager &files() override { return files_; }
  std::string folder() override { return "/private/folder"; }
  void addFile(const std::string &path, const std::string &contents) override { files_.addFile(path, contents); }
  void addLink(const std::string &path, const std::string &target) override { files_.addLink(path, target); }
  std::optional<std::string> at(const std::string &path) override { return files_.at(path); }

 private:
  fake::Journal journal_;
  fake::FakeFileManager files_{journal_};
};

class FakeShell final : public ShellTaskSubject {
 public:
  ShellTask &task() override { return task_; }
  void expect(const std::string &command, const std::string &output) override { task_.outputs[command] = output; }

 private:
  fake::Journal journal_;
  fake::FakeShellTask task_{journal_};
};

class FakeDefaults final : public UserDefaultsSubject {
 public:
  UserDefaults &defaults() override { return defaults_; }
  void setString(const std::string &key, const std::string &value) override { defaults_.values[key] = value; }
  void setInteger(const std::string &key, int value) override { defaults_.values[key] = std::to_string(value); }

 private:
  fake::FakeUserDefaults defaults_;
};

class FakeMainBundle final : public BundleSubject {
 public:
  FakeMainBundle() {
    bundle_.path = path();
    bundle_.translations["Install"] = "Installieren";
    bundle_.resources["client.up.tunnelblick.sh"] = path() + "/Contents/Resources/client.up.tunnelblick.sh";
  }
  Bundle &bundle() override { return bundle_; }
  std::string path() override { return "/Volumes/Sample.app"; }

 private:
  fake::FakeBundle bundle_;
};

class FakeQueue final : public MainQueueSubject {
 public:
  MainQueue &queue() override { return queue_; }
  void serve() override { queue_.run(); }

 private:
  fake::Journal journal_;
  fake::FakeMainQueue queue_{journal_};
};

class FakeConnection final : public HelperConnectionSubject {
 public:
  HelperConnection &connection() override { return connection_; }
  void answer() override {
    std::thread([this] {
      for (int version = 1; !helper_.sent.empty(); helper_.sent.pop_front()) {
        helper_.sent.front().version(std::to_string(version++));
      }
    }).join();
  }
  void invalidate() override {
    std::thread([this] { connection_.invalidate(); }).join();
  }

 private:
  fake::Journal journal_;
  fake::FakeHelper helper_{journal_};
  fake::FakeHelperConnection connection_{helper_, 1};
};

template <typename Base, typename Subject>
std::unique_ptr<Base> make() {
  return std::make_unique<Subject>();
}

const auto named = [](const auto & /*info*/) { return "Fake"; };

INSTANTIATE_TEST_SUITE_P(Fakes, FileManagerContract, testing::Values(&make<FileManagerSubject, FakeFiles>), named);
INSTANTIATE_TEST_SUITE_P(Fakes, ShellTaskContract, testing::Values(&make<ShellTaskSubject, FakeShell>), named);
INSTANTIATE_TEST_SUITE_P(Fakes, UserDefaultsContract, testing::Values(&make<UserDefaultsSubject, FakeDefaults>), named);
INSTANTIATE_TEST_SUITE_P(Fakes, MainQueueContract, testing::Values(&make<MainQueueSubject, FakeQueue>), named);
INSTANTIATE_TEST_SUITE_P(Fakes, HelperConnectionContract,
                         testing::Values(&make<HelperConnectionSubject, FakeConnection>), named);
INSTANTIATE_TEST_SUITE_P(Fakes, BundleContract, testing::Values(&make<BundleSubject, FakeMainBundle>), named);

}  // namespace

}  // namespace quillmark::contract
