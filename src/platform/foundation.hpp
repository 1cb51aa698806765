#pragma once

#include <functional>
#include <memory>
#include <optional>
#include <stdexcept>
#include <string>

/// Foundation as behaviour sees it; platform/cocoa/foundation.mm speaks to the real one. Texts are UTF-8, paths are
/// absolute. Any thread.

namespace quillmark {

/// The application's main NSBundle.
class Bundle {
 public:
  virtual ~Bundle() = default;

  [[nodiscard]] virtual std::string bundlePath() = 0;

  /// The resource's path, or nothing when the bundle has no such resource.
  [[nodiscard]] virtual std::optional<std::string> pathForResource(const std::string &name,
                                                                   const std::string &type) = 0;

  /// The key's translation in the default strings table, or the key itself when it has none.
  [[nodiscard]] virtual std::string localizedString(const std::string &key) = 0;
};

/// The system console log.
class Console {
 public:
  virtual ~Console() = default;

  /// Writes one line with NSLog, the text as it stands.
  virtual void log(const std::string &text) = 0;
};

/// The current user's folders, which may or may not exist.
class Directories {
 public:
  virtual ~Directories() = default;

  /// NSHomeDirectory(), without a trailing separator.
  [[nodiscard]] virtual std::string homeDirectory() = 0;

  /// The first of NSSearchPathForDirectoriesInDomains for the applications folder in the user's domain.
  [[nodiscard]] virtual std::string userApplicationsDirectory() = 0;

  /// NSTemporaryDirectory(); it may end in a separator.
  [[nodiscard]] virtual std::string temporaryDirectory() = 0;
};

/// NSFileManager. Each act returns whether it succeeded, gives no further error detail and never raises. None is
/// atomic: a failed copy or removal may leave a part behind.
class FileManager {
 public:
  virtual ~FileManager() = default;

  /// Whether anything lies there; a symbolic link counts by what it resolves to. False where it cannot be seen.
  [[nodiscard]] virtual bool fileExistsAtPath(const std::string &path) = 0;

  /// Deletes a file, a link (not its target) or a whole folder tree. False for a missing item.
  [[nodiscard]] virtual bool removeItemAtPath(const std::string &path) = 0;

  /// Creates a folder with its missing parents. False when a plain file is in the way.
  [[nodiscard]] virtual bool createDirectoryAtPath(const std::string &path) = 0;

  /// Copies a file, a link or a folder tree with modes, times, extended attributes and links kept. Never overwrites:
  /// false when anything lies at the target, when the source is missing or when the target's parent folder is.
  [[nodiscard]] virtual bool copyItemAtPath(const std::string &source, const std::string &target) = 0;

  /// -[NSString writeToFile:atomically:encoding:error:], not atomically, in 7-bit ASCII. Overwrites in place. A
  /// text with any other character fails before the file is touched.
  [[nodiscard]] virtual bool writeASCII(const std::string &text, const std::string &path) = 0;
};

/// The main thread's two queues. Work handed over on either never runs inside the call that hands it over; it
/// runs on the main thread, one at a time and in order, when that thread next serves its queues, and is let go
/// of as soon as it has run. It must not throw.
class MainQueue {
 public:
  virtual ~MainQueue() = default;

  /// dispatch_async on dispatch_get_main_queue().
  virtual void dispatchAsync(std::function<void()> work) = 0;

  /// -[NSOperationQueue addOperationWithBlock:] on the main operation queue.
  virtual void addOperation(std::function<void()> work) = 0;
};

/// NSTask cannot be set up or cannot start its executable, or its output cannot be read. `what()` is the reason.
class TaskLaunchError : public std::runtime_error {
 public:
  TaskLaunchError(const std::string &reason, std::shared_ptr<const void> exception)
      : std::runtime_error(reason), exception(std::move(exception)) {}

  /// The NSException that NSTask or NSFileHandle raised.
  std::shared_ptr<const void> exception;
};

/// An NSTask that runs "/bin/sh" "-c" `command` with a pipe for its standard output; standard input and standard
/// error are the installer's own.
class ShellTask {
 public:
  virtual ~ShellTask() = default;

  /// Blocks until the child has closed its standard output, and returns all that it wrote there, or nothing when
  /// that is not valid UTF-8. The exit status is not looked at. Throws TaskLaunchError.
  [[nodiscard]] virtual std::optional<std::string> standardOutput(const std::string &command) = 0;
};

/// A CFURLRef, without Core Foundation's headers.
using URLRef = const void *;

/// File URLs by Core Foundation's ownership rule.
class URLs {
 public:
  virtual ~URLs() = default;

  /// A new file URL, to be released once.
  [[nodiscard]] virtual URLRef createFileURL(const std::string &path) = 0;

  /// The URL's path, or nothing for a null URL.
  [[nodiscard]] virtual std::optional<std::string> path(URLRef url) = 0;

  /// Does nothing for a null URL.
  virtual void release(URLRef url) = 0;
};

/// Releases its URL once, at the end of its scope.
class OwnedURL {
 public:
  OwnedURL(URLs &urls, URLRef url) : urls_(urls), url_(url) {}
  ~OwnedURL() { urls_.release(url_); }
  OwnedURL(const OwnedURL &) = delete;
  OwnedURL &operator=(const OwnedURL &) = delete;

  [[nodiscard]] URLRef get() const { return url_; }

 private:
  URLs &urls_;
  URLRef url_;
};

/// The process's standard NSUserDefaults.
class UserDefaults {
 public:
  virtual ~UserDefaults() = default;

  /// Whether there is a value under the key, of whatever type. An empty string is a value.
  [[nodiscard]] virtual bool hasValueForKey(const std::string &key) = 0;

  /// What "%@" prints for the value under the key; nothing when there is no value.
  [[nodiscard]] virtual std::optional<std::string> valueForKey(const std::string &key) = 0;
};

/// NSUUID.
class UUIDs {
 public:
  virtual ~UUIDs() = default;

  /// The string form of a fresh random UUID.
  [[nodiscard]] virtual std::string UUIDString() = 0;
};

/// What "%@" prints: the text itself, or the platform's placeholder for a null object.
[[nodiscard]] inline std::string objectDescription(const std::optional<std::string> &text) {
  return text ? *text : "(null)";
}

}  // namespace quillmark
