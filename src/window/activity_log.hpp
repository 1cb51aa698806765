#pragma once

#include <string>

#include "platform/error.hpp"
#include "window/delegate.hpp"

namespace quillmark {

class MainQueue;

/// Appends the UTF-8 text to the window's log, on the main thread and never inside this call. Texts from one
/// thread keep their order. Callers end their lines themselves. Any thread.
void logText(MainQueue &mainQueue, const DelegatePtr &delegate, const std::string &text);

/// Logs the error's domain and code in a line. Only the low 32 bits of the code are shown, as a signed number. Any
/// thread.
void logError(MainQueue &mainQueue, const DelegatePtr &delegate, const Error &error);

}  // namespace quillmark
