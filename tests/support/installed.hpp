#pragma once

#include <string>

#include "support/fake_mac.hpp"
#include "support/marker.hpp"

namespace quillmark::fake {

inline const std::string releaseCommand =
    "awk '/SOFTWARE LICENSE AGREEMENT FOR macOS/' '/System/Library/CoreServices/Setup "
    "Assistant.app/Contents/Resources/en.lproj/OSXSoftwareLicense.rtf' | awk -F 'macOS ' '{print $NF}' | awk '{print "
    "substr($0, 0, length($0)-1)}'";

inline const std::string shellCopy = "cp -R /var/folders/T/QuillmarkGuard /Users/ann/Quillmark_Components";

/// Lets the shell know the commands of an installation on Sonoma. It copies nothing.
inline void expectShellCommands(FakeMac &mac) {
  mac.shellTask.outputs[releaseCommand] = "Sonoma\n";
  mac.shellTask.outputs[shellCopy] = "";
}

}  // namespace quillmark::fake
