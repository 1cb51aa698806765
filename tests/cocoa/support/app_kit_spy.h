#pragma once

#import <AppKit/AppKit.h>

#include <string>
#include <vector>

namespace quillmark {

/// While one exists, AppKit shows no alert, launches nothing, opens nothing and does not terminate: the calls are kept
/// here instead. One at a time.
class AppKitSpy {
 public:
  AppKitSpy();
  ~AppKitSpy();
  AppKitSpy(const AppKitSpy &) = delete;
  AppKitSpy &operator=(const AppKitSpy &) = delete;

  struct ShownAlert {
    std::string messageText, informativeText;
    NSAlertStyle style;
    std::vector<std::string> buttons;
  };

  std::vector<ShownAlert> alerts;
  NSInteger answer = NSAlertFirstButtonReturn;
  std::vector<id> terminateSenders;
  std::vector<std::string> launched, opened, console;
  bool workspaceSucceeds = true;
  int activations = 0;
};

}  // namespace quillmark
