#pragma once

#include <optional>
#include <stdexcept>
#include <string>

namespace quillmark {

/// The exception that NSTask raises when its executable cannot be started. `what()` is the exception's reason.
class TaskLaunchError : public std::runtime_error {
 public:
  TaskLaunchError(const std::string &name, const std::string &reason) : std::runtime_error(reason), name(name) {}

  /// The name of the NSException, such as "NSInvalidArgumentException".
  std::string name;
};

/// An NSTask that runs "/bin/sh" "-c" `command` with a pipe for its standard output; standard input and standard
/// error are the installer's own.
class ShellTask {
 public:
  virtual ~ShellTask() = default;

  /// Blocks until the child has closed its standard output, and returns all that it wrote there, or nothing when
  /// that is not valid UTF-8. The exit status is not looked at. Throws TaskLaunchError. Any thread.
  [[nodiscard]] virtual std::optional<std::string> standardOutput(const std::string &command) = 0;
};

}  // namespace quillmark
