#include "install/installation.hpp"

#include <exception>
#include <optional>
#include <string>

#include "install/layout.hpp"
#include "install/marker_file.hpp"
#include "platform/foundation.hpp"
#include "platform/ignore.hpp"
#include "platform/path.hpp"
#include "probes/mac_version.hpp"
#include "probes/relocation.hpp"
#include "window/installed_state.hpp"

namespace quillmark {

namespace {

void rebuildStagingFolder(const Mac &mac) {
  const std::string stagingFolder = layout::stagingFolder(mac.directories);
  const bool inTheWay = mac.fileManager.fileExistsAtPath(stagingFolder);
  if (inTheWay && !mac.fileManager.removeItemAtPath(stagingFolder)) return;  // the old one stays in use, unchanged
  const bool created = mac.fileManager.createDirectoryAtPath(stagingFolder);
  mac.console.log(created ? "Directory Created" : "Directory Creation Failed");
}

/// Failures are dropped: an installation places what it can. A source that the bundle lacks fails this copy only.
void copyItem(FileManager &fileManager, const std::optional<std::string> &source, const std::string &target) {
  if (source) ignore(fileManager.copyItemAtPath(*source, target));
}

/// The shell sees the paths unquoted, so a blank in either breaks the copy, which nobody is told, as of a shell that
/// does not start.
void shellCopy(ShellTask &shellTask, const std::string &source, const std::string &folder) {
  try {
    ignore(shellTask.standardOutput("cp -R " + source + " " + folder));
  } catch (const TaskLaunchError &error) {
    ignore(error);
  }
}

/// The component goes by way of the temporary folder, from where the shell copies it into the staging folder.
void stageWireGuardComponent(const Mac &mac, const std::optional<std::string> &componentsFolder,
                             const std::string &stagingFolder) {
  const auto source = layout::wireGuardComponentSource(componentsFolder, getMacVersion(mac.shellTask));
  const std::string temporaryCopy =
      stringByAppendingPathComponent(mac.directories.temporaryDirectory(), layout::wireGuardComponent);
  ignore(mac.fileManager.removeItemAtPath(temporaryCopy));  // absent unless an earlier installation left it
  mac.console.log("[pathToComponents stringByAppendingPathComponent:newPath]  " + objectDescription(source));
  copyItem(mac.fileManager, source, temporaryCopy);
  mac.console.log("-------------------------");
  shellCopy(mac.shellTask, temporaryCopy, stagingFolder);
  mac.console.log("-------------------");
}

/// Places every file, and answers whether it did: without a components folder it tells the user and touches none.
bool installFiles(const Mac &mac, void (*writeMarker)(const Mac &mac)) {
  if (!componentsArePresent(mac)) return false;
  FileManager &files = mac.fileManager;

  const std::string userApplicationCopy = layout::userApplicationCopy(mac.directories);
  rebuildStagingFolder(mac);
  ignore(files.removeItemAtPath(layout::systemApplicationCopy));  // absent on a first installation
  ignore(files.removeItemAtPath(userApplicationCopy));
  mac.console.log("----------------------------");

  const auto application = layout::applicationResource(mac.mainBundle);
  // Formed again, as each step forms the paths that it writes to: nothing is carried over from the rebuilding.
  const std::string stagingFolder = layout::stagingFolder(mac.directories);
  writeMarker(mac);
  copyItem(files, application, layout::systemApplicationCopy);
  copyItem(files, application, userApplicationCopy);  // the user may have no Applications folder; none is made
  const auto staged = [&](const char *name) { return stringByAppendingPathComponent(stagingFolder, name); };
  copyItem(files, layout::upScriptResource(mac.mainBundle), staged(layout::upScript));
  copyItem(files, layout::downScriptResource(mac.mainBundle), staged(layout::downScript));
  stageWireGuardComponent(mac, resolveComponentsFolder(mac).path, stagingFolder);
  return true;
}

}  // namespace

void installQuillmarkApplication(const Mac &mac, const DelegatePtr &delegate) {
  if (!installFiles(mac, writeToTextFile)) {
    delegate->terminateApplication();
    return;
  }
  postUpdateWindowAfterInstall(mac.mainQueue, delegate);
}

void installQuillmarkApplicationRMM(const Mac &mac, const DelegatePtr &delegate) {
  try {
    ignore(installFiles(mac, writeToTextFileRMM));  // a managed run ends, whatever it placed
  } catch (const std::exception &failure) {
    // Nobody sits in front of it and there is no window: it must not stay.
    mac.console.log(failure.what());
  }
  delegate->terminateApplication();
}

}  // namespace quillmark
