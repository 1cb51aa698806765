#include "platform/cocoa/caught_exception.hpp"

#include <stdexcept>

#include "platform/foundation.hpp"

namespace quillmark::cocoa {

CaughtException callAndCatch(const std::function<void()> &behaviour) {
  try {
    behaviour();
  } catch (const TaskLaunchError &error) {
    return {.exception = error.exception};
  } catch (const std::out_of_range &error) {
    return {.outOfRange = error.what()};
  }
  return {};
}

}  // namespace quillmark::cocoa
