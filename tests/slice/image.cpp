#include "slice/image.hpp"

#include <sys/mman.h>

#include <algorithm>
#include <charconv>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <fstream>
#include <iterator>
#include <set>
#include <stdexcept>

namespace quillmark::slice {

namespace {

// What is read of <mach-o/fat.h> and <mach-o/loader.h>.

constexpr std::uint32_t fatMagic = 0xcafebabe, magic64 = 0xfeedfacf, cpuX86_64 = 0x01000007, executable = 2;
constexpr std::uint32_t sectionType = 0xff, pointer = 1;

enum LoadCommand : std::uint32_t {
  symbolTable = 0x2,
  dynamicSymbolTable = 0xb,
  loadLibrary = 0xc,
  loadDynamicLinker = 0xe,
  segment64 = 0x19,
  uuid = 0x1b,
  codeSignature = 0x1d,
  minimumMacOS = 0x24,
  functionStarts = 0x26,
  dataInCode = 0x29,
  sourceVersion = 0x2a,
  linkingTables = 0x80000022,
  mainEntry = 0x80000028,
};

struct Header {
  std::uint32_t magic, cpu, subtype, type, commands, sizeOfCommands, flags, reserved;
};

struct CommandHeader {
  std::uint32_t command, size;
};

struct SegmentHeader {
  char name[16];
  std::uint64_t address, size, fileOffset, fileSize;
  std::uint32_t maximalProtection, protection, sections, flags;
};

struct SectionHeader {
  char name[16], segment[16];
  std::uint64_t address, size;
  std::uint32_t offset, align, relocations, relocationCount, flags, reserved[3];
};

struct Table {
  std::uint32_t offset, size;
};

struct LinkingTables {
  Table rebase, bind, weakBind, lazyBind, exports;
};

/// Data, zeroes, texts, literals, pointers and stubs: the kinds of section that need nothing done at the start, unlike
/// initialisers, thread-local variables and interposed functions.
const std::set<std::uint32_t> plainSections = {0, 1, 2, 3, 4, 5, 6, 7, 8, 0xb, 0xe};

template <std::size_t length>
std::string text(const char (&name)[length]) {
  return {name, strnlen(name, length)};
}

std::string hexadecimal(std::uint32_t number) {
  char digits[8];
  return "0x" + std::string(digits, std::to_chars(std::begin(digits), std::end(digits), number, 16).ptr);
}

/// A part of the file, which is taken from its start on.
class Bytes {
 public:
  explicit Bytes(std::span<const std::uint8_t> bytes) : left_(bytes) {}

  bool atEnd() const { return left_.empty(); }
  const std::uint8_t *data() const { return left_.data(); }

  Bytes from(std::uint64_t offset) const {
    if (offset > left_.size()) throw std::out_of_range("Bytes");
    return Bytes(left_.subspan(offset));
  }

  Bytes part(std::uint64_t offset, std::uint64_t size) const {
    const Bytes rest = from(offset);
    (void)rest.from(size);
    return Bytes(rest.left_.first(size));
  }

  template <typename T>
  T take() {
    T value;
    std::memcpy(&value, part(0, sizeof value).data(), sizeof value);
    *this = from(sizeof value);
    return value;
  }

  std::uint32_t takeBigEndian() { return __builtin_bswap32(take<std::uint32_t>()); }

  std::string takeText() {
    std::string taken;
    while (const char c = take<char>()) taken += c;
    return taken;
  }

  // LEB128, see the DWARF standard. Numbers of more than 64 bits are not met.

  std::uint64_t takeUnsigned() {
    std::uint64_t value = 0;
    int bits = 0;
    for (std::uint8_t byte = 0x80; (byte & 0x80) != 0; bits += 7) {
      byte = take<std::uint8_t>();
      value |= std::uint64_t{byte & 0x7fU} << bits % 64;
    }
    return value;
  }

