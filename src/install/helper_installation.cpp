#include "install/helper_installation.hpp"

#include <optional>
#include <string>

#include "helper-client/command_channel.hpp"
#include "install/layout.hpp"
#include "platform/foundation.hpp"
#include "platform/ignore.hpp"
#include "platform/path.hpp"
#include "probes/relocation.hpp"
#include "window/activity_log.hpp"
#include "window/installed_state.hpp"

namespace quillmark {

namespace {

/// Removing first makes a failed copy leave nothing, rather than an older copy.
void replaceItem(FileManager &fileManager, const std::optional<std::string> &source, const std::string &target) {
  ignore(fileManager.removeItemAtPath(target));
  if (source) ignore(fileManager.copyItemAtPath(*source, target));
}

void stageVPNConfiguration(const Mac &mac, const std::string &temporaryDirectory) {
  const auto componentsFolder = resolveComponentsFolder(mac).path;
  for (const char *name : layout::vpnConfigurationFiles) {
    replaceItem(mac.fileManager, layout::componentSource(componentsFolder, name),
                stringByAppendingPathComponent(temporaryDirectory, name));
  }
}

void logAuthorization(Console &console, Delegate &delegate) {
  const auto authorization = delegate.authorization();
  console.log(objectDescription(authorization ? std::optional(authorization->description()) : std::nullopt));
}

}  // namespace

void installQuillmarkApplication2(const Mac &mac, const DelegatePtr &delegate) {
  const auto application = layout::applicationResource(mac.mainBundle);
  const std::string temporary = mac.directories.temporaryDirectory();
  const auto staged = [&](const char *name) { return stringByAppendingPathComponent(temporary, name); };
  replaceItem(mac.fileManager, application, staged(layout::application));
  replaceItem(mac.fileManager, layout::upScriptResource(mac.mainBundle), staged(layout::upScript));
  replaceItem(mac.fileManager, layout::downScriptResource(mac.mainBundle), staged(layout::downScript));
  stageVPNConfiguration(mac, temporary);

  [[maybe_unused]] const std::string unused = mac.uuids.UUIDString();  // deliberate: each hand-over draws one
  logAuthorization(mac.console, *delegate);
  sendCommand(mac, delegate, [&](HelperTool &helperTool) {
    helperTool.install(temporary, delegate->authorization(), [mac, delegate](const std::optional<Error> &error) {
      logAuthorization(mac.console, *delegate);
      if (error) {
        logError(mac.mainQueue, delegate, *error);
        return;
      }
      logText(mac.mainQueue, delegate, "success\n");
      postUpdateWindowAfterInstall(mac.mainQueue, delegate);
    });
  });
}

}  // namespace quillmark
