#include "install/installation.hpp"

#include <optional>
#include <string>

#include "install/layout.hpp"
#include "install/marker_file.hpp"
#include "platform/application.hpp"
#include "platform/console.hpp"
#include "platform/directories.hpp"
#include "platform/file_manager.hpp"
#include "platform/ignore.hpp"
#include "platform/object_description.hpp"
#include "platform/path.hpp"
#include "platform/shell_task.hpp"
#include "probes/mac_version.hpp"
#include "probes/relocation.hpp"
#include "shell/main_window.hpp"

namespace quillmark {

namespace {

struct Targets {
  std::string userApplicationCopy;
  std::string stagingFolder;
};

Targets userApplicationFirst(Directories &directories) {
  std::string userApplicationCopy = layout::userApplicationCopy(directories);
  return {.userApplicationCopy = std::move(userApplicationCopy), .stagingFolder = layout::stagingFolder(directories)};
}

Targets stagingFolderFirst(Directories &directories) {
  std::string stagingFolder = layout::stagingFolder(directories);
  return {.userApplicationCopy = layout::userApplicationCopy(directories), .stagingFolder = std::move(stagingFolder)};
}

void terminateApplication(const Mac &mac, const DelegatePtr &delegate) { mac.application.terminate(*delegate); }

/// All that a person's and a management tool's installation do not have in common.
struct Installation {
  Targets (*formTargets)(Directories &directories);
  void (*writeMarker)(const Mac &mac);
  void (*finish)(const Mac &mac, const DelegatePtr &delegate);
};

constexpr Installation interactive = {
    .formTargets = userApplicationFirst,
    .writeMarker = writeToTextFile,
    .finish = postUpdateWindowAfterInstall,
};

constexpr Installation managed = {
    .formTargets = stagingFolderFirst,
    .writeMarker = writeToTextFileRMM,
    .finish = terminateApplication,
};

void rebuildStagingFolder(const Mac &mac, const std::string &stagingFolder) {
  const bool inTheWay = mac.fileManager.fileExistsAtPath(stagingFolder);
  if (inTheWay && !mac.fileManager.removeItemAtPath(stagingFolder)) return;  // the old one stays in use, unchanged
  const bool created = mac.fileManager.createDirectoryAtPath(stagingFolder);
  mac.console.log(created ? "Directory Created" : "Directory Creation Failed");
}

/// Failures are dropped: an installation places what it can. A source that the bundle lacks fails this copy only.
void copyItem(FileManager &fileManager, const std::optional<std::string> &source, const std::string &target) {
  if (source) ignore(fileManager.copyItemAtPath(*source, target));
}

/// The component goes by way of the temporary folder, from where the shell copies it into the staging folder.
/// The shell sees the paths unquoted, so a blank in either breaks the copy, which nobody is told.
void stageWireGuardComponent(const Mac &mac, const std::optional<std::string> &componentsFolder,
                             const std::string &stagingFolder) {
  const std::string componentPath = layout::wireGuardComponentPath(getMacVersion(mac.shellTask));
  const std::string temporaryCopy = layout::temporaryWireGuardCopy(mac.directories.temporaryDirectory());
  ignore(mac.fileManager.removeItemAtPath(temporaryCopy));
  std::optional<std::string> source;
  if (componentsFolder) source = stringByAppendingPathComponent(*componentsFolder, componentPath);
  mac.console.log("[pathToComponents stringByAppendingPathComponent:newPath]  " + objectDescription(source));
  copyItem(mac.fileManager, source, temporaryCopy);
  mac.console.log("-------------------------");
  ignore(mac.shellTask.standardOutput("cp -R " + temporaryCopy + " " + stagingFolder));
  mac.console.log("-------------------");
}

void install(const Mac &mac, const DelegatePtr &delegate, const Installation &installation) {
  if (!componentsArePresent(mac)) {
    terminateApplication(mac, delegate);
    return;
  }
  FileManager &files = mac.fileManager;

  const auto [userApplicationCopy, oldStagingFolder] = installation.formTargets(mac.directories);
  rebuildStagingFolder(mac, oldStagingFolder);

  ignore(files.removeItemAtPath(layout::systemApplicationCopy));  // absent on a first installation
  ignore(files.removeItemAtPath(userApplicationCopy));
  mac.console.log("----------------------------");

  const auto application = layout::applicationResource(mac.mainBundle);
  const std::string stagingFolder = layout::stagingFolder(mac.directories);
  installation.writeMarker(mac);
  copyItem(files, application, layout::systemApplicationCopy);
  copyItem(files, application, userApplicationCopy);  // the user may have no Applications folder; none is made
  copyItem(files, layout::upScriptResource(mac.mainBundle), layout::stagedUpScript(stagingFolder));
  copyItem(files, layout::downScriptResource(mac.mainBundle), layout::stagedDownScript(stagingFolder));

  stageWireGuardComponent(mac, resolveComponentsFolder(mac).path, stagingFolder);
  installation.finish(mac, delegate);
}

}  // namespace

void installQuillmarkApplication(const Mac &mac, const DelegatePtr &delegate) { install(mac, delegate, interactive); }

void installQuillmarkApplicationRMM(const Mac &mac, const DelegatePtr &delegate) { install(mac, delegate, managed); }

}  // namespace quillmark
