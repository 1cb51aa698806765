#pragma once

#include "platform/appkit.hpp"

namespace quillmark::cocoa {

class CocoaAlertPanel final : public AlertPanel {
 public:
  int runModal(const Alert &alert) override;
};

class CocoaApplication final : public Application {
 public:
  void activateIgnoringOtherApps() override;
  double appKitVersionNumber() override;
};

class CocoaWorkspace final : public Workspace {
 public:
  bool launchApplication(const std::string &name) override;
  bool openURL(const std::string &url) override;
};

}  // namespace quillmark::cocoa
