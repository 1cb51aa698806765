#include "probes/mac_version.hpp"

#include <algorithm>
#include <stdexcept>

#include "fuzz/subject.hpp"
#include "support/fake_mac.hpp"
#include "support/installed.hpp"

namespace quillmark::fuzz {

namespace {

bool isASCII(const std::string &text) {
  return std::all_of(text.begin(), text.end(), [](char byte) { return static_cast<unsigned char>(byte) < 0x80U; });
}

bool isContinuation(char byte) { return (static_cast<unsigned char>(byte) & 0xC0U) == 0x80U; }

/// Whether the bytes are one character of UTF-8, by what its first byte says of the number of bytes.
bool isOneCharacter(const std::string &bytes) {
  if (bytes.empty() || isContinuation(bytes[0])) return false;
  const auto first = static_cast<unsigned char>(bytes[0]);
  if (first >= 0xF8U) return false;  // no character begins with it
  const std::size_t size = first < 0x80U ? 1 : first < 0xE0U ? 2 : first < 0xF0U ? 3 : 4;
  return bytes.size() == size && std::all_of(bytes.begin() + 1, bytes.end(), isContinuation);
}

/// Whether the output is the text and one character more, whichever that is.
bool says(const std::string &output, const std::string &text) {
  return output.compare(0, text.size(), text) == 0 && isOneCharacter(output.substr(text.size()));
}

}  // namespace

void check(const Texts &texts) {
  const std::string release = at(texts, 0);
  const std::string processor = at(texts, 1);
  fake::Journal journal;
  fake::FakeShellTask shell{journal};
  shell.outputs = {{fake::releaseCommand, release}, {"uname -m", processor}};

  std::optional<std::string> answer;
  bool outOfRange = false;
  try {
    answer = getMacVersion(shell);
  } catch (const std::out_of_range &) {
    outOfRange = true;
  }

  const bool asked = fake::contains(journal, "sh uname -m");
  EXPECT_EQ(outOfRange, release.empty() || (asked && processor.empty()));
  if (outOfRange) return;
  if (!answer) {
    EXPECT_FALSE(isASCII(release)) << "ASCII is UTF-8";
    EXPECT_FALSE(asked);
    return;
  }
  EXPECT_EQ(asked, says(release, "Big Sur") || says(release, "Monterey"));
  if (asked) {
    EXPECT_EQ(*answer, says(processor, "x86_64") ? "osIntel" : "osM1");
  } else {
    EXPECT_TRUE(says(release, *answer)) << *answer << " of " << release;
  }
}

}  // namespace quillmark::fuzz
