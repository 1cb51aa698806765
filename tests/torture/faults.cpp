// Preloaded into the installer, makes calls to the system fail at random.
//
// QUILLMARK_FAULTS is "SEED:N": one call in N fails. Nothing fails while AppKit is launched, which
// is not what is tried here: faults begin with the installer's first look at the components folder, and in the shells
// that it starts, at once. The file of its defaults, which is read before, may fail at any time. They end when GNUstep
// disconnects from its daemon, where an error is thrown across it and ends in a segmentation fault of its own.
//
// QUILLMARK_END is "SIGNAL:N": after the same beginning the installer's Nth call is its last, since that signal comes
// instead. An installer that comes to an end of its own says how many calls it has made.

#include <dirent.h>
#include <dlfcn.h>
#include <errno.h>
#include <stdio.h>
#include <sys/stat.h>
#include <unistd.h>

#include <array>
#include <atomic>
#include <csignal>
#include <cstdint>
#include <cstdlib>
#include <string>
#include <string_view>

namespace {

constexpr std::string_view defaultsFile = "Preferences/Quillmark Installer.plist";
constexpr std::string_view componentsFolder = "/components";
/// GNUstep's own, which it keeps trying to make or cannot do without.
constexpr std::array<std::string_view, 3> sparedPlaces = {"/.lck", "/GSLaunchedApplications", "/GNUstepSecure"};
constexpr std::string_view daemonsFolder = "/NSMessagePort";
constexpr std::array errors = {EIO, EACCES, ENOSPC, EMFILE, ENOMEM, ENOENT};

/// Two numbers with a colon between, or two zeros.
struct Setting {
  uint64_t first = 0;
  uint64_t second = 0;

  explicit Setting(const char *name) {
    const char *text = getenv(name);
    if (text == nullptr) return;
    char *end = nullptr;
    first = strtoull(text, &end, 10);
    if (*end == ':') second = strtoull(end + 1, nullptr, 10);
  }
};

bool isNamed(std::string_view name) { return name == program_invocation_short_name; }
bool isInstaller() { return isNamed("Quillmark Installer"); }
/// They serve all runs.
bool isGNUstepsOwn() { return isNamed("gdnc") || isNamed("gpbs") || isNamed("make_services"); }

std::atomic<bool> begun{false};
std::atomic<bool> ended{false};
std::atomic<uint64_t> calls{0};

/// Whether this call is to fail, with errno set if so.
bool fails(const char *path = nullptr) {
  static const Setting faults("QUILLMARK_FAULTS");
  static const Setting end("QUILLMARK_END");
  static const bool installer = isInstaller();
  static const bool daemon = isGNUstepsOwn();
  if (daemon) return false;

  const std::string_view place = path != nullptr ? path : "";
  if (installer && place.ends_with(componentsFolder)) begun = true;
  if (installer && !begun && place.find(defaultsFile) == std::string_view::npos) return false;

  if (installer && begun && place.find(daemonsFolder) != std::string_view::npos) ended = true;
  if (ended) return false;
  const char *temporaryFolder = getenv("TEMP");
  if (temporaryFolder != nullptr && (place == temporaryFolder || std::string(place) + "/" == temporaryFolder))
    return false;
  for (const std::string_view spared : sparedPlaces) {
    if (place.find(spared) != std::string_view::npos) return false;
  }

  const uint64_t number = ++calls;
  if (installer && number == end.second) (void)raise(static_cast<int>(end.first));
  if (faults.second == 0) return false;
  // SplitMix64 (Steele, Lea and Flood, 2014), of the number of the call.
  uint64_t bits = faults.first + static_cast<uint64_t>(getpid()) * 0x2545F4914F6CDD1D + number * 0x9E3779B97F4A7C15;
  bits = (bits ^ (bits >> 30)) * 0xBF58476D1CE4E5B9;
  bits = (bits ^ (bits >> 27)) * 0x94D049BB133111EB;
  bits ^= bits >> 31;
  if (bits % faults.second != 0) return false;
  errno = errors[(bits >> 32) % errors.size()];
  return true;
}

[[gnu::destructor]] void tellCalls() {
  if (isInstaller() && getenv("QUILLMARK_END") != nullptr) {
    dprintf(STDERR_FILENO, "%llu calls\n", static_cast<unsigned long long>(calls.load()));
  }
}

template <typename Function>
Function *next(const char *name) {
  return reinterpret_cast<Function *>(dlsym(RTLD_NEXT, name));
}

}  // namespace

// What installations call is replaced, as declared by the C library; but those of <fcntl.h>, which is left out, take a
// mode that may follow the flags always: on Linux it lies in the same register, whether it is one of variable arguments
// or not.

#define REPLACE(result, name, parameters, arguments, path, failure) \
  extern "C" result name parameters {                               \
    static const auto original = next<result parameters>(#name);    \
    return fails(path) ? failure : original arguments;              \
  }

REPLACE(ssize_t, read, (int file, void *bytes, size_t count), (file, bytes, count), nullptr, -1)
REPLACE(ssize_t, write, (int file, const void *bytes, size_t count), (file, bytes, count), nullptr, -1)
REPLACE(ssize_t, copy_file_range, (int in, off64_t *from, int out, off64_t *to, size_t count, unsigned flags),
        (in, from, out, to, count, flags), nullptr, -1)
REPLACE(int, mkdir, (const char *path, mode_t mode), (path, mode), path, -1)
REPLACE(int, mkdirat, (int folder, const char *path, mode_t mode), (folder, path, mode), path, -1)
REPLACE(int, unlink, (const char *path), (path), path, -1)
REPLACE(int, unlinkat, (int folder, const char *path, int flags), (folder, path, flags), path, -1)
REPLACE(int, rmdir, (const char *path), (path), path, -1)
REPLACE(int, rename, (const char *from, const char *to), (from, to), from, -1)
REPLACE(int, symlink, (const char *to, const char *path), (to, path), path, -1)
REPLACE(int, symlinkat, (const char *to, int folder, const char *path), (to, folder, path), path, -1)
REPLACE(int, chmod, (const char *path, mode_t mode), (path, mode), path, -1)
REPLACE(int, fchmodat, (int folder, const char *path, mode_t mode, int flags), (folder, path, mode, flags), path, -1)
REPLACE(int, fchmod, (int file, mode_t mode), (file, mode), nullptr, -1)
REPLACE(int, stat, (const char *path, struct stat *status), (path, status), path, -1)
REPLACE(int, lstat, (const char *path, struct stat *status), (path, status), path, -1)
REPLACE(int, stat64, (const char *path, struct stat64 *status), (path, status), path, -1)
REPLACE(int, fstatat, (int folder, const char *path, struct stat *status, int flags), (folder, path, status, flags),
        path, -1)
REPLACE(DIR *, opendir, (const char *path), (path), path, nullptr)
REPLACE(DIR *, fdopendir, (int folder), (folder), nullptr, nullptr)
REPLACE(FILE *, fopen, (const char *path, const char *mode), (path, mode), path, nullptr)
REPLACE(FILE *, fopen64, (const char *path, const char *mode), (path, mode), path, nullptr)
REPLACE(pid_t, fork, (), (), nullptr, -1)

REPLACE(int, open, (const char *path, int flags, mode_t mode), (path, flags, mode), path, -1)
REPLACE(int, openat, (int folder, const char *path, int flags, mode_t mode), (folder, path, flags, mode), path, -1)
