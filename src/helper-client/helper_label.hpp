#pragma once

namespace quillmark {

/// The helper tool's launchd job label and, at the same time, its Mach service name.
inline constexpr const char *helperLabel = "com.quillmark.customInstaller.Helper";

}  // namespace quillmark
