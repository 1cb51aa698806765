#pragma once

// What the shared sources of the loader have to know of arm64 and of a Mac with Apple silicon.

#include <ucontext.h>

#include <cstddef>
#include <cstdint>

namespace quillmark::slice {

using VariableOffset = std::uint32_t;  // in an object

/// The last one, and behind it those that it needs, have what the image takes of libc++. Not opened first, libc++ would
/// use the other's strings.
constexpr const char *cxxLibraries[] = {"libc++.so.1", "libslice_strings.so"};

using Instruction = std::uint32_t;
constexpr Instruction breakpoint = 0xd4200000;    // brk #0
constexpr std::size_t stopsBehindBreakpoint = 0;  // bytes
inline auto &programCounter(ucontext_t &context) { return context.uc_mcontext.pc; }

// Of the compact unwind table: its kinds of frame, and DWARF's numbers of the registers.

constexpr std::uint32_t modeWithFramePointer = 0x04000000;
constexpr std::uint8_t framePointer = 29, returnAddress = 30;

/// A function that keeps nothing on the stack, the return address included.
constexpr bool callsNobody(std::uint32_t encoding) {
  constexpr std::uint32_t modeMask = 0x0f000000, modeWithoutFrame = 0x02000000, stackSizeMask = 0x00fff000;
  return (encoding & (modeMask | stackSizeMask)) == modeWithoutFrame;
}

/// Calls visit with each register that the function has saved, and how many words below its frame's top.
template <typename Visit>
void visitSavedRegisters(std::uint32_t encoding, Visit visit) {
  struct Pair {
    std::uint32_t bit;
    std::uint8_t first;
  };
  std::uint32_t words = 3;
  // x19 to x28 and d8 to d15, the pairs that there are one below another
  for (const auto &[bit, first] :
       {Pair{0, 19}, {1, 21}, {2, 23}, {3, 25}, {4, 27}, {8, 72}, {9, 74}, {10, 76}, {11, 78}}) {
    if ((encoding >> bit & 1) == 0) continue;
    visit(first, words++);
    visit(first + 1, words++);
  }
}

}  // namespace quillmark::slice
