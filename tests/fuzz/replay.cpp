#include <dirent.h>

#include <fstream>
#include <iostream>
#include <iterator>
#include <string>

#include "fuzz/entry.hpp"

// Checks every file of the folder that is named, where there is no libFuzzer or no time for it. The last name told is
// that of the file that broke a property.
int main(int count, char **words) {
  if (count != 2) {
    std::cerr << "usage: " << words[0] << " CORPUS\n";
    return 2;
  }
  const std::string corpus = words[1];
  DIR *folder = opendir(corpus.c_str());
  if (folder == nullptr) {
    std::cerr << "replay: " << corpus << " cannot be read\n";
    return 2;
  }
  int replayed = 0;
  while (const dirent *entry = readdir(folder)) {
    const std::string name = entry->d_name;
    if (name == "." || name == "..") continue;
    std::cout << name << std::endl;
    std::ifstream file(corpus + "/" + name, std::ios::binary);
    const std::string input{std::istreambuf_iterator<char>(file), {}};
    LLVMFuzzerTestOneInput(reinterpret_cast<const std::uint8_t *>(input.data()), input.size());
    ++replayed;
  }
  closedir(folder);
  if (replayed == 0) std::cerr << "replay: " << corpus << " is empty\n";
  return replayed > 0 ? 0 : 2;
}
