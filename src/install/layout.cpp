#include "install/layout.hpp"

#include "platform/bundle.hpp"
#include "platform/directories.hpp"
#include "platform/object_description.hpp"
#include "platform/path.hpp"

namespace quillmark::layout {

std::string userApplicationCopy(Directories &directories) {
  return stringByAppendingPathComponent(directories.userApplicationsDirectory(), "Quillmark.app");
}

std::string stagingFolder(Directories &directories) {
  return stringByAppendingPathComponent(directories.homeDirectory(), "Quillmark_Components");
}

std::string markerFile(const std::string &stagingFolder) { return stagingFolder + "/installationHelper.txt"; }

std::string stagedUpScript(const std::string &stagingFolder) {
  return stringByAppendingPathComponent(stagingFolder, "client.up.tunnelblick.sh");
}

std::string stagedDownScript(const std::string &stagingFolder) {
  return stringByAppendingPathComponent(stagingFolder, "client.down.tunnelblick.sh");
}

std::optional<std::string> applicationResource(Bundle &bundle) {
  return bundle.pathForResource("Quillmark", "app");
}

std::optional<std::string> upScriptResource(Bundle &bundle) {
  return bundle.pathForResource("client.up.tunnelblick", "sh");
}

std::optional<std::string> downScriptResource(Bundle &bundle) {
  return bundle.pathForResource("client.down.tunnelblick", "sh");
}

std::string wireGuardComponentPath(const std::optional<std::string> &macVersion) {
  return "WGComponents/" + objectDescription(macVersion) + "/QuillmarkGuard";
}

std::string temporaryWireGuardCopy(const std::string &temporaryDirectory) {
  return stringByAppendingPathComponent(temporaryDirectory, "QuillmarkGuard");
}

}  // namespace quillmark::layout
