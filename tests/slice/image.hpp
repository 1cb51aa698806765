#pragma once

// The x86_64 slice of a Mac's executable, mapped at the address that it was linked for.

#include <cstddef>
#include <cstdint>
#include <span>
#include <string>
#include <string_view>
#include <vector>

namespace quillmark::slice {

struct Section {
  std::string name;
  std::uintptr_t address;
  std::size_t size;

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

struct Image {
  std::uintptr_t base = 0;
  std::uintptr_t entry = 0;
  std::vector<Section> sections;
  std::vector<Import> imports;
  std::vector<std::uintptr_t> functions;  // where each one starts, in order

  /// Null when there is none of that name.
  const Section *find(std::string_view name) const;
};

/// What this process runs.
extern const Image *running;

/// Ends the process with status 125, having said why the executable cannot be run.
[[noreturn]] void refuse(const std::string &reason);

/// Refuses what it cannot map truly. The imports are not bound, and nothing of the image has been called.
Image map(const std::string &path);

}  // namespace quillmark::slice
