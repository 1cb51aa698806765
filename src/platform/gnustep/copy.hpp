#pragma once

namespace quillmark::gnustep {

/// Copies a file, a link or a folder tree as a Mac's file manager does: modes, times and extended attributes are kept,
/// links stay links, and nothing that lies at the target is touched. Whether all of it was copied; a part of what was
/// not may be left.
[[nodiscard]] bool copyItem(const char *source, const char *target) noexcept;

}  // namespace quillmark::gnustep
