#pragma once

#include <optional>
#include <string>

#include "platform/appkit.hpp"
#include "platform/foundation.hpp"
#include "platform/mac.hpp"

namespace quillmark {

/// Whether the bundle at the URL runs from a randomised copy (App Translocation, macOS 10.12 and later). If the
/// system confirms it and `originalURL` is not null, that receives the URL of the original bundle, to be released
/// once, or null when the system cannot name it; otherwise it is left alone. Any thread.
[[nodiscard]] bool isTranslocated(const Mac &mac, URLRef url, URLRef *originalURL);

/// Where the components folder has to be.
struct ComponentsFolder {
  bool relocated = false;
  /// The bundle's path before relocation. Nothing when not relocated, or when the system cannot name it.
  std::optional<std::string> originalBundlePath = std::nullopt;
  /// "components" beside the bundle, or beside its original. Nothing when relocated from an unknown place.
  std::optional<std::string> path = std::nullopt;
};

/// What the installer would say of its relocation. It is built and never shown: the person in front of the Mac can do
/// nothing about a relocation that was undone.
[[nodiscard]] Alert relocationAlert(const std::optional<std::string> &originalBundlePath);

/// Asks the system afresh at each call. Any thread.
[[nodiscard]] ComponentsFolder resolveComponentsFolder(const Mac &mac);

/// Whether anything exists at the components folder's path. If not, the user is told in an alert, and the caller
/// is to terminate the application. Main thread.
[[nodiscard]] bool componentsArePresent(const Mac &mac);

}  // namespace quillmark
