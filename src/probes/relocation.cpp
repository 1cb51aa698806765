#include "probes/relocation.hpp"

#include <cmath>

#include "platform/dynamic_loader.hpp"
#include "platform/path.hpp"

namespace quillmark {

namespace {

const char *const securityFramework = "/System/Library/Frameworks/Security.framework/Security";

// OS X 10.11; App Translocation came with the release after it.
constexpr double lastAppKitVersionWithoutRelocation = 1404.0;

// The last argument of both calls is a CFErrorRef *, for which null is allowed. The flag is a byte, and true is any
// value of it but zero: not a C++ bool, of which the compiler may look at one bit.
using SecTranslocateIsTranslocatedURL = unsigned char (*)(URLRef url, unsigned char *isTranslocated, void *error);
using SecTranslocateCreateOriginalPathForURL = URLRef (*)(URLRef url, void *error);

template <typename Function>
Function lookUp(DynamicLoader &loader, void *framework, const char *name) {
  return reinterpret_cast<Function>(loader.symbol(framework, name));
}

std::string componentsBeside(const std::string &bundlePath) {
  return stringByAppendingPathComponent(stringByDeletingLastPathComponent(bundlePath), "components");
}

}  // namespace

Alert relocationAlert(const std::optional<std::string> &originalBundlePath) {
  return {
      .messageText = "Quillmark Installer Test alert",
      .informativeText = "The installer has been relocated. The original path is " +
                         objectDescription(originalBundlePath) +
                         ". It will now continue using the original path as the base for looking for components",
      .style = AlertStyle::critical,
  };
}

bool isTranslocated(const Mac &mac, URLRef url, URLRef *originalURL) {
  if (url == nullptr) return false;
  if (std::floor(mac.application.appKitVersionNumber()) <= lastAppKitVersionWithoutRelocation) return false;
  void *framework = mac.dynamicLoader.open(securityFramework);
  if (framework == nullptr) return false;

  unsigned char translocated = 0;
  const auto isTranslocatedURL =
      lookUp<SecTranslocateIsTranslocatedURL>(mac.dynamicLoader, framework, "SecTranslocateIsTranslocatedURL");
  if (isTranslocatedURL != nullptr && isTranslocatedURL(url, &translocated, nullptr) != 0 && originalURL != nullptr &&
      translocated != 0) {
    const auto createOriginalPathForURL = lookUp<SecTranslocateCreateOriginalPathForURL>(
        mac.dynamicLoader, framework, "SecTranslocateCreateOriginalPathForURL");
    *originalURL = createOriginalPathForURL != nullptr ? createOriginalPathForURL(url, nullptr) : nullptr;
  }
  mac.dynamicLoader.close(framework);
  return translocated != 0;
}

ComponentsFolder resolveComponentsFolder(const Mac &mac) {
  const std::string bundlePath = mac.mainBundle.bundlePath();
  const OwnedURL bundleURL(mac.urls, mac.urls.createFileURL(bundlePath));
  URLRef original = nullptr;
  if (!isTranslocated(mac, bundleURL.get(), &original)) return {.path = componentsBeside(bundlePath)};

  const OwnedURL originalURL(mac.urls, original);
  const auto originalBundlePath = mac.urls.path(originalURL.get());
  if (!originalBundlePath) return {.relocated = true};
  return {.relocated = true, .originalBundlePath = originalBundlePath, .path = componentsBeside(*originalBundlePath)};
}

bool componentsArePresent(const Mac &mac) {
  const ComponentsFolder components = resolveComponentsFolder(mac);
  if (components.relocated) {
    [[maybe_unused]] const Alert neverShown = relocationAlert(components.originalBundlePath);
  }

  const bool present = components.path && mac.fileManager.fileExistsAtPath(*components.path);
  if (!present) {
    mac.alertPanel.runModal({
        .messageText = "Quillmark Installer Error",
        .informativeText = "The installer is missing the components folder. It will now quit.",
        .style = AlertStyle::critical,
    });
  }
  return present;
}

}  // namespace quillmark
