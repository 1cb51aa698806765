#pragma once

#include <string>

namespace quillmark {

/// The path functions of NSString, on UTF-8 paths. Like them they touch no file.

/// One separator between base and component, none at the end. A component may hold several levels.
[[nodiscard]] std::string stringByAppendingPathComponent(const std::string &base, const std::string &component);

[[nodiscard]] std::string stringByDeletingLastPathComponent(const std::string &path);

}  // namespace quillmark
