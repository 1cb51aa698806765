// What a Mac's copy keeps besides names and contents, and what becomes of it where the system refuses a part.

#include <dlfcn.h>
#include <fcntl.h>
#include <gtest/gtest.h>
#include <sys/stat.h>
#include <sys/xattr.h>
#include <unistd.h>

#include <array>
#include <cerrno>
#include <filesystem>
#include <fstream>
#include <string>

#import "cocoa/support/temporary_folder.h"
#import "platform/cocoa/foundation.h"

namespace fs = std::filesystem;

namespace {

/// The calls of the kernel's that fail with this error, if it is not 0.
int copyFileRangeError = 0;
int setAttributeError = 0;

template <typename Function>
Function *next(const char *name) {
  return reinterpret_cast<Function *>(dlsym(RTLD_NEXT, name));
}

}  // namespace

// The C library's own are found behind these.

extern "C" ssize_t copy_file_range(int in, off_t *from, int out, off_t *to, size_t count, unsigned flags) {
  if (copyFileRangeError == 0)
    return next<decltype(copy_file_range)>("copy_file_range")(in, from, out, to, count, flags);
  errno = copyFileRangeError;
  return -1;
}

extern "C" int fsetxattr(int file, const char *name, const void *value, size_t size, int flags) noexcept {
  if (setAttributeError == 0) return next<decltype(fsetxattr)>("fsetxattr")(file, name, value, size, flags);
  errno = setAttributeError;
  return -1;
}

namespace quillmark {

namespace {

class Copy : public testing::Test {
 protected:
  ~Copy() override { copyFileRangeError = setAttributeError = 0; }

  std::string path(const std::string &name) { return folder_.path() + "/" + name; }
  void addFile(const std::string &name, const std::string &contents) { writeFile(path(name), contents); }
  std::string contents(const std::string &name) { return contentsOf(path(name)); }

  void setMode(const std::string &name, mode_t mode) { ASSERT_EQ(chmod(path(name).c_str(), mode), 0); }

  /// Seconds since 1970, and as many nanoseconds.
  void setTimes(const std::string &name, int accessed, int changed) {
    const std::array<timespec, 2> times = {{{accessed, accessed}, {changed, changed}}};
    ASSERT_EQ(utimensat(AT_FDCWD, path(name).c_str(), times.data(), AT_SYMLINK_NOFOLLOW), 0);
  }

  void expectTimes(const std::string &name, int accessed, int changed) {
    struct stat status = {};
    ASSERT_EQ(lstat(path(name).c_str(), &status), 0);
    EXPECT_EQ(status.st_atim.tv_sec, accessed) << name;
    EXPECT_EQ(status.st_atim.tv_nsec, accessed) << name;
    EXPECT_EQ(status.st_mtim.tv_sec, changed) << name;
    EXPECT_EQ(status.st_mtim.tv_nsec, changed) << name;
  }

  /// Whether the file system took it.
  bool setAttribute(const std::string &name, const std::string &attribute, const std::string &value) {
    return setxattr(path(name).c_str(), attribute.c_str(), value.data(), value.size(), 0) == 0;
  }

  std::string attribute(const std::string &name, const std::string &attribute) {
    std::string value(256, '\0');
    const ssize_t size = getxattr(path(name).c_str(), attribute.c_str(), value.data(), value.size());
    if (size < 0) return "none";
    value.resize(static_cast<size_t>(size));
    return value;
  }

  bool copy() { return files_.copyItemAtPath(path("source"), path("target")); }

