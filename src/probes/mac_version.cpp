#include "probes/mac_version.hpp"

#include <stdexcept>

#include "platform/foundation.hpp"

namespace quillmark {

namespace {

// The marketing name of a release stands in no system call, but in the heading of the Setup Assistant's licence.
const char *const releaseCommand =
    "awk '/SOFTWARE LICENSE AGREEMENT FOR macOS/' "
    "'/System/Library/CoreServices/Setup Assistant.app/Contents/Resources/en.lproj/OSXSoftwareLicense.rtf' "
    "| awk -F 'macOS ' '{print $NF}' "
    "| awk '{print substr($0, 0, length($0)-1)}'";
const char *const processorCommand = "uname -m";

/// UTF-8 text without its last character, which is the line feed of the command's last line.
std::string withoutLastCharacter(std::string text) {
  if (text.empty()) throw std::out_of_range("the command printed nothing, so there is no last character to drop");
  const auto isContinuation = [](char byte) { return (static_cast<unsigned char>(byte) & 0xC0U) == 0x80U; };
  while (isContinuation(text.back())) text.pop_back();
  text.pop_back();
  return text;
}

std::optional<std::string> trimmedOutput(ShellTask &shellTask, const std::string &command) {
  auto output = shellTask.standardOutput(command);
  if (!output) return std::nullopt;
  return withoutLastCharacter(*output);
}

}  // namespace

std::optional<std::string> getMacVersion(ShellTask &shellTask) {
  auto release = trimmedOutput(shellTask, releaseCommand);
  if (release != "Big Sur" && release != "Monterey") return release;
  return trimmedOutput(shellTask, processorCommand) == "x86_64" ? "osIntel" : "osM1";
}

}  // namespace quillmark