  std::int64_t takeSigned() {
    const std::size_t before = left_.size();
    const auto value = static_cast<std::int64_t>(takeUnsigned());
    const std::size_t bits = 7 * (before - left_.size());
    return bits < 64 ? value << (64 - bits) >> (64 - bits) : value;
  }

 private:
  std::span<const std::uint8_t> left_;
};

Bytes sliceOf(Bytes file) {
  Bytes fat = file;
  if (fat.takeBigEndian() != fatMagic) return file;
  for (std::uint32_t count = fat.takeBigEndian(); count != 0; --count) {
    const std::uint32_t cpu = fat.takeBigEndian();
    (void)fat.takeBigEndian();  // the subtype
    const std::uint32_t offset = fat.takeBigEndian(), size = fat.takeBigEndian();
    (void)fat.takeBigEndian();  // the alignment
    if (cpu == cpuX86_64) return file.part(offset, size);
  }
  refuse("there is no x86_64 slice");
}

class Reader {
 public:
  explicit Reader(Bytes slice) : slice_(slice) {}

  Image read() {
    Bytes header = slice_;
    const auto [magic, cpu, subtype, type, count, size, flags, reserved] = header.take<Header>();
    if (magic != magic64 || cpu != cpuX86_64 || type != executable) refuse("this is no x86_64 executable");
    Bytes commands = header.part(0, size);
    for (std::uint32_t i = 0; i < count; ++i) {
      const auto [command, commandSize] = Bytes(commands).take<CommandHeader>();
      readCommand(command, commands.part(0, commandSize));
      commands = commands.from(commandSize);
    }
    if (entryOffset_ == 0) refuse("there is no entry point");
    image_.entry = image_.base + entryOffset_;
    // There is no slide, so nothing is rebased. Weak binding would replace a weak definition of the image by that of a
    // library that comes before it, and the executable comes first.
    readImports(table(tables_.bind));
    readImports(table(tables_.lazyBind));
    readFunctions(table(functionStarts_));
    return image_;
  }

 private:
  void readCommand(std::uint32_t command, Bytes whole) {
    Bytes body = whole.from(sizeof(CommandHeader));
    switch (command) {
      case segment64:
        return mapSegment(body);
      case loadLibrary:
        return libraries_.push_back(whole.from(body.take<std::uint32_t>()).takeText());
      case linkingTables:
        tables_ = body.take<LinkingTables>();
        return;
      case functionStarts:
        functionStarts_ = body.take<Table>();
        return;
      case mainEntry:
        entryOffset_ = body.take<std::uint64_t>();
        return;
      case symbolTable:
      case dynamicSymbolTable:
      case loadDynamicLinker:
      case uuid:
      case codeSignature:
      case minimumMacOS:
      case dataInCode:
      case sourceVersion:
        return;
      default:
        refuse("no support for the load command " + hexadecimal(command));
    }
  }

  void mapSegment(Bytes body) {
    const auto segment = body.take<SegmentHeader>();
    segments_.push_back(segment);
    if (segment.maximalProtection == 0) return;  // __PAGEZERO, where nothing is
    if (segment.flags != 0) refuse("no support for the flags of the segment " + text(segment.name));
    auto *const place = reinterpret_cast<void *>(segment.address);
    if (mmap(place, segment.size, PROT_READ | PROT_WRITE, MAP_PRIVATE | MAP_ANONYMOUS | MAP_FIXED_NOREPLACE, -1, 0) !=
        place) {
      refuse("something else is in the place of the segment " + text(segment.name));
    }
    const std::size_t fileSize = std::min(segment.fileSize, segment.size);
    std::memcpy(place, slice_.part(segment.fileOffset, fileSize).data(), fileSize);
    mprotect(place, segment.size, static_cast<int>(segment.protection));  // the bits are the same on both systems
    if (segment.fileOffset == 0) image_.base = segment.address;
    for (std::uint32_t i = 0; i < segment.sections; ++i) {
      const auto section = body.take<SectionHeader>();
      if (!plainSections.contains(section.flags & sectionType)) {
        refuse("no support for the section " + text(section.name));
      }
      image_.sections.push_back({text(section.name), section.address, section.size});
    }
  }

