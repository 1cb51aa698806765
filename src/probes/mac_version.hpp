#pragma once

#include <optional>
#include <string>

namespace quillmark {

class ShellTask;

/// The folder under "WGComponents" that suits the running Mac: "osIntel" or "osM1" on Big Sur and Monterey, and
/// the release's own name on every other release. Nothing when the licence text yields no valid UTF-8.
///
/// Runs one or two shell commands and blocks on them. Throws std::out_of_range when a command prints nothing (the
/// licence text is missing or has no heading), and TaskLaunchError.
[[nodiscard]] std::optional<std::string> getMacVersion(ShellTask &shellTask);

}  // namespace quillmark
