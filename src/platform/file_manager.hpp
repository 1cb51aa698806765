#pragma once

#include <string>

namespace quillmark {

/// NSFileManager. Paths are absolute and UTF-8. Each act returns whether it succeeded, gives no further error
/// detail and never raises. None is atomic: a failed copy or removal may leave a part behind. Any thread.
class FileManager {
 public:
  virtual ~FileManager() = default;

  /// Whether anything lies there; a symbolic link counts by what it resolves to.
  [[nodiscard]] virtual bool fileExistsAtPath(const std::string &path) = 0;

  /// Deletes a file, a link (not its target) or a whole folder tree. False for a missing item.
  [[nodiscard]] virtual bool removeItemAtPath(const std::string &path) = 0;

  /// Creates a folder with its missing parents. False when a plain file is in the way.
  [[nodiscard]] virtual bool createDirectoryAtPath(const std::string &path) = 0;

  /// Copies a file, a link or a folder tree with modes and links kept. Never overwrites: false when anything
  /// lies at the target, when the source is missing or when the target's parent folder is.
  [[nodiscard]] virtual bool copyItemAtPath(const std::string &source, const std::string &target) = 0;

  /// -[NSString writeToFile:atomically:encoding:error:], not atomically, in 7-bit ASCII. Overwrites in place. A
  /// text with any other character fails before the file is touched.
  [[nodiscard]] virtual bool writeASCII(const std::string &text, const std::string &path) = 0;
};

}  // namespace quillmark
