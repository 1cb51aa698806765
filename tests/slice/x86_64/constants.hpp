#pragma once

// What the shared sources of the loader have to know of Intel's processor and of a Mac with it.

#include <ucontext.h>

#include <cstddef>
#include <cstdint>

namespace quillmark::slice {

using VariableOffset = std::uint64_t;  // in an object

/// The last one, and behind it those that it needs, have what the image takes of libc++.
constexpr const char *cxxLibraries[] = {"libc++.so.1"};

using Instruction = std::uint8_t;
constexpr Instruction breakpoint = 0xcc;          // int3
constexpr std::size_t stopsBehindBreakpoint = 1;  // bytes
inline auto &programCounter(ucontext_t &context) { return context.uc_mcontext.gregs[REG_RIP]; }

// Of the compact unwind table: its kinds of frame, and DWARF's numbers of the registers.

constexpr std::uint32_t modeWithFramePointer = 0x01000000;
constexpr std::uint8_t framePointer = 6, returnAddress = 16;

constexpr bool callsNobody(std::uint32_t) { return false; }

/// Calls visit with each register that the function has saved, and how many words below its frame's top.
template <typename Visit>
void visitSavedRegisters(std::uint32_t encoding, Visit visit) {
  constexpr std::uint8_t numbers[] = {0, 3, 12, 13, 14, 15, 6};  // rbx, r12 to r15, rbp
  for (std::uint32_t i = 0; i < 5; ++i) {
    const std::uint32_t which = encoding >> 3 * i & 7, wordsBelowFramePointer = (encoding >> 16 & 0xff) - i;
    if (which != 0) visit(numbers[which], 2 + wordsBelowFramePointer);
  }
}

}  // namespace quillmark::slice
