#include <fcntl.h>
#include <sys/mman.h>

#include <algorithm>
#include <csignal>
#include <cstdlib>
#include <utility>

#include "constants.hpp"
#include "slice/loader.hpp"

namespace quillmark::slice {

namespace {

std::vector<std::uintptr_t> starts;
std::vector<Instruction> firstInstructions;

struct Record {
  std::uint32_t size, entered;
};

std::span<Record> records;

void enter(int, siginfo_t *, void *context) {
  auto &next = programCounter(*static_cast<ucontext_t *>(context));
  const auto start = static_cast<std::uintptr_t>(next) - stopsBehindBreakpoint;
  const auto found = std::ranges::lower_bound(starts, start);
  if (found == starts.end() || *found != start) std::abort();  // somebody else's breakpoint
  const auto number = static_cast<std::size_t>(found - starts.begin());
  *reinterpret_cast<Instruction *>(start) = firstInstructions[number];
  __builtin___clear_cache(reinterpret_cast<char *>(start), reinterpret_cast<char *>(start + sizeof(Instruction)));
  records[number].entered = 1;
  next = start;
}

}  // namespace

void recordCoverage(const Image &image) {
  const char *const path = std::getenv("LLVM_PROFILE_FILE");
  if (path == nullptr) return;
  starts = image.functions;
  const std::size_t size = starts.size() * sizeof(Record);
  const int file = open(path, O_RDWR | O_CREAT | O_CLOEXEC, 0666);
  if (file < 0 || ftruncate(file, static_cast<off_t>(size)) != 0) refuse("the coverage cannot be written");
  void *const shared = mmap(nullptr, size, PROT_READ | PROT_WRITE, MAP_SHARED, file, 0);
  if (shared == MAP_FAILED) refuse("the coverage cannot be written");
  records = {static_cast<Record *>(shared), starts.size()};

  struct sigaction action{};
  action.sa_sigaction = enter;
  action.sa_flags = SA_SIGINFO | SA_NODEFER;
  sigaction(SIGTRAP, &action, nullptr);
  const Section *const code = image.find("__text");
  const std::uintptr_t end = code->address + code->size;
  mprotect(reinterpret_cast<void *>(image.base), end - image.base, PROT_READ | PROT_WRITE | PROT_EXEC);
  for (std::size_t i = 0; i < starts.size(); ++i) {
    records[i].size = static_cast<std::uint32_t>((i + 1 < starts.size() ? starts[i + 1] : end) - starts[i]);
    firstInstructions.push_back(std::exchange(*reinterpret_cast<Instruction *>(starts[i]), breakpoint));
  }
}

}  // namespace quillmark::slice