  Bytes table(const Table &place) const { return slice_.part(place.offset, place.size); }

  void readImports(Bytes table) {
    Import import{};
    while (!table.atEnd()) {
      const auto byte = table.take<std::uint8_t>();
      const unsigned immediate = byte & 0x0f;
      switch (byte & 0xf0) {  // BIND_OPCODE_…
        case 0x00:            // DONE, also behind each entry of the lazy table
          break;
        case 0x10:  // SET_DYLIB_ORDINAL_IMM
          import.library = libraries_.at(immediate - 1);
          break;
        case 0x20:  // SET_DYLIB_ORDINAL_ULEB
          import.library = libraries_.at(table.takeUnsigned() - 1);
          break;
        case 0x40:  // SET_SYMBOL_TRAILING_FLAGS_IMM
          import.symbol = table.takeText();
          if (immediate != 0) refuse("no support for the kind of import that " + import.symbol + " is");
          break;
        case 0x50:  // SET_TYPE_IMM
          if (immediate != pointer) refuse("no support for an import that is no pointer");
          break;
        case 0x60:  // SET_ADDEND_SLEB
          import.addend = table.takeSigned();
          break;
        case 0x70:  // SET_SEGMENT_AND_OFFSET_ULEB
          import.slot = segments_.at(immediate).address + table.takeUnsigned();
          break;
        case 0x80:  // ADD_ADDR_ULEB
          import.slot += table.takeUnsigned();
          break;
        case 0x90:  // DO_BIND
          addImport(import, 0);
          break;
        case 0xa0:  // DO_BIND_ADD_ADDR_ULEB
          addImport(import, table.takeUnsigned());
          break;
        case 0xb0:  // DO_BIND_ADD_ADDR_IMM_SCALED
          addImport(import, immediate * sizeof(void *));
          break;
        case 0xc0: {  // DO_BIND_ULEB_TIMES_SKIPPING_ULEB
          const std::uint64_t times = table.takeUnsigned(), skipped = table.takeUnsigned();
          for (std::uint64_t i = 0; i < times; ++i) addImport(import, skipped);
          break;
        }
        default:
          refuse("no support for the bind opcode " + hexadecimal(byte));
      }
    }
  }

  void addImport(Import &import, std::uint64_t skipped) {
    image_.imports.push_back(import);
    import.slot += sizeof(void *) + skipped;
  }

  void readFunctions(Bytes distances) {
    std::uintptr_t address = image_.base;
    while (!distances.atEnd()) {
      const std::uint64_t distance = distances.takeUnsigned();
      if (distance == 0) return;  // the rest fills the table up
      image_.functions.push_back(address += distance);
    }
  }

  Bytes slice_;
  Image image_;
  std::vector<SegmentHeader> segments_;
  std::vector<std::string> libraries_;
  LinkingTables tables_{};
  Table functionStarts_{};
  std::uint64_t entryOffset_ = 0;
};

}  // namespace

void refuse(const std::string &reason) {
  std::fprintf(stderr, "The executable cannot be run here: %s\n", reason.c_str());
  std::_Exit(125);
}

const Section *Image::find(std::string_view name) const {
  const auto found = std::ranges::find(sections, name, &Section::name);
  return found == sections.end() ? nullptr : &*found;
}

Image map(const std::string &path) {
  std::ifstream file(path, std::ios::binary);
  if (!file) refuse(path + " cannot be read");
  const std::string content(std::istreambuf_iterator<char>(file), {});
  try {
    return Reader(sliceOf(Bytes({reinterpret_cast<const std::uint8_t *>(content.data()), content.size()}))).read();
  } catch (const std::out_of_range &) {
    refuse("the file refers to what it does not hold");
  }
}

}  // namespace quillmark::slice
