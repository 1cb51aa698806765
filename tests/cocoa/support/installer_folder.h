#pragma once

#include <string>

#import "cocoa/support/temporary_folder.h"

namespace quillmark {

/// While one exists, the main bundle is "Installer.app" in an empty folder of its own, so that a test decides what lies
/// in it and beside it. One at a time.
class InstallerFolder {
 public:
  InstallerFolder();
  ~InstallerFolder();
  InstallerFolder(const InstallerFolder &) = delete;
  InstallerFolder &operator=(const InstallerFolder &) = delete;

  void addComponent(const std::string &name, const std::string &contents);
  void addResource(const std::string &name, const std::string &contents);

 private:
  TemporaryFolder folder_;
};

}  // namespace quillmark
