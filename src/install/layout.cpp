#include "install/layout.hpp"

#include "platform/foundation.hpp"
#include "platform/path.hpp"

namespace quillmark::layout {

namespace {

const char *const applicationName = "Quillmark.app";
const char *const upScriptName = "client.up.tunnelblick.sh";
const char *const downScriptName = "client.down.tunnelblick.sh";

}  // namespace

std::string userApplicationCopy(Directories &directories) {
  return stringByAppendingPathComponent(directories.userApplicationsDirectory(), applicationName);
}

std::string stagingFolder(Directories &directories) {
  return stringByAppendingPathComponent(directories.homeDirectory(), "Quillmark_Components");
}

std::string markerFile(const std::string &stagingFolder) { return stagingFolder + "/installationHelper.txt"; }

std::string stagedUpScript(const std::string &stagingFolder) {
  return stringByAppendingPathComponent(stagingFolder, upScriptName);
}

std::string stagedDownScript(const std::string &stagingFolder) {
  return stringByAppendingPathComponent(stagingFolder, downScriptName);
}

std::optional<std::string> applicationResource(Bundle &bundle) { return bundle.pathForResource("Quillmark", "app"); }

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

std::string helperApplicationCopy(const std::string &temporaryDirectory) {
  return stringByAppendingPathComponent(temporaryDirectory, applicationName);
}

std::string helperUpScript(const std::string &temporaryDirectory) {
  return stringByAppendingPathComponent(temporaryDirectory, upScriptName);
}

std::string helperDownScript(const std::string &temporaryDirectory) {
  return stringByAppendingPathComponent(temporaryDirectory, downScriptName);
}

}  // namespace quillmark::layout
