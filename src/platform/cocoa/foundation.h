#pragma once

#import <Foundation/Foundation.h>

#include "platform/foundation.hpp"

namespace quillmark::cocoa {

class CocoaBundle final : public Bundle {
 public:
  /// The bundle must outlive this; the main bundle does.
  explicit CocoaBundle(NSBundle *bundle) : bundle_(bundle) {}

  std::string bundlePath() override;
  std::optional<std::string> pathForResource(const std::string &name, const std::string &type) override;
  std::string localizedString(const std::string &key) override;

 private:
  NSBundle *bundle_;
};

class CocoaConsole final : public Console {
 public:
  void log(const std::string &text) override;
};

class CocoaDirectories final : public Directories {
 public:
  std::string homeDirectory() override;
  std::string userApplicationsDirectory() override;
  std::string temporaryDirectory() override;
};

class CocoaFileManager final : public FileManager {
 public:
  bool fileExistsAtPath(const std::string &path) override;
  bool removeItemAtPath(const std::string &path) override;
  bool createDirectoryAtPath(const std::string &path) override;
  bool copyItemAtPath(const std::string &source, const std::string &target) override;
  bool writeASCII(const std::string &text, const std::string &path) override;
};

class CocoaMainQueue final : public MainQueue {
 public:
  void dispatchAsync(std::function<void()> work) override;
  void addOperation(std::function<void()> work) override;
};

class CocoaShellTask final : public ShellTask {
 public:
  std::optional<std::string> standardOutput(const std::string &command) override;
};

class CocoaURLs final : public URLs {
 public:
  URLRef createFileURL(const std::string &path) override;
  std::optional<std::string> path(URLRef url) override;
  void release(URLRef url) override;
};

class CocoaUserDefaults final : public UserDefaults {
 public:
  bool hasValueForKey(const std::string &key) override;
  std::optional<std::string> valueForKey(const std::string &key) override;
};

class CocoaUUIDs final : public UUIDs {
 public:
  std::string UUIDString() override;
};

}  // namespace quillmark::cocoa
