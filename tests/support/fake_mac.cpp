#include "support/fake_mac.hpp"

#include <gtest/gtest.h>

#include <sstream>

#include "platform/path.hpp"

namespace quillmark::fake {

namespace {

/// For what other threads call.
void record(Journal &journal, const std::string &call) {
  static std::mutex mutex;
  const std::lock_guard<std::mutex> lock(mutex);
  journal.push_back(call);
}

FakeDynamicLoader *loader = nullptr;

unsigned char isTranslocatedURL(URLRef /*url*/, bool *isTranslocated, void *error) {
  EXPECT_EQ(error, nullptr);
  EXPECT_FALSE(*isTranslocated) << "the flag is to be false before the system is asked";
  *isTranslocated = loader->flag;
  return loader->querySucceeds ? 1 : 0;
}

URLRef createOriginalPathForURL(URLRef /*url*/, void *error) {
  EXPECT_EQ(error, nullptr);
  return loader->originalPath ? FakeURLs::create(*loader->originalPath) : nullptr;
}

bool isASCII(const std::string &text) {
  for (const char byte : text) {
    if (static_cast<unsigned char>(byte) > 0x7F) return false;
  }
  return true;
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

std::string number(double value) {
  std::ostringstream text;
  text << value;
  return text.str();
}

std::string name(Control control) {
  switch (control) {
    case Control::andText:
      return "andText";
    case Control::privacyTextOutlet:
      return "privacyTextOutlet";
    case Control::checkboxOutlet:
      return "checkboxOutlet";
    case Control::linkBtnOutlet:
      return "linkBtnOutlet";
    case Control::TCLabel:
      return "TCLabel";
  }
  return "no such control";
}

}  // namespace

int FakeAlertPanel::runModal(const Alert &alert) {
  journal_.push_back("alert " + alert.messageText);
  shown.push_back(alert);
  meanwhile();
  return answer;
}

void FakeApplication::terminate(Delegate &sender) {
  journal_.emplace_back("terminate");
  terminateSender = &sender;
}

void FakeApplication::activateIgnoringOtherApps() { journal_.emplace_back("activateIgnoringOtherApps"); }

double FakeApplication::appKitVersionNumber() {
  journal_.emplace_back("appKitVersionNumber");
  return version;
}

void FakeAttributedString::setBoldSystemFont(double size) { description += ", bold " + number(size); }

void FakeAttributedString::setForegroundColor(const Color &color) {
  description += ", " + dynamic_cast<const FakeColor &>(color).components;
}

void FakeAttributedString::setAlignmentCenter() { description += ", centred"; }

std::unique_ptr<AttributedString> FakeTypography::attributedString(const std::string &text) {
  return std::make_unique<FakeAttributedString>(text);
}

std::unique_ptr<Color> FakeTypography::colorWithRed(double red, double green, double blue, double alpha) {
  return std::make_unique<FakeColor>("(" + number(red) + " " + number(green) + " " + number(blue) + " " +
                                     number(alpha) + ")");
}

std::string FakeBundle::bundlePath() {
  journal_.emplace_back("bundlePath");
  return path;
}

std::optional<std::string> FakeBundle::pathForResource(const std::string &name, const std::string &type) {
  journal_.push_back("resource " + name + "." + type);
  whenAskedForAResource();
  const auto found = resources.find(name + "." + type);
  if (found == resources.end()) return std::nullopt;
  return found->second;
}

std::string FakeBundle::localizedString(const std::string &key) {
  journal_.push_back("localizedString " + key);
  const auto translation = translations.find(key);
  return translation == translations.end() ? key : translation->second;
}

void FakeConsole::log(const std::string &text) {
  journal_.push_back("console " + text);
  lines.push_back(text);
}

std::string FakeDirectories::homeDirectory() {
  journal_.emplace_back("homeDirectory");
  return home;
}

std::string FakeDirectories::userApplicationsDirectory() {
  journal_.emplace_back("userApplicationsDirectory");
  return home + "/Applications";
}

std::string FakeDirectories::temporaryDirectory() {
  journal_.emplace_back("temporaryDirectory");
  return temporary;
}

FakeDynamicLoader::FakeDynamicLoader(Journal &journal) : journal_(journal) {
  EXPECT_EQ(loader, nullptr) << "one fake Mac at a time";
  loader = this;
}

FakeDynamicLoader::~FakeDynamicLoader() {
  EXPECT_EQ(openHandles, 0) << "every opened binary is to be closed";
  loader = nullptr;
}

void *FakeDynamicLoader::open(const std::string &path) {
  journal_.push_back("dlopen " + path);
  if (!binaryExists) return nullptr;
  ++openHandles;
  return this;
}

void *FakeDynamicLoader::symbol(void *handle, const std::string &name) {
  journal_.push_back("dlsym " + name);
  EXPECT_EQ(handle, this);
  EXPECT_GT(openHandles, 0);
  if (missingSymbols.count(name) != 0) return nullptr;
  if (name == "SecTranslocateIsTranslocatedURL") return reinterpret_cast<void *>(isTranslocatedURL);
  if (name == "SecTranslocateCreateOriginalPathForURL") return reinterpret_cast<void *>(createOriginalPathForURL);
  ADD_FAILURE() << "unexpected symbol " << name;
  return nullptr;
}

void FakeDynamicLoader::close(void *handle) {
  journal_.emplace_back("dlclose");
  EXPECT_EQ(handle, this);
  --openHandles;
}

FakeFileManager::FakeFileManager(Journal &journal) : journal_(journal) { items_["/"] = {Item::Kind::folder, ""}; }

bool FakeFileManager::fails(const std::string &call) {
  journal_.push_back(call);
  return failing.count(call) != 0;
}

bool FakeFileManager::isFolder(const std::string &path) const {
  const auto item = items_.find(path);
  return item != items_.end() && item->second.kind == Item::Kind::folder;
}

bool FakeFileManager::fileExistsAtPath(const std::string &path) {
  if (fails("exists " + path)) return false;
  const auto item = items_.find(path);
  if (item == items_.end()) return false;
  return item->second.kind != Item::Kind::link || items_.count(item->second.contents) != 0;
}

bool FakeFileManager::removeItemAtPath(const std::string &path) {
  if (fails("remove " + path)) return false;
  if (items_.count(path) == 0) return false;
  for (const std::string &below : tree(path)) items_.erase(below);
  items_.erase(path);
  return true;
}

bool FakeFileManager::createDirectoryAtPath(const std::string &path) {
  if (fails("create " + path)) return false;
  for (std::string folder = path; folder != "/"; folder = stringByDeletingLastPathComponent(folder)) {
    if (items_.count(folder) != 0 && !isFolder(folder)) return false;
  }
  addFolder(path);
  return true;
}

bool FakeFileManager::copyItemAtPath(const std::string &source, const std::string &target) {
  if (fails("copy " + source + " to " + target)) return false;
  if (items_.count(source) == 0 || items_.count(target) != 0) return false;
  if (!isFolder(stringByDeletingLastPathComponent(target))) return false;
  for (const std::string &below : tree(source)) items_[target + below.substr(source.size())] = items_[below];
  items_[target] = items_[source];
  return true;
}

bool FakeFileManager::writeASCII(const std::string &text, const std::string &path) {
  if (fails("write " + path)) return false;
  if (!isASCII(text) || isFolder(path) || !isFolder(stringByDeletingLastPathComponent(path))) return false;
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
  helper_.journal.emplace_back("send getVersion");
  helper_.sent.push_back({.errorHandler = errorHandler_, .version = std::move(reply), .install = {}, .bind = {}});
}

void FakeHelperTool::install(const std::string &path, const std::shared_ptr<Data> &authorization,
                             std::function<void(const std::optional<Error> &)> reply) {
  helper_.journal.push_back("send install " + path + (authorization ? " with an authorization" : ""));
  helper_.sent.push_back({.errorHandler = errorHandler_, .version = {}, .install = std::move(reply), .bind = {}});
}

void FakeHelperTool::bindToLowNumberPort(const std::shared_ptr<Data> &authorization,
                                         std::function<void(const std::optional<Error> &, int, int)> reply) {
  helper_.journal.emplace_back(authorization ? "send bind with an authorization" : "send bind");
  helper_.sent.push_back({.errorHandler = errorHandler_, .version = {}, .install = {}, .bind = std::move(reply)});
}

void FakeHelperConnection::note(const std::string &call) {
  record(helper_.journal, "connection " + std::to_string(number_) + " " + call);
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
  helper.journal.push_back("privilegedConnection " + machServiceName);
  return std::make_shared<FakeHelperConnection>(helper, ++helper.connections);
}

std::optional<Error> FakeServiceManagement::jobBless(const std::string &label, Authorization authorization) {
  journal_.push_back("bless " + label + (authorization != nullptr ? " with an authorization" : ""));
  return refusal;
}

Status FakeAuthorizationDatabase::rightGet(const std::string &name) {
  journal.push_back("get " + name);
  const auto status = statuses.find(name);
  return status == statuses.end() ? errAuthorizationDenied : status->second;
}

Status FakeAuthorizationDatabase::rightSet(Authorization givenAuthorization, const std::string &name,
                                           const std::string &rule, const std::string &descriptionKey,
                                           const std::string &stringsTable) {
  journal.push_back("set " + name + " to " + rule + " \"" + descriptionKey + "\" of " + stringsTable);
  authorization = givenAuthorization;
  return setStatus;
}

std::string FakeUUIDs::UUIDString() {
  journal_.emplace_back("UUIDString");
  return "1B9D6BCD-BBFD-4B2D-9B5D-AB8DFBBD4BED";
}

void FakeMainQueue::dispatchAsync(std::function<void()> work) {
  record(journal_, "dispatchAsync");
  const std::lock_guard<std::mutex> lock(mutex_);
  waiting_.push_back(std::move(work));
}

void FakeMainQueue::addOperation(std::function<void()> work) {
  record(journal_, "addOperation");
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
  journal_.push_back("sh " + command);
  if (shellIsMissing) throw TaskLaunchError("NSInvalidArgumentException", "launch path not accessible");
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

URLRef FakeURLs::createFileURL(const std::string &path) {
  journal_.push_back("createFileURL " + path);
  return create(path);
}

std::optional<std::string> FakeURLs::path(URLRef url) {
  if (url == nullptr) return std::nullopt;
  return *static_cast<const std::string *>(url);
}

void FakeURLs::release(URLRef url) {
  if (url == nullptr) return;
  --alive;
  delete static_cast<const std::string *>(url);
}

std::optional<std::string> FakeUserDefaults::valueForKey(const std::string &key) {
  journal_.push_back("default " + key);
  const auto value = values.find(key);
  if (value == values.end()) return std::nullopt;
  return value->second;
}

bool FakeWorkspace::launchApplication(const std::string &name) {
  journal_.push_back("launchApplication " + name);
  return succeeds;
}

bool FakeWorkspace::openURL(const std::string &url) {
  journal_.push_back("openURL " + url);
  return succeeds;
}

bool FakeDelegate::didInstall() { return installed; }

void FakeDelegate::setDidInstall(bool didInstall) {
  journal_.push_back(didInstall ? "didInstall = YES" : "didInstall = NO");
  installed = didInstall;
}

void FakeDelegate::setIsRMMLaunch() {
  journal_.emplace_back("isRMMLaunch = 1");
  managedLaunch = true;
}

void FakeDelegate::setInstallButtonTitle(const AttributedString &newTitle) {
  title = dynamic_cast<const FakeAttributedString &>(newTitle).description;
  journal_.push_back("installButtonTitle = " + *title);
}

int FakeDelegate::termsCheckBoxState() { return boxState; }

void FakeDelegate::makeWindowKeyAndOrderFront() { journal_.emplace_back("makeKeyAndOrderFront"); }

void FakeDelegate::hide(Control control) {
  journal_.push_back("hide " + name(control));
  hidden.insert(name(control));
}

Authorization FakeDelegate::authRef() { return nullptr; }

std::shared_ptr<Data> FakeDelegate::authorization() { return nullptr; }

std::shared_ptr<HelperConnection> FakeDelegate::helperToolConnection() {
  const std::lock_guard<std::mutex> lock(mutex_);
  return connection;
}

void FakeDelegate::setHelperToolConnection(const std::shared_ptr<HelperConnection> &newConnection) {
  const std::lock_guard<std::mutex> lock(mutex_);
  journal_.emplace_back(newConnection ? "helperToolConnection is set" : "helperToolConnection = nil");
  connection = newConnection;
}

void FakeDelegate::appendToTextView(const std::string &text) { log += text; }

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
      .typography = typography,
      .urls = urls,
      .uuids = uuids,
      .userDefaults = userDefaults,
      .workspace = workspace,
  };
}

}  // namespace quillmark::fake
