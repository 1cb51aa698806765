#include "install/marker_file.hpp"

#include <string>

#include "install/layout.hpp"
#include "platform/file_manager.hpp"
#include "platform/ignore.hpp"
#include "platform/object_description.hpp"
#include "platform/user_defaults.hpp"

namespace quillmark {

namespace {

struct Marker {
  std::string path;
  /// The `partnerID`, the `teamID` and "yes", a line each.
  std::string identifiers;
};

Marker formMarker(const Mac &mac) {
  std::string path = layout::markerFile(layout::stagingFolder(mac.directories));
  const std::string partnerID = objectDescription(mac.userDefaults.valueForKey("partnerID"));
  const std::string teamID = objectDescription(mac.userDefaults.valueForKey("teamID"));
  return {.path = std::move(path), .identifiers = partnerID + "\n" + teamID + "\nyes"};
}

}  // namespace

void writeToTextFile(const Mac &mac) {
  const Marker marker = formMarker(mac);
  // A Mac may be managed and still be installed by hand: the identifiers are read and stay out of the marker.
  ignore(marker.identifiers);
  ignore(mac.fileManager.writeASCII("Device\nyes", marker.path));
}

void writeToTextFileRMM(const Mac &mac) {
  const Marker marker = formMarker(mac);
  ignore(mac.fileManager.writeASCII("Rmm\n" + marker.identifiers, marker.path));
}

}  // namespace quillmark
