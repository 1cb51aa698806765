#include <cstdint>
#include <cstdlib>

#include "fuzz/subject.hpp"

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t *data, std::size_t size) {
  if (!quillmark::fuzz::holds(std::string(reinterpret_cast<const char *>(data), size))) std::abort();
  return 0;
}
