#pragma once

#include "platform/alert.hpp"
#include "platform/application.hpp"
#include "platform/workspace.hpp"

namespace quillmark::cocoa {

class CocoaAlertPanel final : public AlertPanel {
 public:
  int runModal(const Alert &alert) override;
};

class CocoaApplication final : public Application {
 public:
  void terminate(Delegate &sender) override;
  void activateIgnoringOtherApps() override;
  double appKitVersionNumber() override;
};

class CocoaWorkspace final : public Workspace {
 public:
  bool launchApplication(const std::string &name) override;
  bool openURL(const std::string &url) override;
};

}  // namespace quillmark::cocoa
