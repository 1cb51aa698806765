#pragma once

#include <deque>
#include <functional>
#include <map>
#include <memory>
#include <mutex>
#include <optional>
#include <set>
#include <string>
#include <vector>

#include "platform/alert.hpp"
#include "platform/application.hpp"
#include "platform/attributed_string.hpp"
#include "platform/authorization_database.hpp"
#include "platform/bundle.hpp"
#include "platform/console.hpp"
#include "platform/delegate.hpp"
#include "platform/directories.hpp"
#include "platform/dynamic_loader.hpp"
#include "platform/file_manager.hpp"
#include "platform/helper_connection.hpp"
#include "platform/mac.hpp"
#include "platform/main_queue.hpp"
#include "platform/service_management.hpp"
#include "platform/shell_task.hpp"
#include "platform/urls.hpp"
#include "platform/user_defaults.hpp"
#include "platform/uuids.hpp"
#include "platform/workspace.hpp"

namespace quillmark::fake {

/// Every call on every fake, in order, a line each: the verb, then its arguments.
using Journal = std::vector<std::string>;

class FakeAlertPanel final : public AlertPanel {
 public:
  explicit FakeAlertPanel(Journal &journal) : journal_(journal) {}
  int runModal(const Alert &alert) override;

  std::vector<Alert> shown;
  int answer = alertFirstButtonReturn;
  /// Runs while the alert is up.
  std::function<void()> meanwhile = [] {};

 private:
  Journal &journal_;
};

class FakeApplication final : public Application {
 public:
  explicit FakeApplication(Journal &journal) : journal_(journal) {}
  void terminate(Delegate &sender) override;
  void activateIgnoringOtherApps() override;
  double appKitVersionNumber() override;

  Delegate *terminateSender = nullptr;
  double version = 1187.0;

 private:
  Journal &journal_;
};

class FakeColor final : public Color {
 public:
  explicit FakeColor(std::string components) : components(std::move(components)) {}
  std::string components;
};

/// Its attributes read in the order in which they were set.
class FakeAttributedString final : public AttributedString {
 public:
  explicit FakeAttributedString(std::string text) : description(std::move(text)) {}
  void setBoldSystemFont(double size) override;
  void setForegroundColor(const Color &color) override;
  void setAlignmentCenter() override;

  std::string description;
};

class FakeTypography final : public Typography {
 public:
  std::unique_ptr<AttributedString> attributedString(const std::string &text) override;
  std::unique_ptr<Color> colorWithRed(double red, double green, double blue, double alpha) override;
};

class FakeBundle final : public Bundle {
 public:
  explicit FakeBundle(Journal &journal) : journal_(journal) {}
  std::string bundlePath() override;
  std::optional<std::string> pathForResource(const std::string &name, const std::string &type) override;
  std::string localizedString(const std::string &key) override;

  std::string path;
  std::map<std::string, std::string> translations;
  std::function<void()> whenAskedForAResource = [] {};
  /// Paths by "name.type".
  std::map<std::string, std::string> resources;

 private:
  Journal &journal_;
};

class FakeConsole final : public Console {
 public:
  explicit FakeConsole(Journal &journal) : journal_(journal) {}
  void log(const std::string &text) override;

  std::vector<std::string> lines;

 private:
  Journal &journal_;
};

class FakeDirectories final : public Directories {
 public:
  explicit FakeDirectories(Journal &journal) : journal_(journal) {}
  std::string homeDirectory() override;
  std::string userApplicationsDirectory() override;
  std::string temporaryDirectory() override;

  std::string home = "/Users/ann";
  std::string temporary = "/var/folders/T/";

 private:
  Journal &journal_;
};

/// The Security framework's binary, with the two relocation calls in it. Only one may exist at a time, because the
/// calls are plain C functions.
class FakeDynamicLoader final : public DynamicLoader {
 public:
  explicit FakeDynamicLoader(Journal &journal);
  ~FakeDynamicLoader() override;
  void *open(const std::string &path) override;
  void *symbol(void *handle, const std::string &name) override;
  void close(void *handle) override;

  bool binaryExists = true;
  std::set<std::string> missingSymbols;
  /// What SecTranslocateIsTranslocatedURL answers and where it leaves its flag.
  bool querySucceeds = true;
  bool flag = false;
  /// What SecTranslocateCreateOriginalPathForURL answers; null when empty.
  std::optional<std::string> originalPath;
  int openHandles = 0;

