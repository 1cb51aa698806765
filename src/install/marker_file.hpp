#pragma once

#include "platform/mac.hpp"

namespace quillmark {

/// The user defaults under which a management tool leaves its identifiers.
inline constexpr const char *teamIDKey = "teamID";
inline constexpr const char *partnerIDKey = "partnerID";

/// The marker file tells later readers which kind of installation ran. Both writers overwrite it in place, in
/// ASCII, without a final line feed, and drop a failure: the marker is then absent, or the old one. Main thread.

/// Marks an interactive installation: "Device", "yes".
void writeToTextFile(const Mac &mac);

/// Marks a managed installation: "Rmm", the `partnerID` and the `teamID` of the user defaults, "yes". An
/// identifier outside ASCII leaves no marker.
void writeToTextFileRMM(const Mac &mac);

}  // namespace quillmark
