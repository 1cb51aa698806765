#include "cocoa/support/temporary_folder.h"

#include <gtest/gtest.h>

#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <system_error>

namespace fs = std::filesystem;

namespace quillmark {

namespace {

/// Only root removes what lies in a folder without these permissions.
void makeRemovable(const fs::path &folder) {
  std::error_code ignored;
  fs::permissions(folder, fs::perms::owner_all, ignored);
  for (const fs::directory_entry &entry : fs::directory_iterator(folder, ignored)) {
    if (entry.symlink_status(ignored).type() == fs::file_type::directory) makeRemovable(entry.path());
  }
}

}  // namespace

TemporaryFolder::TemporaryFolder() {
  std::string name = "/tmp/quillmark-XXXXXX";
  path_ = fs::canonical(mkdtemp(name.data()));
}

TemporaryFolder::~TemporaryFolder() {
  makeRemovable(path_);
  std::error_code error;
  fs::remove_all(path_, error);
  EXPECT_FALSE(error) << path_ << ": " << error.message();
}

void writeFile(const std::string &path, const std::string &contents) {
  fs::create_directories(fs::path(path).parent_path());
  std::ofstream(path) << contents;
}

std::string contentsOf(const std::string &path) {
  std::ifstream file(path);
  return {std::istreambuf_iterator<char>(file), {}};
}

}  // namespace quillmark
