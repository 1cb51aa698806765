#include "window/activity_log.hpp"

#include <cstdint>

#include "platform/foundation.hpp"

namespace quillmark {

void logText(MainQueue &mainQueue, const DelegatePtr &delegate, const std::string &text) {
  mainQueue.addOperation([delegate, text] { delegate->appendToTextView(text); });
}

void logError(MainQueue &mainQueue, const DelegatePtr &delegate, const Error &error) {
  const auto code = static_cast<std::int32_t>(error.code);
  logText(mainQueue, delegate, "error " + error.domain + " / " + std::to_string(code) + "\n");
}

}  // namespace quillmark
