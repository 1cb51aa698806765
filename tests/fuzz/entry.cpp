#include <cstdint>
#include <cstdlib>

#include "fuzz/subject.hpp"

// What libFuzzer calls with each input, and the replay with each file of a corpus. It aborts if a property does not
// hold, which GoogleTest has then told on the standard output.
extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t *data, std::size_t size) {
  const std::string input(reinterpret_cast<const char *>(data), size);
  quillmark::fuzz::Texts texts;
  std::size_t begin = 0;
  for (std::size_t end = 0; end != std::string::npos; begin = end + 1) {
    end = input.find('^', begin);
    texts.push_back(input.substr(begin, end - begin));
  }
  quillmark::fuzz::check(texts);
  if (testing::UnitTest::GetInstance()->ad_hoc_test_result().Failed()) std::abort();
  return 0;
}
