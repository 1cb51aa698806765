#include "platform/cocoa/thrown.hpp"

#include <stdexcept>

#include "platform/shell_task.hpp"

namespace quillmark::cocoa {

Thrown callAndCatch(const std::function<void()> &behaviour) {
  try {
    behaviour();
  } catch (const TaskLaunchError &error) {
    return {.kind = Thrown::Kind::taskLaunchError, .name = error.name, .reason = error.what()};
  } catch (const std::out_of_range &error) {
    return {.kind = Thrown::Kind::outOfRange, .reason = error.what()};
  }
  return {};
}

}  // namespace quillmark::cocoa
