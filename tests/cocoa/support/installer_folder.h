#pragma once

#include <string>

#import "cocoa/support/temporary_folder.h"

namespace quillmark {

/// In this process no place of an installation is the Mac's or its user's: the home, "/Applications" and the system's
/// licence text lie in a folder of the test's own, and where none exists, nowhere.
///
/// While one exists, the main bundle is "Installer.app" in that folder, which is empty but for "/Applications", so that
/// a test decides what lies in the bundle and beside it. One at a time.
class InstallerFolder {
 public:
  InstallerFolder();
  ~InstallerFolder();
  InstallerFolder(const InstallerFolder &) = delete;
  InstallerFolder &operator=(const InstallerFolder &) = delete;

  void addComponent(const std::string &name, const std::string &contents);
  void addResource(const std::string &name, const std::string &contents);
  /// All that an installation looks for, on a Mac of that release.
  void addPayload(const std::string &release);

  /// The contents of a file that was installed: "/Applications/…", or "~/…" in the home.
  std::string installed(const std::string &path);

 private:
  TemporaryFolder folder_;
};

}  // namespace quillmark
