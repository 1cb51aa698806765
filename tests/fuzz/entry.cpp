#include "fuzz/entry.hpp"

#include <cstdlib>

#include "fuzz/subject.hpp"

namespace {

quillmark::fuzz::Texts split(const std::string &input) {
  static const std::string separator = "\n--\n";
  quillmark::fuzz::Texts texts;
  std::size_t begin = 0;
  for (std::size_t end = 0; end != std::string::npos; begin = end + separator.size()) {
    end = input.find(separator, begin);
    texts.push_back(input.substr(begin, end - begin));
  }
  return texts;
}

}  // namespace

int LLVMFuzzerTestOneInput(const std::uint8_t *data, std::size_t size) {
  quillmark::fuzz::check(split(std::string(reinterpret_cast<const char *>(data), size)));
  if (testing::UnitTest::GetInstance()->ad_hoc_test_result().Failed()) std::abort();
  return 0;
}
