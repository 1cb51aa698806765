#include <algorithm>
#include <cstddef>
#include <map>
#include <vector>

#include "constants.hpp"
#include "slice/loader.hpp"

// libgcc's unwinder: the frames are in the form of an .eh_frame section, and stay where they are.
extern "C" void __register_frame(void *frames);

namespace quillmark::slice {

namespace {

// What is read of <mach-o/compact_unwind_encoding.h>. Offsets count from the section's start, addresses of functions
// and of their tables from the image's.

constexpr std::uint32_t hasExceptionTable = 0x40000000, personalityShift = 28, personalityMask = 3;
constexpr std::uint32_t modeMask = 0x0f000000;
constexpr std::uint32_t regularPage = 2, compressedPage = 3;

struct Header {
  std::uint32_t version, encodings, encodingCount, personalities, personalityCount, index, indexCount;
};

struct IndexEntry {
  std::uint32_t function, page, exceptionTables;
};

struct Page {
  std::uint32_t kind;
  std::uint16_t entries, entryCount, encodings, encodingCount;  // the last two in a compressed page only
};

struct Pair {
  std::uint32_t function, value;  // an encoding or where the exception table lies
};

/// What an .eh_frame section holds for a function that has saved its caller's frame pointer and lets its own point there, see "Exception Frames" in
/// the Linux Standard Base and "Call Frame Instructions" in the DWARF standard. Of LEB128 there are single bytes only.
struct [[gnu::packed]] Frame {
  std::uint32_t commonLength = offsetof(Frame, ownLength) - sizeof commonLength;
  std::uint32_t isCommon = 0;
  std::uint8_t version = 1;
  char augmentation[5] = "zPLR";
  std::uint8_t codeAlignment = 1, dataAlignment = 0x78 /* -8 */, columnOfReturnAddress = returnAddress;
  std::uint8_t augmentationLength = 11, personalityIsAbsolute = 0;
  std::uint64_t personality = 0;
  std::uint8_t tableIsAbsolute = 0, functionIsAbsolute = 0;
  std::uint8_t isAboveFramePointer[3] = {0x0c, framePointer, 16};
  std::uint8_t savedFramePointer[2] = {0x80 | framePointer, 2}, savedReturnAddress[2] = {0x80 | returnAddress, 1};

  std::uint32_t ownLength = sizeof(Frame) - offsetof(Frame, toCommon);
  std::uint32_t toCommon = offsetof(Frame, toCommon);
  std::uint64_t function = 0, size = 0;
  std::uint8_t exceptionTableLength = sizeof exceptionTable;
  std::uint64_t exceptionTable = 0;
  std::uint8_t savedRegisters[18][3] = {};  // zeroes mean no operation
};

/// The compact unwind table.
class Table {
 public:
  explicit Table(const Section &section) : start_(section.address), header_(*at<Header>(0)) {}

  /// The encoding of each function by its offset, and behind the last one where it ends.
  std::map<std::uint32_t, std::uint32_t> encodings() const {
    std::map<std::uint32_t, std::uint32_t> encodings;
    const auto *const pages = at<IndexEntry>(header_.index);
    for (std::uint32_t i = 0; i + 1 < header_.indexCount; ++i) {
      const auto *const page = at<Page>(pages[i].page);
      for (std::uint32_t j = 0; j < page->entryCount; ++j) {
        if (page->kind == regularPage) {
          const Pair &entry = at<Pair>(pages[i].page + page->entries)[j];
          encodings[entry.function] = entry.value;
        } else if (page->kind == compressedPage) {
          const std::uint32_t entry = at<std::uint32_t>(pages[i].page + page->entries)[j], number = entry >> 24;
          encodings[pages[i].function + (entry & 0xffffff)] =
              number < header_.encodingCount
                  ? at<std::uint32_t>(header_.encodings)[number]
                  : at<std::uint32_t>(pages[i].page + page->encodings)[number - header_.encodingCount];
        } else {
          refuse("no support for the kind of a page in __unwind_info");
        }
      }
    }
    encodings[pages[header_.indexCount - 1].function] = 0;
    return encodings;
  }

  /// By the function's offset.
  std::map<std::uint32_t, std::uint32_t> exceptionTables() const {
    std::map<std::uint32_t, std::uint32_t> tables;
    const auto *const pages = at<IndexEntry>(header_.index);
    const auto *const end = at<Pair>(pages[header_.indexCount - 1].exceptionTables);
    for (const auto *table = at<Pair>(pages[0].exceptionTables); table != end; ++table) {
      tables[table->function] = table->value;
    }
    return tables;
  }

  /// Where the pointer to an encoding's personality routine lies, or 0.
  std::uint32_t personality(std::uint32_t encoding) const {
    const std::uint32_t number = encoding >> personalityShift & personalityMask;
    return number == 0 ? 0 : at<std::uint32_t>(header_.personalities)[number - 1];
  }

 private:
  template <typename T>
  const T *at(std::uint32_t offset) const {
    return reinterpret_cast<const T *>(start_ + offset);
  }

  std::uintptr_t start_;
  const Header &header_;
};

}  // namespace

void registerFrames(const Image &image) {
  if (image.find("__eh_frame") != nullptr) refuse("no support for the section __eh_frame");
  const Section *const section = image.find("__unwind_info");
  if (section == nullptr) return;  // nothing is thrown through it
  const Table table(*section);
  const auto encodings = table.encodings(), exceptionTables = table.exceptionTables();
  auto *const frames = new std::vector<Frame>;  // stays, for the unwinder
  for (auto entry = encodings.begin(); std::next(entry) != encodings.end(); ++entry) {
    const auto [function, encoding] = *entry;
    if (encoding == 0 || callsNobody(encoding)) continue;  // no exception passes through it
    if ((encoding & modeMask) != modeWithFramePointer) refuse("no support for a function without a frame pointer");
    Frame &frame = frames->emplace_back();
    if (const std::uint32_t personality = table.personality(encoding); personality != 0) {
      frame.personality = *reinterpret_cast<std::uintptr_t *>(image.base + personality);
    }
    frame.function = image.base + function;
    frame.size = std::next(entry)->first - function;
    if ((encoding & hasExceptionTable) != 0) frame.exceptionTable = image.base + exceptionTables.at(function);
    auto *saved = frame.savedRegisters;
    visitSavedRegisters(encoding, [&](std::uint32_t number, std::uint32_t wordsBelowTop) {
      const std::uint8_t operation[] = {0x05, std::uint8_t(number), std::uint8_t(wordsBelowTop)};  // offset_extended
      std::ranges::copy(operation, *saved++);
    });
  }
  frames->emplace_back().commonLength = 0;  // the end
  __register_frame(frames->data());
}

}  // namespace quillmark::slice
