#include "slice/image.hpp"

#include <sys/mman.h>

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <fstream>
#include <iterator>

namespace quillmark::slice {

namespace {

std::ifstream open(const std::string &path) {
  std::ifstream file(path, std::ios::binary);
  if (!file) refuse(path + " cannot be read");
  return file;
}

/// The bytes of the file from offset on; behind them zeroes.
void place(const Section &segment, const std::string &file, std::size_t offset, std::size_t size, int protection) {
  auto *const start = reinterpret_cast<void *>(segment.address);
  if (mmap(start, segment.size, PROT_READ | PROT_WRITE, MAP_PRIVATE | MAP_ANONYMOUS | MAP_FIXED_NOREPLACE, -1, 0) !=
      start) {
    refuse("something else is in the place of the segment " + segment.name);
  }
  std::memcpy(start, file.data() + offset, std::min(size, segment.size));
  mprotect(start, segment.size, protection);
}

}  // namespace

void refuse(const std::string &reason) {
  std::fprintf(stderr, "The executable cannot be run here: %s\n", reason.c_str());
  std::_Exit(125);
}

void protectConstants(const Image &image) {
  for (const Section &segment : image.constants) {
    mprotect(reinterpret_cast<void *>(segment.address), segment.size, PROT_READ);
  }
}

const Section *Image::find(std::string_view name) const {
  const auto found = std::ranges::find(sections, name, &Section::name);
  return found == sections.end() ? nullptr : &*found;
}

Image map(const std::string &path) {
  std::ifstream executable = open(path), list = open(path + ".list");
  const std::string content(std::istreambuf_iterator<char>(executable), {});
  Image image;
  std::string kind;
  while (list >> kind) {
    if (kind == "entry") {
      list >> image.entry;
    } else if (kind == "segment") {
      Section segment;
      std::size_t offset, size;
      int protection;
      bool isReadOnlyOnceBound;
      list >> segment.name >> segment.address >> segment.size >> offset >> size >> protection >> isReadOnlyOnceBound;
      place(segment, content, offset, size, protection);
      if (isReadOnlyOnceBound) image.constants.push_back(segment);
      if (image.base == 0) image.base = segment.address;  // the first one has the header
    } else if (kind == "section") {
      Section &section = image.sections.emplace_back();
      list >> section.name >> section.address >> section.size;
    } else if (kind == "import") {
      Import &import = image.imports.emplace_back();
      list >> import.symbol >> import.library >> import.slot >> import.addend;
    } else if (kind == "function") {
      list >> image.functions.emplace_back();
    } else if (kind == "frame") {
      Frame &frame = image.frames.emplace_back();
      list >> frame.function >> frame.size >> frame.encoding >> frame.exceptionTable >> frame.personality;
    }
    if (!list) refuse("its list ends too early");
  }
  image.entry += image.base;
  return image;
}

}  // namespace quillmark::slice
