#pragma once

#include <functional>

namespace quillmark {

/// Serves the main thread's run loop until the condition holds. False when it does not hold within a minute.
[[nodiscard]] bool serveMainLoopUntil(const std::function<bool()> &condition);

/// Serves all that has been put on the main queue before this call.
void serveMainQueue();

}  // namespace quillmark
