#pragma once

#include <cstddef>
#include <cstdint>

/// What libFuzzer calls with each input, and the replay with each file of a corpus. Aborts if a property does not hold,
/// which GoogleTest has then told on the standard output.
extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t *data, std::size_t size);
