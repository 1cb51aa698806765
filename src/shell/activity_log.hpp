#pragma once

#include <string>

#include "platform/delegate.hpp"

namespace quillmark {

class MainQueue;

/// Appends the UTF-8 text to the window's log, on the main thread and never inside this call. Texts from one
/// thread keep their order. Callers end their lines themselves. Any thread.
void logText(MainQueue &mainQueue, const DelegatePtr &delegate, const std::string &text);

/// The log line of an NSError, line feed included. Only the low 32 bits of the code are shown, as a signed number.
[[nodiscard]] std::string errorLine(const std::string &domain, long code);

}  // namespace quillmark
