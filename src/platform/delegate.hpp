#pragma once

#include <memory>
#include <string>

#include "platform/attributed_string.hpp"
#include "platform/data.hpp"
#include "platform/helper_connection.hpp"
#include "platform/service_management.hpp"

namespace quillmark {

/// The outlets that the installer hides.
enum class Control { andText, privacyTextOutlet, checkboxOutlet, linkBtnOutlet, TCLabel };

/// AppDelegate as behaviour sees it: the installer's state and its window. All state lives there; behaviour
/// keeps none between calls. Main thread only, but for reading authorization and helperToolConnection.
class Delegate {
 public:
  virtual ~Delegate() = default;

  [[nodiscard]] virtual bool didInstall() = 0;
  virtual void setDidInstall(bool didInstall) = 0;

  /// Sets the process-wide isRMMLaunch to 1.
  virtual void setIsRMMLaunch() = 0;

  /// The title must come from the same Mac's Typography.
  virtual void setInstallButtonTitle(const AttributedString &title) = 0;

  /// The state of TCCheckBoxOutlet: 0 off, 1 on, -1 mixed. 0 when the outlet is not connected.
  [[nodiscard]] virtual int termsCheckBoxState() = 0;

  /// Sends makeKeyAndOrderFront: to the window with the delegate as sender.
  virtual void makeWindowKeyAndOrderFront() = 0;

  /// Does nothing for an outlet that is not connected.
  virtual void hide(Control control) = 0;

  /// _authRef, which is null.
  [[nodiscard]] virtual Authorization authRef() = 0;

  /// Null when there is none. Any thread.
  [[nodiscard]] virtual std::shared_ptr<Data> authorization() = 0;

  /// Null when there is none. Any thread.
  [[nodiscard]] virtual std::shared_ptr<HelperConnection> helperToolConnection() = 0;
  virtual void setHelperToolConnection(const std::shared_ptr<HelperConnection> &connection) = 0;

  /// Appends UTF-8 text without attributes to the text storage of textView, if there is one.
  virtual void appendToTextView(const std::string &text) = 0;
};

/// Work that outlives a call holds the delegate through one of these, and so keeps it alive until it has run.
using DelegatePtr = std::shared_ptr<Delegate>;

}  // namespace quillmark
