#include "window/activity_log.hpp"

#include "fuzz/errors.hpp"
#include "fuzz/subject.hpp"
#include "support/fake_mac.hpp"

namespace quillmark::fuzz {

namespace {

/// Whether the code can be read back from the line, whatever the domain holds.
bool endsInItsCode(const std::string &line, const Error &error) {
  const auto slash = line.rfind(" / ");
  if (slash == std::string::npos || line.back() != '\n') return false;
  const std::string code = line.substr(slash + 3, line.size() - slash - 4);
  return (std::stol(code) & 0xFFFFFFFFL) == (error.code & 0xFFFFFFFFL);
}

}  // namespace

// "e" and an error, "r" for the main thread's turn, or else a text.
void check(const Texts &texts) {
  fake::FakeMac mac;
  std::string requested;
  for (const std::string &text : texts) {
    const std::string shown = mac.delegate->log;
    if (text == "r") {
      mac.mainQueue.run();
      EXPECT_EQ(mac.delegate->log, requested);
      continue;
    }
    if (!text.empty() && text[0] == 'e') {
      const Error error = errorOf(text.substr(1));
      const std::string line = lineOf(error);
      EXPECT_TRUE(endsInItsCode(line, error)) << line;
      logError(mac.mainQueue, mac.delegate, error);
      requested += line;
    } else {
      logText(mac.mainQueue, mac.delegate, text);
      requested += text;
    }
    EXPECT_EQ(mac.delegate->log, shown) << "nothing is appended inside the call";
  }
  mac.mainQueue.run();
  EXPECT_EQ(mac.delegate->log, requested) << "all of it is appended, in order, and nothing else";
}

}  // namespace quillmark::fuzz
