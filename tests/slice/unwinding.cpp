#include <algorithm>
#include <cstddef>
#include <vector>

#include "constants.hpp"
#include "slice/loader.hpp"

// libgcc's unwinder: the frames are in the form of an .eh_frame section, and stay where they are.
extern "C" void __register_frame(void *frames);

namespace quillmark::slice {

namespace {

/// What an .eh_frame section holds for a function that has saved its caller's frame pointer and lets its own point
/// there, see "Exception Frames" in the Linux Standard Base and "Call Frame Instructions" in the DWARF standard. Of
/// LEB128 there are single bytes only.
struct [[gnu::packed]] Entry {
  std::uint32_t commonLength = offsetof(Entry, ownLength) - sizeof commonLength;
  std::uint32_t isCommon = 0;
  std::uint8_t version = 1;
  char augmentation[5] = "zPLR";
  std::uint8_t codeAlignment = 1, dataAlignment = 0x78 /* -8 */, columnOfReturnAddress = returnAddress;
  std::uint8_t augmentationLength = 11, personalityIsAbsolute = 0;
  std::uint64_t personality = 0;
  std::uint8_t tableIsAbsolute = 0, functionIsAbsolute = 0;
  std::uint8_t isAboveFramePointer[3] = {0x0c, framePointer, 16};
  std::uint8_t savedFramePointer[2] = {0x80 | framePointer, 2}, savedReturnAddress[2] = {0x80 | returnAddress, 1};

  std::uint32_t ownLength = sizeof(Entry) - offsetof(Entry, toCommon);
  std::uint32_t toCommon = offsetof(Entry, toCommon);
  std::uint64_t function = 0, size = 0;
  std::uint8_t exceptionTableLength = sizeof exceptionTable;
  std::uint64_t exceptionTable = 0;
  std::uint8_t savedRegisters[18][3] = {};  // zeroes mean no operation
};

}  // namespace

void registerFrames(const Image &image) {
  constexpr std::uint32_t modeMask = 0x0f000000;
  auto *const entries = new std::vector<Entry>;  // stays, for the unwinder
  for (const auto &[function, size, encoding, exceptionTable, personality] : image.frames) {
    if (encoding == 0 || callsNobody(encoding)) continue;  // no exception passes through it
    if ((encoding & modeMask) != modeWithFramePointer) refuse("no support for a function without a frame pointer");
    Entry &entry = entries->emplace_back();
    if (personality != 0) entry.personality = *reinterpret_cast<std::uintptr_t *>(image.base + personality);
    entry.function = image.base + function;
    entry.size = size;
    if (exceptionTable != 0) entry.exceptionTable = image.base + exceptionTable;
    auto *saved = entry.savedRegisters;
    visitSavedRegisters(encoding, [&](std::uint32_t number, std::uint32_t wordsBelowTop) {
      const std::uint8_t operation[] = {0x05, std::uint8_t(number), std::uint8_t(wordsBelowTop)};  // offset_extended
      std::ranges::copy(operation, *saved++);
    });
  }
  entries->emplace_back().commonLength = 0;  // the end
  __register_frame(entries->data());
}

}  // namespace quillmark::slice
