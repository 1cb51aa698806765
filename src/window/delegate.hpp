#pragma once

#include <memory>
#include <optional>
#include <string>

#include "platform/helper_connection.hpp"

namespace quillmark {

/// The outlets that the installer hides.
enum class Control { andText, privacyTextOutlet, checkboxOutlet, linkBtnOutlet, TCLabel };

/// Components from 0 to 1, as +[NSColor colorWithRed:green:blue:alpha:] takes them.
struct Color {
  double red, green, blue, alpha;
};

/// AppDelegate as behaviour sees it: the installer's state and its window. All state lives there; behaviour
/// keeps none between calls. Texts are UTF-8. Main thread only, but for reading authorization and
/// helperToolConnection.
class Delegate {
 public:
  virtual ~Delegate() = default;

  [[nodiscard]] virtual bool didInstall() = 0;
  virtual void setDidInstall(bool didInstall) = 0;

  /// Sets the process-wide isRMMLaunch to 1.
  virtual void setIsRMMLaunch() = 0;

  /// Sets installButtonTitle to what attributedString:withColor: makes of the two. Without a colour it is the
  /// control's own.
  virtual void setInstallButtonTitle(const std::string &text, const std::optional<Color> &color) = 0;

  /// The state of TCCheckBoxOutlet: 0 off, 1 on, -1 mixed. 0 when the outlet is not connected.
  [[nodiscard]] virtual int termsCheckBoxState() = 0;

  /// Sends makeKeyAndOrderFront: to the window with the delegate as sender.
  virtual void makeWindowKeyAndOrderFront() = 0;

  /// Does nothing for an outlet that is not connected.
  virtual void hide(Control control) = 0;

  /// Null when there is none. Any thread.
  [[nodiscard]] virtual std::shared_ptr<Data> authorization() = 0;

  /// Null when there is none. Any thread.
  [[nodiscard]] virtual std::shared_ptr<HelperConnection> helperToolConnection() = 0;
  virtual void setHelperToolConnection(const std::shared_ptr<HelperConnection> &connection) = 0;

  /// Appends text without attributes to the text storage of textView, if there is one.
  virtual void appendToTextView(const std::string &text) = 0;

  /// Sends terminate: to the application with the delegate as sender. On a Mac the call does not come back,
  /// because the delegate never defers it; callers return at once all the same.
  virtual void terminateApplication() = 0;
};

/// Work that outlives a call holds the delegate through one of these, and so keeps it alive until it has run.
using DelegatePtr = std::shared_ptr<Delegate>;

}  // namespace quillmark
