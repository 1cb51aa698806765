#include "install/marker_file.hpp"

#include <string>

#include "install/layout.hpp"
#include "platform/foundation.hpp"
#include "platform/ignore.hpp"

namespace quillmark {

namespace {

std::string markerPath(Directories &directories) { return layout::markerFile(layout::stagingFolder(directories)); }

/// The `partnerID` and the `teamID`, a line each.
std::string identifiers(UserDefaults &userDefaults) {
  const std::string partnerID = objectDescription(userDefaults.valueForKey(partnerIDKey));
  const std::string teamID = objectDescription(userDefaults.valueForKey(teamIDKey));
  return partnerID + "\n" + teamID + "\n";
}

}  // namespace

void writeToTextFile(const Mac &mac) {
  const std::string path = markerPath(mac.directories);
  // A Mac may be managed and still be installed by hand: the identifiers are read and stay out of the marker.
  [[maybe_unused]] const std::string unwritten = identifiers(mac.userDefaults);
  ignore(mac.fileManager.writeASCII("Device\nyes", path));
}

void writeToTextFileRMM(const Mac &mac) {
  const std::string path = markerPath(mac.directories);
  ignore(mac.fileManager.writeASCII("Rmm\n" + identifiers(mac.userDefaults) + "yes", path));
}

}  // namespace quillmark
