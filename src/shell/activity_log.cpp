#include "shell/activity_log.hpp"

#include <cstdint>

#include "platform/main_queue.hpp"

namespace quillmark {

void logText(MainQueue &mainQueue, const DelegatePtr &delegate, const std::string &text) {
  mainQueue.addOperation([delegate, text] { delegate->appendToTextView(text); });
}

std::string errorLine(const std::string &domain, long code) {
  return "error " + domain + " / " + std::to_string(static_cast<std::int32_t>(code)) + "\n";
}

}  // namespace quillmark
