#pragma once

namespace quillmark {

class Delegate;

/// NSApplication. Main thread only.
class Application {
 public:
  virtual ~Application() = default;

  /// Sends terminate: with the delegate as its sender. On a Mac the call does not come back, because the
  /// delegate never defers it; callers return at once all the same.
  virtual void terminate(Delegate &sender) = 0;

  /// activateIgnoringOtherApps: with YES.
  virtual void activateIgnoringOtherApps() = 0;

  /// NSAppKitVersionNumber, fraction included.
  [[nodiscard]] virtual double appKitVersionNumber() = 0;
};

}  // namespace quillmark
