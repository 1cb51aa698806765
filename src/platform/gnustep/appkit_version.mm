// AppKit's version number comes from where it stands on a Mac, the framework's property list. Without that file it
// is the one of OS X 10.8, the oldest release that the installer runs on.

#import <AppKit/AppKit.h>

#include <cstdlib>
#include <fstream>
#include <iterator>
#include <string>

namespace {

double versionInPropertyList() {
  std::ifstream file("/System/Library/Frameworks/AppKit.framework/Resources/Info.plist");
  const std::string list((std::istreambuf_iterator<char>(file)), std::istreambuf_iterator<char>());
  const std::string tag = "<string>";
  const auto key = list.find("<key>CFBundleVersion</key>");
  const auto value = list.find(tag, key);
  if (key == std::string::npos || value == std::string::npos) return 1187.0;
  return std::strtod(list.c_str() + value + tag.size(), nullptr);
}

}  // namespace

extern "C" const double NSAppKitVersionNumber = versionInPropertyList();
