#pragma once

// The slice of a Mac's executable for this processor, mapped at the address that it was linked for.

#include <cstddef>
#include <cstdint>
#include <span>
#include <string>
#include <string_view>
#include <vector>

namespace quillmark::slice {

struct Section {
  std::string name;
  std::uintptr_t address = 0;
  std::size_t size = 0;

  template <typename T>
  std::span<T> as() const {
    return {reinterpret_cast<T *>(address), size / sizeof(T)};
  }
};

/// A pointer of the image to something in a library.
struct Import {
  std::string symbol;   // with its leading underscore
  std::string library;  // the path that the executable names
  std::uintptr_t slot;  // where the pointer lies
  std::int64_t addend;
};

/// How an exception leaves a function.
struct Frame {
  std::uintptr_t function;  // the offset in the image, like the others
  std::size_t size;
  std::uint32_t encoding;                      // see <mach-o/compact_unwind_encoding.h>
  std::uintptr_t exceptionTable, personality;  // the second is where the pointer to the routine lies; or 0
};

struct Image {
  std::uintptr_t base = 0;
  std::uintptr_t entry = 0;
  std::vector<Section> sections;
  std::vector<Section> constants;  // segments that are read-only once they are bound
  std::vector<Import> imports;
  std::vector<std::uintptr_t> functions;  // where each one starts, in order
  std::vector<Frame> frames;

  /// Null when there is none of that name.
  const Section *find(std::string_view name) const;
};

/// What this process runs.
extern const Image *running;

/// Ends the process with status 125, having said why the executable cannot be run.
[[noreturn]] void refuse(const std::string &reason);

/// Beside the executable lies what list-image has written of it. The imports are not bound, and nothing has been
/// called.
Image map(const std::string &path);

/// Nothing is written any more to what is read-only once it is bound.
void protectConstants(const Image &image);

}  // namespace quillmark::slice