 private:
  TemporaryFolder folder_;
  cocoa::CocoaFileManager files_;
};

TEST_F(Copy, KeepsTheTimesOfFilesFoldersAndLinks) {
  addFile("source/folder/file", "text");
  fs::create_symlink("nowhere", path("source/folder/link"));
  setTimes("source/folder/file", 1, 2);
  setTimes("source/folder/link", 3, 4);
  setTimes("source/folder", 5, 6);
  setTimes("source", 7, 8);
  ASSERT_TRUE(copy());
  // From the top, for looking into a folder may be an access to it.
  expectTimes("target", 7, 8);
  expectTimes("target/folder", 5, 6);
  expectTimes("target/folder/link", 3, 4);
  expectTimes("target/folder/file", 1, 2);
}

TEST_F(Copy, KeepsTheExtendedAttributesOfFilesAndFolders) {
  addFile("source/file", "text");
  if (!setAttribute("source/file", "user.com.apple.quarantine", "0083;0;Safari;")) GTEST_SKIP() << "/tmp holds none";
  ASSERT_TRUE(setAttribute("source/file", "user.empty", ""));
  ASSERT_TRUE(setAttribute("source", "user.of.folder", std::string("\0\1", 2)));
  ASSERT_TRUE(copy());
  EXPECT_EQ(attribute("target/file", "user.com.apple.quarantine"), "0083;0;Safari;");
  EXPECT_EQ(attribute("target/file", "user.empty"), "");
  EXPECT_EQ(attribute("target", "user.of.folder"), std::string("\0\1", 2));
}

TEST_F(Copy, KeepsTheExtendedAttributesOfWhatForbidsWriting) {
  addFile("source/file", "text");
  if (!setAttribute("source/file", "user.name", "of file")) GTEST_SKIP() << "/tmp holds none";
  ASSERT_TRUE(setAttribute("source", "user.name", "of folder"));
  setMode("source/file", 0400);
  setMode("source", 0500);
  ASSERT_TRUE(copy());
  EXPECT_EQ(attribute("target/file", "user.name"), "of file");
  EXPECT_EQ(attribute("target", "user.name"), "of folder");
  EXPECT_EQ(fs::status(path("target/file")).permissions(), fs::perms(0400));
}

TEST_F(Copy, OntoAFileSystemWithoutExtendedAttributesLosesThemOnly) {
  addFile("source", "text");
  if (!setAttribute("source", "user.name", "value")) GTEST_SKIP() << "/tmp holds none";
  setMode("source", 0640);
  setTimes("source", 1, 2);
  setAttributeError = EOPNOTSUPP;
  ASSERT_TRUE(copy());
  expectTimes("target", 1, 2);
  EXPECT_EQ(attribute("target", "user.name"), "none");
  EXPECT_EQ(contents("target"), "text");
  EXPECT_EQ(fs::status(path("target")).permissions(), fs::perms(0640));
}

TEST_F(Copy, FailsWhereThereIsNoRoomForAnExtendedAttribute) {
  addFile("source", "text");
  if (!setAttribute("source", "user.name", "value")) GTEST_SKIP() << "/tmp holds none";
  setAttributeError = ENOSPC;
  EXPECT_FALSE(copy());
}

TEST_F(Copy, KeepsTheBitsThatRunAProgramAsItsOwner) {
  addFile("source", "#!/bin/sh\n");
  setMode("source", 06755);
  ASSERT_TRUE(copy());
  EXPECT_EQ(fs::status(path("target")).permissions(), fs::perms(06755));
}

TEST_F(Copy, OfAFileWithAHoleHasItsLengthAndItsContents) {
  constexpr std::size_t length = 3'000'000;
  addFile("source", "begin");
  fs::resize_file(path("source"), length - 3);
  std::ofstream(path("source"), std::ios::app) << "end";
  ASSERT_TRUE(copy());
  const std::string copied = contents("target");
  EXPECT_EQ(copied.size(), length);
  EXPECT_EQ(copied, contents("source"));
}

TEST_F(Copy, GoesThroughTheProcessWhereTheKernelCannotCopyBetweenTwoFileSystems) {
  std::string text(1'000'000, 'x');
  text += "end";
  addFile("source", text);
  for (const int error : {EXDEV, EINVAL, ENOSYS, EOPNOTSUPP}) {
    copyFileRangeError = error;
    ASSERT_TRUE(copy()) << error;
    EXPECT_EQ(contents("target"), text) << error;
    fs::remove(path("target"));
  }
}

TEST_F(Copy, FailsWhereTheVolumeIsFull) {
  addFile("source/file", "text");
  copyFileRangeError = ENOSPC;
  EXPECT_FALSE(copy());
}

TEST_F(Copy, OfAPipeFailsAndDoesNotWaitForAWriter) {
  fs::create_directory(path("source"));
  ASSERT_EQ(mkfifo(path("source/pipe").c_str(), 0600), 0);
  EXPECT_FALSE(copy());
}

TEST_F(Copy, OfATreeDeeperThanAPathCanNameIsWhole) {
  // PATH_MAX is 4096.
  const std::string name(250, 'd');
  constexpr int depth = 20;
  const int start = open(".", O_RDONLY | O_DIRECTORY);
  fs::create_directory(path("source"));
  fs::current_path(path("source"));
  for (int level = 0; level < depth; ++level) {
    ASSERT_EQ(mkdir(name.c_str(), 0700), 0);
    ASSERT_EQ(chdir(name.c_str()), 0);
  }
  std::ofstream("file") << "text";
  ASSERT_EQ(fchdir(start), 0);

  ASSERT_TRUE(copy());

  fs::current_path(path("target"));
  for (int level = 0; level < depth; ++level) ASSERT_EQ(chdir(name.c_str()), 0);
  EXPECT_TRUE(fs::exists("file"));
  ASSERT_EQ(fchdir(start), 0);
  ASSERT_EQ(close(start), 0);
}

}  // namespace

}  // namespace quillmark
