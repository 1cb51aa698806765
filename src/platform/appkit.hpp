#pragma once

#include <optional>
#include <string>
#include <vector>

/// AppKit as behaviour sees it; platform/cocoa/appkit.mm speaks to the real one. Texts are UTF-8. Main thread only.

namespace quillmark {

/// NSAlertStyle, with its numeric values.
enum class AlertStyle { warning = 0, informational = 1, critical = 2 };

/// NSAlertFirstButtonReturn.
inline constexpr int alertFirstButtonReturn = 1000;

/// What an NSAlert says. Without a style it keeps the platform's default; without buttons it shows the platform's
/// single default button.
struct Alert {
  std::string messageText;
  std::string informativeText;
  std::optional<AlertStyle> style = std::nullopt;
  std::vector<std::string> buttons = {};
};

/// Shows NSAlerts.
class AlertPanel {
 public:
  virtual ~AlertPanel() = default;

  /// Shows the alert and returns only after it is dismissed: alertFirstButtonReturn for the first button, one
  /// more for each following one. An alert with a single button has one answer, and no caller needs it.
  virtual int runModal(const Alert &alert) = 0;
};

/// The shared NSApplication.
class Application {
 public:
  virtual ~Application() = default;

  /// activateIgnoringOtherApps: with YES.
  virtual void activateIgnoringOtherApps() = 0;

  /// NSAppKitVersionNumber, fraction included.
  [[nodiscard]] virtual double appKitVersionNumber() = 0;
};

/// The shared NSWorkspace.
class Workspace {
 public:
  virtual ~Workspace() = default;

  /// Launches the application of that name (no path, no ".app"). False when there is none or it does not start.
  [[nodiscard]] virtual bool launchApplication(const std::string &name) = 0;

  /// Opens the URL with the user's default application for it. False when that fails.
  [[nodiscard]] virtual bool openURL(const std::string &url) = 0;
};

}  // namespace quillmark
