#pragma once

#include <string>

namespace quillmark::fake {

/// The marker file's text.
inline const std::string interactiveMarker = "Device\nyes";
inline std::string managedMarker(const std::string &partnerID, const std::string &teamID) {
  return "Rmm\n" + partnerID + "\n" + teamID + "\nyes";
}

}  // namespace quillmark::fake
