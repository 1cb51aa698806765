#pragma once

#include <string>

namespace quillmark {

/// An empty folder of its own, where every user may look. It is gone with it, whatever the modes of what lies in it.
class TemporaryFolder {
 public:
  TemporaryFolder();
  ~TemporaryFolder();
  TemporaryFolder(const TemporaryFolder &) = delete;
  TemporaryFolder &operator=(const TemporaryFolder &) = delete;

  /// Absolute, without links.
  [[nodiscard]] const std::string &path() const { return path_; }

 private:
  std::string path_;
};

/// Writes a file, with the folders that lead to it.
void writeFile(const std::string &path, const std::string &contents);

/// A file's contents; empty when there is none.
std::string contentsOf(const std::string &path);

}  // namespace quillmark
