#pragma once

#include <string>

namespace quillmark {

/// The shared NSWorkspace. Main thread only.
class Workspace {
 public:
  virtual ~Workspace() = default;

  /// Launches the application of that name (no path, no ".app"). False when there is none or it does not start.
  [[nodiscard]] virtual bool launchApplication(const std::string &name) = 0;

  /// Opens the URL with the user's default application for it. False when that fails.
  [[nodiscard]] virtual bool openURL(const std::string &url) = 0;
};

}  // namespace quillmark
