#pragma once

#include <optional>
#include <string>
#include <vector>

namespace quillmark {

/// NSAlertStyle, with its numeric values.
enum class AlertStyle { warning = 0, informational = 1, critical = 2 };

/// NSAlertFirstButtonReturn.
inline constexpr int alertFirstButtonReturn = 1000;

/// What an alert says. Texts are UTF-8. Without a style it keeps the platform's default; without buttons it
/// shows the platform's single default button.
struct Alert {
  std::string messageText;
  std::string informativeText;
  std::optional<AlertStyle> style = std::nullopt;
  std::vector<std::string> buttons = {};
};

/// Shows NSAlerts. Main thread only.
class AlertPanel {
 public:
  virtual ~AlertPanel() = default;

  /// Shows the alert and returns only after it is dismissed: alertFirstButtonReturn for the first button, one
  /// more for each following one.
  [[nodiscard]] virtual int runModal(const Alert &alert) = 0;
};

}  // namespace quillmark
