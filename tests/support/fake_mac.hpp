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

#include "platform/appkit.hpp"
#include "platform/dynamic_loader.hpp"
#include "platform/foundation.hpp"
#include "platform/helper_connection.hpp"
#include "platform/mac.hpp"
#include "platform/security.hpp"
#include "window/delegate.hpp"

namespace quillmark::fake {

/// Every act on every fake, in order, a line each: the verb, then its arguments. A question to the file system, the
/// loader or the rights' database is one too, for its answer changes with the acts around it; getters leave no line.
using Journal = std::vector<std::string>;

[[nodiscard]] bool contains(const std::vector<std::string> &lines, const std::string &line);

/// What makes a fake write into a journal.
class Recording {
 public:
  explicit Recording(Journal &journal) : journal_(journal) {}

 protected:
  /// Any thread.
  void record(const std::string &act);

 private:
  Journal &journal_;
};

class FakeAlertPanel final : public AlertPanel, Recording {
 public:
  using Recording::Recording;
  int runModal(const Alert &alert) override;

  std::vector<Alert> shown;
  int answer = alertFirstButtonReturn;
  /// Runs while the alert is up.
  std::function<void()> meanwhile = [] {};
};

class FakeApplication final : public Application, Recording {
 public:
  using Recording::Recording;
  void activateIgnoringOtherApps() override;
  double appKitVersionNumber() override;

  double version = 1187.0;
};

class FakeBundle final : public Bundle {
 public:
  std::string bundlePath() override;
  std::optional<std::string> pathForResource(const std::string &name, const std::string &type) override;
  std::string localizedString(const std::string &key) override;

  std::string path;
  std::map<std::string, std::string> translations;
  /// The keys whose translations were looked up, in order.
  std::vector<std::string> lookedUp;
  std::function<void()> whenAskedForAResource = [] {};
  /// Paths by "name.type".
  std::map<std::string, std::string> resources;
};

class FakeConsole final : public Console, Recording {
 public:
  using Recording::Recording;
  void log(const std::string &text) override;

  std::vector<std::string> lines;
};

class FakeDirectories final : public Directories {
 public:
  std::string homeDirectory() override;
  std::string userApplicationsDirectory() override;
  std::string temporaryDirectory() override;

  std::string home = "/Users/ann";
  std::string temporary = "/var/folders/T/";
};

/// The Security framework's binary, with the two relocation calls in it. Only one may exist at a time, because the
/// calls are plain C functions.
class FakeDynamicLoader final : public DynamicLoader, Recording {
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
  unsigned char flag = 0;
  /// What SecTranslocateCreateOriginalPathForURL answers; null when empty.
  std::optional<std::string> originalPath;
  int openHandles = 0;
};

/// A tree of folders, files and links in memory, empty but for the root folder.
class FakeFileManager final : public FileManager, Recording {
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

  std::map<std::string, Item> items_;
};

/// Prints its text.
class FakeData final : public Data {
 public:
  explicit FakeData(std::string text) : text_(std::move(text)) {}
  [[nodiscard]] std::string description() const override { return text_; }

 private:
  std::string text_;
};

/// The helper tool's side of every connection. Nothing is answered by itself: a test answers what has been sent, or
/// has the connection invalidated, on whatever thread plays the private queue.
class FakeHelper : public Recording {
 public:
  using Recording::record;
  using Recording::Recording;

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
  std::function<void()> whenConnecting = [] {};
};

class FakeServiceManagement final : public ServiceManagement, Recording {
 public:
  using Recording::Recording;
  std::optional<Error> jobBless(const std::string &label, Authorization authorization) override;

  std::optional<Error> refusal;
};

/// A database whose every answer a test sets.
class FakeAuthorizationDatabase final : public AuthorizationDatabase, Recording {
 public:
  FakeAuthorizationDatabase() : Recording(journal) {}
  Status rightGet(const std::string &name) override;
  Status rightSet(Authorization authorization, const std::string &name, const std::string &rule,
                  const std::string &descriptionKey, const std::string &stringsTable) override;

