#include "cocoa/support/shell_outcome.hpp"

#include "platform/ignore.hpp"

namespace quillmark {

std::string reasonOfRefusal(ShellTask &task, const std::string &command) {
  try {
    ignore(task.standardOutput(command));
  } catch (const TaskLaunchError &error) {
    return error.what();
  }
  return "";
}

}  // namespace quillmark
