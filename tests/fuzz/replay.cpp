#include <cstdint>
#include <filesystem>
#include <fstream>
#include <iostream>
#include <iterator>
#include <string>

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t *data, std::size_t size);

// Checks every file of the folder that is named, where there is no libFuzzer or no time for it. The last name told is
// that of the file that broke a property.
int main(int, char **words) {
  int replayed = 0;
  for (const auto &entry : std::filesystem::directory_iterator(words[1])) {
    std::cout << entry.path().filename() << std::endl;
    std::ifstream file(entry.path(), std::ios::binary);
    const std::string input{std::istreambuf_iterator<char>(file), {}};
    LLVMFuzzerTestOneInput(reinterpret_cast<const std::uint8_t *>(input.data()), input.size());
    ++replayed;
  }
  if (replayed == 0) std::cerr << "replay: " << words[1] << " is empty\n";
  return replayed > 0 ? 0 : 2;
}