 private:
  Journal &journal_;
};

/// A tree of folders, files and links in memory, empty but for the root folder.
class FakeFileManager final : public FileManager {
 public:
  explicit FakeFileManager(Journal &journal);
  bool fileExistsAtPath(const std::string &path) override;
  bool removeItemAtPath(const std::string &path) override;
  bool createDirectoryAtPath(const std::string &path) override;
  bool copyItemAtPath(const std::string &source, const std::string &target) override;
  bool writeASCII(const std::string &text, const std::string &path) override;

  /// Journal lines, such as "remove /Applications/Quillmark.app". The calls that they name fail and change nothing.
  std::set<std::string> failing;

  /// For arranging and looking; not journalled. Parents are made as needed.
  void addFile(const std::string &path, const std::string &contents = "");
  void addFolder(const std::string &path);
  void addLink(const std::string &path, const std::string &target);
  /// The contents of a file, "-> target" for a link, "folder" for a folder; nothing when nothing is there.
  [[nodiscard]] std::optional<std::string> at(const std::string &path) const;
  /// Every path below the folder, in order.
  [[nodiscard]] std::vector<std::string> tree(const std::string &folder) const;

 private:
  struct Item {
    enum class Kind { file, folder, link } kind;
    std::string contents;
  };

  [[nodiscard]] bool fails(const std::string &call);
  [[nodiscard]] bool isFolder(const std::string &path) const;

  Journal &journal_;
  std::map<std::string, Item> items_;
};

/// The helper tool's side of every connection. Nothing is answered by itself: a test answers what has been sent, or
/// has the connection invalidated, on whatever thread plays the private queue.
class FakeHelper {
 public:
  explicit FakeHelper(Journal &journal) : journal(journal) {}

  /// A message that has been sent and waits.
  struct Message {
    std::function<void(const Error &error)> errorHandler;
    std::function<void(const std::optional<std::string> &version)> version;
    std::function<void(const std::optional<Error> &error)> install;
    std::function<void(const std::optional<Error> &error, int ipv4, int ipv6)> bind;
  };

  std::deque<Message> sent;
  /// Connections made so far.
  int connections = 0;
  Journal &journal;
};

class FakeHelperTool final : public HelperTool {
 public:
  FakeHelperTool(FakeHelper &helper, std::function<void(const Error &error)> errorHandler)
      : helper_(helper), errorHandler_(std::move(errorHandler)) {}
  void getVersion(std::function<void(const std::optional<std::string> &)> reply) override;
  void install(const std::string &path, const std::shared_ptr<Data> &authorization,
               std::function<void(const std::optional<Error> &)> reply) override;
  void bindToLowNumberPort(const std::shared_ptr<Data> &authorization,
                           std::function<void(const std::optional<Error> &, int, int)> reply) override;

 private:
  FakeHelper &helper_;
  std::function<void(const Error &error)> errorHandler_;
};

/// Journals every call with the connection's number, counted from 1.
class FakeHelperConnection final : public HelperConnection {
 public:
  FakeHelperConnection(FakeHelper &helper, int number) : helper_(helper), number_(number) {}
  void setRemoteObjectInterface() override;
  void setInvalidationHandler(std::function<void()> handler) override;
  void resume() override;
  std::unique_ptr<HelperTool> remoteObjectProxy(std::function<void(const Error &error)> errorHandler) override;

  /// What the platform does on the private queue.
  void invalidate();

 private:
  void note(const std::string &call);

  FakeHelper &helper_;
  int number_;
  std::mutex mutex_;
  std::function<void()> invalidationHandler_;
};

class FakeHelperConnections final : public HelperConnections {
 public:
  explicit FakeHelperConnections(Journal &journal) : helper(journal) {}
  std::shared_ptr<HelperConnection> privilegedConnection(const std::string &machServiceName) override;

  FakeHelper helper;
};

class FakeServiceManagement final : public ServiceManagement {
 public:
  explicit FakeServiceManagement(Journal &journal) : journal_(journal) {}
  std::optional<Error> jobBless(const std::string &label, Authorization authorization) override;

  std::optional<Error> refusal;

 private:
  Journal &journal_;
};

/// A database whose every answer a test sets.
class FakeAuthorizationDatabase final : public AuthorizationDatabase {
 public:
  Status rightGet(const std::string &name) override;
  Status rightSet(Authorization authorization, const std::string &name, const std::string &rule,
                  const std::string &descriptionKey, const std::string &stringsTable) override;

