#pragma once

#include <gtest/gtest.h>

#include <memory>
#include <optional>
#include <string>

#include "platform/foundation.hpp"

namespace quillmark::contract {

/// A file manager and an empty folder to use it in. `at` looks behind its back: the contents of a file, "-> target" for
/// a link, "folder" for a folder, nothing when nothing is there.
class FileManagerSubject {
 public:
  virtual ~FileManagerSubject() = default;
  virtual FileManager &files() = 0;
  virtual std::string folder() = 0;
  virtual void addFile(const std::string &path, const std::string &contents) = 0;
  virtual void addLink(const std::string &path, const std::string &target) = 0;
  virtual std::optional<std::string> at(const std::string &path) = 0;
};

using MakeFileManagerSubject = std::unique_ptr<FileManagerSubject> (*)();

class FileManagerContract : public testing::TestWithParam<MakeFileManagerSubject> {
 protected:
  std::string path(const std::string &name) { return subject_->folder() + "/" + name; }
  FileManager &files() { return subject_->files(); }
  void addFile(const std::string &name, const std::string &contents) { subject_->addFile(path(name), contents); }
  void addLink(const std::string &name, const std::string &target) { subject_->addLink(path(name), target); }
  std::optional<std::string> at(const std::string &name) { return subject_->at(path(name)); }

 private:
  std::unique_ptr<FileManagerSubject> subject_ = GetParam()();
};

TEST_P(FileManagerContract, AFileAndAFolderExistAndAMissingItemDoesNot) {
  addFile("folder/file", "text");
  EXPECT_TRUE(files().fileExistsAtPath(path("folder")));
  EXPECT_TRUE(files().fileExistsAtPath(path("folder/file")));
  EXPECT_FALSE(files().fileExistsAtPath(path("none")));
}

TEST_P(FileManagerContract, ALinkExistsOnlyIfItResolves) {
  addFile("file", "text");
  addLink("good", path("file"));
  addLink("dangling", path("none"));
  addLink("loop", path("loop"));
  EXPECT_TRUE(files().fileExistsAtPath(path("good")));
  EXPECT_FALSE(files().fileExistsAtPath(path("dangling")));
  EXPECT_FALSE(files().fileExistsAtPath(path("loop")));
}

TEST_P(FileManagerContract, RemovingAFolderRemovesItsWholeTreeWithItemsOfAnyName) {
  for (const std::string name : {"back\\slash", "a:b", "c:", "\xFF\xFE", " ", "-rf", "new\nline", "*", "..."}) {
    addFile("folder/" + name, "text");
    addFile("folder/deep " + name + "/" + name, "text");
  }
  EXPECT_TRUE(files().removeItemAtPath(path("folder")));
  EXPECT_EQ(at("folder"), std::nullopt);
}

TEST_P(FileManagerContract, RemovingALinkLeavesItsTargetAndRemovingAMissingItemFails) {
  addFile("folder/file", "text");
  addLink("link", path("folder"));
  EXPECT_TRUE(files().removeItemAtPath(path("link")));
  EXPECT_FALSE(files().removeItemAtPath(path("link")));
  EXPECT_EQ(at("link"), std::nullopt);
  EXPECT_EQ(at("folder/file"), "text");
}

TEST_P(FileManagerContract, CreatingAFolderCreatesItsParentsAndSucceedsIfItExists) {
  EXPECT_TRUE(files().createDirectoryAtPath(path("a/b/c")));
  EXPECT_TRUE(files().createDirectoryAtPath(path("a/b/c")));
  EXPECT_EQ(at("a/b/c"), "folder");
}

TEST_P(FileManagerContract, CreatingAFolderWhereAFileLiesFails) {
  addFile("file", "text");
  EXPECT_FALSE(files().createDirectoryAtPath(path("file")));
  EXPECT_EQ(at("file"), "text");
}

TEST_P(FileManagerContract, CopyingAFolderCopiesItsWholeTreeWithLinksAndWhatIsEmpty) {
  addFile("source/deep/file", "text");
  addFile("source/empty", "");
  addLink("source/link", "deep");
  addLink("source/dangling", "nowhere");
  EXPECT_TRUE(files().createDirectoryAtPath(path("source/folder")));
  EXPECT_TRUE(files().copyItemAtPath(path("source"), path("target")));
  EXPECT_TRUE(files().copyItemAtPath(path("source/link"), path("\u00e9t\u00e9 link")));
  EXPECT_EQ(at("\u00e9t\u00e9 link"), "-> deep");
  EXPECT_EQ(at("target/deep/file"), "text");
  EXPECT_EQ(at("target/empty"), "");
  EXPECT_EQ(at("target/folder"), "folder");
  EXPECT_EQ(at("target/link"), "-> deep");
  EXPECT_EQ(at("target/dangling"), "-> nowhere");
  EXPECT_EQ(at("source/deep/file"), "text");
}

TEST_P(FileManagerContract, CopyingReplacesNeitherAFileNorAFolderNorALinkThatDoesNotResolve) {
  addFile("source/new", "new");
  addFile("file", "old");
  addFile("folder/old", "old");
  addLink("link", path("none"));
  for (const std::string target : {"file", "folder", "link"}) {
    EXPECT_FALSE(files().copyItemAtPath(path("source"), path(target)));
    EXPECT_FALSE(files().copyItemAtPath(path("source/new"), path(target)));
  }
  EXPECT_EQ(at("file"), "old");
  EXPECT_EQ(at("folder/new"), std::nullopt);
  EXPECT_EQ(at("link"), "-> " + path("none"));
}

TEST_P(FileManagerContract, CopyingAMissingSourceOrIntoAMissingFolderFails) {
  addFile("source", "text");
  EXPECT_FALSE(files().copyItemAtPath(path("none"), path("target")));
  EXPECT_FALSE(files().copyItemAtPath(path("source"), path("none/target")));
  EXPECT_EQ(at("target"), std::nullopt);
  EXPECT_EQ(at("none"), std::nullopt);
}

TEST_P(FileManagerContract, ATextIsWrittenAsItStandsOverAnOldFileAndIntoNoMissingFolder) {
  EXPECT_TRUE(files().writeASCII("a much longer text than the new one", path("file")));
  EXPECT_TRUE(files().writeASCII("one\ntwo", path("file")));
  EXPECT_EQ(at("file"), "one\ntwo");
  EXPECT_FALSE(files().writeASCII("text", path("none/file")));
  EXPECT_EQ(at("none"), std::nullopt);
}

TEST_P(FileManagerContract, WritingATextOutsideASCIIFailsAndLeavesTheOldFileOrNone) {
  addFile("file", "old");
  for (const std::string text : {"caf\u00e9", "P\xED\xA0\x80", "\uFEFFP"}) {
    EXPECT_FALSE(files().writeASCII(text, path("file")));
    EXPECT_FALSE(files().writeASCII(text, path("none")));
  }
  EXPECT_EQ(at("file"), "old");
  EXPECT_EQ(at("none"), std::nullopt);
}

}  // namespace quillmark::contract
