#include "support/fake_mac.hpp"

#include <gtest/gtest.h>

#include <algorithm>
#include <sstream>

#include "platform/path.hpp"

namespace quillmark::fake {

namespace {

FakeDynamicLoader *loader = nullptr;

unsigned char isTranslocatedURL(URLRef /*url*/, unsigned char *isTranslocated, void *error) {
  EXPECT_EQ(error, nullptr);
  EXPECT_EQ(*isTranslocated, 0) << "the flag is to be false before the system is asked";
  *isTranslocated = loader->flag;
  return loader->querySucceeds ? 1 : 0;
}

URLRef createOriginalPathForURL(URLRef /*url*/, void *error) {
  EXPECT_EQ(error, nullptr);
  return loader->originalPath ? FakeURLs::create(*loader->originalPath) : nullptr;
}

bool isASCII(const std::string &text) {
  return std::all_of(text.begin(), text.end(), [](unsigned char byte) { return byte <= 0x7F; });
}

bool isUTF8(const std::string &bytes) {
  std::size_t expected = 0;
  for (const char byte : bytes) {
    const auto value = static_cast<unsigned char>(byte);
    const bool continuation = (value & 0xC0U) == 0x80U;
    if (continuation != (expected > 0)) return false;
    if (continuation) {
      --expected;
    } else if (value >= 0xF8U) {
      return false;
    } else {
      expected = value >= 0xF0U ? 3 : value >= 0xE0U ? 2 : value >= 0xC0U ? 1 : 0;
    }
  }
  return expected == 0;
}

std::string name(Control control) {
  const char *const names[] = {"andText", "privacyTextOutlet", "checkboxOutlet", "linkBtnOutlet", "TCLabel"};
  return names[static_cast<int>(control)];
}

}  // namespace

bool contains(const std::vector<std::string> &lines, const std::string &line) {
  return std::find(lines.begin(), lines.end(), line) != lines.end();
}

void Recording::record(const std::string &act) {
  static std::mutex mutex;
  const std::lock_guard<std::mutex> lock(mutex);
  journal_.push_back(act);
}

int FakeAlertPanel::runModal(const Alert &alert) {
  record("alert " + alert.messageText);
  shown.push_back(alert);
  meanwhile();
  return answer;
}

void FakeApplication::activateIgnoringOtherApps() { record("activateIgnoringOtherApps"); }

double FakeApplication::appKitVersionNumber() { return version; }

std::string FakeBundle::bundlePath() { return path; }

std::optional<std::string> FakeBundle::pathForResource(const std::string &name, const std::string &type) {
  whenAskedForAResource();
  const auto found = resources.find(name + "." + type);
  if (found == resources.end()) return std::nullopt;
  return found->second;
}

std::string FakeBundle::localizedString(const std::string &key) {
  lookedUp.push_back(key);
  const auto translation = translations.find(key);
  return translation == translations.end() ? key : translation->second;
}

void FakeConsole::log(const std::string &text) {
  record("console " + text);
  lines.push_back(text);
}

std::string FakeDirectories::homeDirectory() { return home; }

std::string FakeDirectories::userApplicationsDirectory() { return home + "/Applications"; }

std::string FakeDirectories::temporaryDirectory() { return temporary; }

FakeDynamicLoader::FakeDynamicLoader(Journal &journal) : Recording(journal) {
  EXPECT_EQ(loader, nullptr) << "one fake Mac at a time";
  loader = this;
}

FakeDynamicLoader::~FakeDynamicLoader() {
  EXPECT_EQ(openHandles, 0) << "every opened binary is to be closed";
  loader = nullptr;
}

void *FakeDynamicLoader::open(const std::string &path) {
  record("dlopen " + path);
  if (!binaryExists) return nullptr;
  ++openHandles;
  return this;
}

void *FakeDynamicLoader::symbol(void *handle, const std::string &name) {
  record("dlsym " + name);
  EXPECT_EQ(handle, this);
  EXPECT_GT(openHandles, 0);
  if (missingSymbols.count(name) != 0) return nullptr;
  if (name == "SecTranslocateIsTranslocatedURL") return reinterpret_cast<void *>(isTranslocatedURL);
  if (name == "SecTranslocateCreateOriginalPathForURL") return reinterpret_cast<void *>(createOriginalPathForURL);
  ADD_FAILURE() << "unexpected symbol " << name;
  return nullptr;
}

void FakeDynamicLoader::close(void *handle) {
  record("dlclose");
  EXPECT_EQ(handle, this);
  --openHandles;
}

FakeFileManager::FakeFileManager(Journal &journal) : Recording(journal) { items_["/"] = {Item::Kind::folder, ""}; }

bool FakeFileManager::fails(const std::string &call) {
  record(call);
  return failing.count(call) != 0;
}

bool FakeFileManager::isFolder(const std::string &path) const {
  const auto item = items_.find(path);
  return item != items_.end() && item->second.kind == Item::Kind::folder;
}

bool FakeFileManager::fileExistsAtPath(const std::string &path) {
  if (fails("exists " + path)) return false;
  std::string place = path;
  for (int links = 0; links < 32; ++links) {  // as many as a Mac follows, MAXSYMLINKS
    const auto item = items_.find(place);
    if (item == items_.end()) return false;
    if (item->second.kind != Item::Kind::link) return true;
    place = item->second.contents;
  }
  return false;
}

bool FakeFileManager::removeItemAtPath(const std::string &path) {
  if (fails("remove " + path)) return false;
  for (const std::string &item : tree(path)) items_.erase(item);
  return items_.erase(path) != 0;
}

bool FakeFileManager::createDirectoryAtPath(const std::string &path) {
  if (fails("create " + path)) return false;
  std::string folder = path;
  while (items_.count(folder) == 0) folder = stringByDeletingLastPathComponent(folder);
  if (!isFolder(folder)) return false;
  addFolder(path);
  return true;
}

bool FakeFileManager::copyItemAtPath(const std::string &source, const std::string &target) {
  if (fails("copy " + source + " to " + target)) return false;
  if (items_.count(source) == 0 || items_.count(target) != 0) return false;
  if (!isFolder(stringByDeletingLastPathComponent(target))) return false;
  auto copied = tree(source);
  copied.push_back(source);
  for (const std::string &item : copied) items_[target + item.substr(source.size())] = items_[item];
  return true;
}

bool FakeFileManager::writeASCII(const std::string &text, const std::string &path) {
  if (fails("write " + path)) return false;
  const auto old = items_.find(path);
  if (!isASCII(text) || !isFolder(stringByDeletingLastPathComponent(path))) return false;
  if (old != items_.end() && old->second.kind != Item::Kind::file) return false;
  items_[path] = {Item::Kind::file, text};
  return true;
}

void FakeFileManager::addFile(const std::string &path, const std::string &contents) {
  addFolder(stringByDeletingLastPathComponent(path));
  items_[path] = {Item::Kind::file, contents};
}

void FakeFileManager::addFolder(const std::string &path) {
  for (std::string folder = path; items_.count(folder) == 0; folder = stringByDeletingLastPathComponent(folder)) {
    items_[folder] = {Item::Kind::folder, ""};
  }
}

void FakeFileManager::addLink(const std::string &path, const std::string &target) {
  addFolder(stringByDeletingLastPathComponent(path));
  items_[path] = {Item::Kind::link, target};
}

std::optional<std::string> FakeFileManager::at(const std::string &path) const {
  const auto item = items_.find(path);
  if (item == items_.end()) return std::nullopt;
  switch (item->second.kind) {
    case Item::Kind::file:
      return item->second.contents;
    case Item::Kind::folder:
      return "folder";
    case Item::Kind::link:
      return "-> " + item->second.contents;
  }
  return std::nullopt;
}

std::vector<std::string> FakeFileManager::tree(const std::string &folder) const {
  std::vector<std::string> paths;
  const std::string prefix = folder == "/" ? folder : folder + "/";
  for (const auto &[path, item] : items_) {
    if (path.size() > prefix.size() && path.compare(0, prefix.size(), prefix) == 0) paths.push_back(path);
  }
  return paths;
}

void FakeHelperTool::getVersion(std::function<void(const std::optional<std::string> &)> reply) {
  helper_.record("send getVersion");
  helper_.sent.push_back({.errorHandler = errorHandler_, .version = std::move(reply), .install = {}, .bind = {}});
}

void FakeHelperTool::install(const std::string &path, const std::shared_ptr<Data> &authorization,
                             std::function<void(const std::optional<Error> &)> reply) {
  helper_.record("send install " + path + (authorization ? " with " + authorization->description() : ""));
  helper_.sent.push_back({.errorHandler = errorHandler_, .version = {}, .install = std::move(reply), .bind = {}});
}

void FakeHelperTool::bindToLowNumberPort(const std::shared_ptr<Data> &authorization,
                                         std::function<void(const std::optional<Error> &, int, int)> reply) {
  helper_.record(authorization ? "send bind with " + authorization->description() : "send bind");
  helper_.sent.push_back({.errorHandler = errorHandler_, .version = {}, .install = {}, .bind = std::move(reply)});
}

void FakeHelperConnection::note(const std::string &call) {
  helper_.record("connection " + std::to_string(number_) + " " + call);
}

void FakeHelperConnection::setRemoteObjectInterface() { note("setRemoteObjectInterface"); }

void FakeHelperConnection::setInvalidationHandler(std::function<void()> handler) {
  const std::lock_guard<std::mutex> lock(mutex_);
  note(handler ? "setInvalidationHandler" : "clears its invalidation handler");
  std::swap(invalidationHandler_, handler);
}

void FakeHelperConnection::resume() { note("resume"); }

std::unique_ptr<HelperTool> FakeHelperConnection::remoteObjectProxy(
    std::function<void(const Error &error)> errorHandler) {
  note("remoteObjectProxy");
  return std::make_unique<FakeHelperTool>(helper_, std::move(errorHandler));
}

void FakeHelperConnection::invalidate() {
  std::function<void()> handler;
  {
    const std::lock_guard<std::mutex> lock(mutex_);
    handler = invalidationHandler_;
  }
  if (handler) handler();
}

std::shared_ptr<HelperConnection> FakeHelperConnections::privilegedConnection(const std::string &machServiceName) {
  helper.record("privilegedConnection " + machServiceName);
  whenConnecting();
  return std::make_shared<FakeHelperConnection>(helper, ++helper.connections);
}

std::optional<Error> FakeServiceManagement::jobBless(const std::string &label, Authorization authorization) {
  record("bless " + label + (authorization != nullptr ? " with an authorization" : ""));
  return refusal;
}

Status FakeAuthorizationDatabase::rightGet(const std::string &name) {
  record("get " + name);
  const auto status = statuses.find(name);
  return status == statuses.end() ? errAuthorizationDenied : status->second;
}

Status FakeAuthorizationDatabase::rightSet(Authorization givenAuthorization, const std::string &name,
                                           const std::string &rule, const std::string &descriptionKey,
                                           const std::string &stringsTable) {
  record("set " + name + " to " + rule + " \"" + descriptionKey + "\" of " + stringsTable);
  authorization = givenAuthorization;
  return setStatus;
}

std::string FakeUUIDs::UUIDString() {
  record("UUIDString");
  return "1B9D6BCD-BBFD-4B2D-9B5D-AB8DFBBD4BED";
}

void FakeMainQueue::dispatchAsync(std::function<void()> work) {
  record("dispatchAsync");
  const std::lock_guard<std::mutex> lock(mutex_);
  waiting_.push_back(std::move(work));
}

void FakeMainQueue::addOperation(std::function<void()> work) {
  record("addOperation");
  const std::lock_guard<std::mutex> lock(mutex_);
  waiting_.push_back(std::move(work));
}

void FakeMainQueue::run() {
  while (true) {
    std::function<void()> work;
    {
      const std::lock_guard<std::mutex> lock(mutex_);
      if (waiting_.empty()) return;
      work = std::move(waiting_.front());
      waiting_.pop_front();
    }
    work();
  }
}

std::optional<std::string> FakeShellTask::standardOutput(const std::string &command) {
  record("sh " + command);
  if (shellIsMissing || notStarting.count(command) != 0) throw TaskLaunchError("launch path not accessible", nullptr);
  const auto output = outputs.find(command);
  if (output == outputs.end()) {
    ADD_FAILURE() << "unexpected command: " << command;
    return "";
  }
  if (!isUTF8(output->second)) return std::nullopt;
  return output->second;
}

int FakeURLs::alive = 0;

URLRef FakeURLs::create(const std::string &path) {
  ++alive;
  return new std::string(path);
}

URLRef FakeURLs::createFileURL(const std::string &path) { return create(path); }

std::optional<std::string> FakeURLs::path(URLRef url) {
  if (url == nullptr) return std::nullopt;
  return *static_cast<const std::string *>(url);
}

void FakeURLs::release(URLRef url) {
  if (url == nullptr) return;
  --alive;
  delete static_cast<const std::string *>(url);
}

bool FakeUserDefaults::hasValueForKey(const std::string &key) {
  asked.push_back("has " + key);
  return values.contains(key);
}

std::optional<std::string> FakeUserDefaults::valueForKey(const std::string &key) {
  asked.push_back(key);
  const auto value = values.find(key);
  if (value == values.end()) return std::nullopt;
  return value->second;
}

bool FakeWorkspace::launchApplication(const std::string &name) {
  record("launchApplication " + name);
  return succeeds;
}

bool FakeWorkspace::openURL(const std::string &url) {
  record("openURL " + url);
  return succeeds;
}

bool FakeDelegate::didInstall() { return installed; }

void FakeDelegate::setDidInstall(bool didInstall) {
  record(didInstall ? "didInstall = YES" : "didInstall = NO");
  installed = didInstall;
}

void FakeDelegate::setIsRMMLaunch() { record("isRMMLaunch = 1"); }

void FakeDelegate::setInstallButtonTitle(const std::string &text, const std::optional<Color> &color) {
  std::ostringstream act;
  act << "installButtonTitle = " << text;
  if (color) act << " (" << color->red << " " << color->green << " " << color->blue << " " << color->alpha << ")";
  record(act.str());
  title = text;
}

int FakeDelegate::termsCheckBoxState() { return boxState; }

void FakeDelegate::makeWindowKeyAndOrderFront() { record("makeKeyAndOrderFront"); }

void FakeDelegate::hide(Control control) { record("hide " + name(control)); }

std::shared_ptr<Data> FakeDelegate::authorization() { return externalAuthorization; }

std::shared_ptr<HelperConnection> FakeDelegate::helperToolConnection() {
  const std::lock_guard<std::mutex> lock(mutex_);
  return connection;
}

void FakeDelegate::setHelperToolConnection(const std::shared_ptr<HelperConnection> &newConnection) {
  const std::lock_guard<std::mutex> lock(mutex_);
  record(newConnection ? "helperToolConnection is set" : "helperToolConnection = nil");
  if (!forgetsConnections) connection = newConnection;
}

void FakeDelegate::appendToTextView(const std::string &text) { log += text; }

void FakeDelegate::terminateApplication() { record("terminate"); }

FakeMac::FakeMac() {
  const std::string folder = "/Volumes/Quillmark Installer";
  const std::string resources = folder + "/Quillmark Installer.app/Contents/Resources";
  mainBundle.path = folder + "/Quillmark Installer.app";
  for (const std::string resource : {"Quillmark.app", "client.up.tunnelblick.sh", "client.down.tunnelblick.sh"}) {
    mainBundle.resources[resource] = resources + "/" + resource;
  }
  fileManager.addFile(resources + "/Quillmark.app/Contents/Info.plist", "the client");
  fileManager.addFile(resources + "/client.up.tunnelblick.sh", "up");
  fileManager.addFile(resources + "/client.down.tunnelblick.sh", "down");
  fileManager.addFile(folder + "/components/WGComponents/Sonoma/QuillmarkGuard", "guard for Sonoma");
  fileManager.addFolder("/Applications");
  fileManager.addFolder(directories.home + "/Applications");
  fileManager.addFolder("/var/folders/T");
}

FakeMac::~FakeMac() {
  if (delegate == nullptr || delegate->connection == nullptr) return;
  dynamic_cast<FakeHelperConnection &>(*delegate->connection).invalidate();
  mainQueue.run();
}

Mac FakeMac::mac() {
  return {
      .alertPanel = alertPanel,
      .application = application,
      .mainBundle = mainBundle,
      .console = console,
      .directories = directories,
      .dynamicLoader = dynamicLoader,
      .fileManager = fileManager,
      .helperConnections = helperConnections,
      .mainQueue = mainQueue,
      .serviceManagement = serviceManagement,
      .shellTask = shellTask,
      .urls = urls,
      .uuids = uuids,
      .userDefaults = userDefaults,
      .workspace = workspace,
  };
}

}  // namespace quillmark::fake