  Journal journal;
  /// Statuses by right; a right that is not named is denied, as one that does not exist is.
  std::map<std::string, Status> statuses;
  Status setStatus = errAuthorizationSuccess;
  Authorization authorization = nullptr;
};

class FakeUUIDs final : public UUIDs, Recording {
 public:
  using Recording::Recording;
  std::string UUIDString() override;
};

class FakeMainQueue final : public MainQueue, Recording {
 public:
  using Recording::Recording;
  void dispatchAsync(std::function<void()> work) override;
  void addOperation(std::function<void()> work) override;

  /// Runs all that waits, and lets go of each piece as soon as it has run.
  void run();

 private:
  std::mutex mutex_;
  std::deque<std::function<void()>> waiting_;
};

/// Answers the commands that a test expects; any other command fails that test.
class FakeShellTask final : public ShellTask, Recording {
 public:
  using Recording::Recording;
  std::optional<std::string> standardOutput(const std::string &command) override;

  /// Raw bytes by command.
  std::map<std::string, std::string> outputs;
  bool shellIsMissing = false;
  /// The commands whose shell alone does not start.
  std::set<std::string> notStarting;
};

class FakeURLs final : public URLs {
 public:
  URLRef createFileURL(const std::string &path) override;
  std::optional<std::string> path(URLRef url) override;
  void release(URLRef url) override;

  static URLRef create(const std::string &path);
  /// URLs made and not yet released, by anyone.
  static int alive;
};

class FakeUserDefaults final : public UserDefaults {
 public:
  bool hasValueForKey(const std::string &key) override;
  std::optional<std::string> valueForKey(const std::string &key) override;

  std::map<std::string, std::string> values;
  /// The keys that were asked for, in order; after "has " those of which only the presence was.
  std::vector<std::string> asked;
};

class FakeWorkspace final : public Workspace, Recording {
 public:
  using Recording::Recording;
  bool launchApplication(const std::string &name) override;
  bool openURL(const std::string &url) override;

  bool succeeds = true;
};

class FakeDelegate final : public Delegate, Recording {
 public:
  using Recording::Recording;
  bool didInstall() override;
  void setDidInstall(bool didInstall) override;
  void setIsRMMLaunch() override;
  void setInstallButtonTitle(const std::string &text, const std::optional<Color> &color) override;
  int termsCheckBoxState() override;
  void makeWindowKeyAndOrderFront() override;
  void hide(Control control) override;
  std::shared_ptr<Data> authorization() override;
  std::shared_ptr<HelperConnection> helperToolConnection() override;
  void setHelperToolConnection(const std::shared_ptr<HelperConnection> &newConnection) override;
  void appendToTextView(const std::string &text) override;
  void terminateApplication() override;

  std::shared_ptr<HelperConnection> connection;
  /// What is set as the connection is dropped at once.
  bool forgetsConnections = false;
  std::shared_ptr<Data> externalAuthorization;
  bool installed = false;
  std::optional<std::string> title;
  int boxState = 0;
  std::string log;

 private:
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
  FakeBundle mainBundle;
  FakeConsole console{journal};
  FakeDirectories directories;
  FakeDynamicLoader dynamicLoader{journal};
  FakeFileManager fileManager{journal};
  FakeHelperConnections helperConnections{journal};
  FakeMainQueue mainQueue{journal};
  FakeServiceManagement serviceManagement{journal};
  FakeShellTask shellTask{journal};
  FakeURLs urls;
  FakeUUIDs uuids{journal};
  FakeUserDefaults userDefaults;
  FakeWorkspace workspace{journal};
  std::shared_ptr<FakeDelegate> delegate = std::make_shared<FakeDelegate>(journal);

  [[nodiscard]] Mac mac();
};

}  // namespace quillmark::fake