  Journal journal;
  /// Statuses by right; a right that is not named is denied, as one that does not exist is.
  std::map<std::string, Status> statuses;
  Status setStatus = errAuthorizationSuccess;
  Authorization authorization = nullptr;
};

class FakeUUIDs final : public UUIDs {
 public:
  explicit FakeUUIDs(Journal &journal) : journal_(journal) {}
  std::string UUIDString() override;

 private:
  Journal &journal_;
};

class FakeMainQueue final : public MainQueue {
 public:
  explicit FakeMainQueue(Journal &journal) : journal_(journal) {}
  void dispatchAsync(std::function<void()> work) override;
  void addOperation(std::function<void()> work) override;

  /// Runs all that waits, and lets go of each piece as soon as it has run.
  void run();

 private:
  Journal &journal_;
  std::mutex mutex_;
  std::deque<std::function<void()>> waiting_;
};

/// Answers the commands that a test expects; any other command fails that test.
class FakeShellTask final : public ShellTask {
 public:
  explicit FakeShellTask(Journal &journal) : journal_(journal) {}
  std::optional<std::string> standardOutput(const std::string &command) override;

  /// Raw bytes by command.
  std::map<std::string, std::string> outputs;
  bool shellIsMissing = false;

 private:
  Journal &journal_;
};

class FakeURLs final : public URLs {
 public:
  explicit FakeURLs(Journal &journal) : journal_(journal) {}
  URLRef createFileURL(const std::string &path) override;
  std::optional<std::string> path(URLRef url) override;
  void release(URLRef url) override;

  static URLRef create(const std::string &path);
  /// URLs made and not yet released, by anyone.
  static int alive;

 private:
  Journal &journal_;
};

class FakeUserDefaults final : public UserDefaults {
 public:
  explicit FakeUserDefaults(Journal &journal) : journal_(journal) {}
  std::optional<std::string> valueForKey(const std::string &key) override;

  std::map<std::string, std::string> values;

 private:
  Journal &journal_;
};

class FakeWorkspace final : public Workspace {
 public:
  explicit FakeWorkspace(Journal &journal) : journal_(journal) {}
  bool launchApplication(const std::string &name) override;
  bool openURL(const std::string &url) override;

  bool succeeds = true;

 private:
  Journal &journal_;
};

class FakeDelegate final : public Delegate {
 public:
  explicit FakeDelegate(Journal &journal) : journal_(journal) {}
  bool didInstall() override;
  void setDidInstall(bool didInstall) override;
  void setIsRMMLaunch() override;
  void setInstallButtonTitle(const AttributedString &title) override;
  int termsCheckBoxState() override;
  void makeWindowKeyAndOrderFront() override;
  void hide(Control control) override;
  Authorization authRef() override;
  std::shared_ptr<Data> authorization() override;
  std::shared_ptr<HelperConnection> helperToolConnection() override;
  void setHelperToolConnection(const std::shared_ptr<HelperConnection> &newConnection) override;
  void appendToTextView(const std::string &text) override;

  std::shared_ptr<HelperConnection> connection;
  bool installed = false;
  bool managedLaunch = false;
  std::optional<std::string> title;
  int boxState = 0;
  std::set<std::string> hidden;
  std::string log;

 private:
  Journal &journal_;
  std::mutex mutex_;  // of `connection`: an atomic property
};

/// A whole Mac: an Intel Mac with OS X 10.8 and an installer with its components, unless told otherwise.
class FakeMac {
 public:
  FakeMac();
  /// Invalidates a live connection, as the end of a process does: until then it and the delegate hold each other.
  ~FakeMac();
  FakeMac(const FakeMac &) = delete;
  FakeMac &operator=(const FakeMac &) = delete;

  Journal journal;
  FakeAlertPanel alertPanel{journal};
  FakeApplication application{journal};
  FakeBundle mainBundle{journal};
  FakeConsole console{journal};
  FakeDirectories directories{journal};
  FakeDynamicLoader dynamicLoader{journal};
  FakeFileManager fileManager{journal};
  FakeHelperConnections helperConnections{journal};
  FakeMainQueue mainQueue{journal};
  FakeServiceManagement serviceManagement{journal};
  FakeShellTask shellTask{journal};
  FakeTypography typography;
  FakeURLs urls{journal};
  FakeUUIDs uuids{journal};
  FakeUserDefaults userDefaults{journal};
  FakeWorkspace workspace{journal};
  std::shared_ptr<FakeDelegate> delegate = std::make_shared<FakeDelegate>(journal);

  [[nodiscard]] Mac mac();
};

}  // namespace quillmark::fake
