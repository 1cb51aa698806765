#include "install/layout.hpp"

#include "platform/foundation.hpp"
#include "platform/path.hpp"

namespace quillmark::layout {

std::string userApplicationCopy(Directories &directories) {
  return stringByAppendingPathComponent(directories.userApplicationsDirectory(), application);
}

std::string stagingFolder(Directories &directories) {
  return stringByAppendingPathComponent(directories.homeDirectory(), "Quillmark_Components");
}

std::string markerFile(const std::string &stagingFolder) { return stagingFolder + "/installationHelper.txt"; }

std::optional<std::string> applicationResource(Bundle &bundle) { return bundle.pathForResource("Quillmark", "app"); }

std::optional<std::string> upScriptResource(Bundle &bundle) {
  return bundle.pathForResource("client.up.tunnelblick", "sh");
}

std::optional<std::string> downScriptResource(Bundle &bundle) {
  return bundle.pathForResource("client.down.tunnelblick", "sh");
}

std::optional<std::string> componentSource(const std::optional<std::string> &componentsFolder,
                                           const std::string &name) {
  if (!componentsFolder) return std::nullopt;
  return stringByAppendingPathComponent(*componentsFolder, name);
}

std::optional<std::string> wireGuardComponentSource(const std::optional<std::string> &componentsFolder,
                                                    const std::optional<std::string> &macVersion) {
  return componentSource(componentsFolder, "WGComponents/" + objectDescription(macVersion) + "/" + wireGuardComponent);
}

}  // namespace quillmark::layout
