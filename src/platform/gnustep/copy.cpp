// Each folder is opened once and its items are named relative to it, so that the cost of an item depends neither on
// how deep it lies nor on how many lie beside it.

#include "platform/gnustep/copy.hpp"

#include <dirent.h>
#include <fcntl.h>
#include <linux/fs.h>
#include <linux/limits.h>
#include <linux/xattr.h>
#include <sys/ioctl.h>
#include <sys/stat.h>
#include <sys/xattr.h>
#include <unistd.h>

#include <array>
#include <cerrno>
#include <cstring>
#include <string_view>

namespace quillmark::gnustep {

namespace {

/// What openat and its kin take: a name in an open folder.
struct Place {
  int folder;
  const char *name;
};

class Descriptor {
 public:
  explicit Descriptor(int number) : number_(number) {}
  ~Descriptor() {
    if (number_ >= 0) close(number_);
  }
  Descriptor(const Descriptor &) = delete;
  Descriptor &operator=(const Descriptor &) = delete;

  [[nodiscard]] bool isOpen() const { return number_ >= 0; }
  [[nodiscard]] int number() const { return number_; }

 private:
  int number_;
};

class OpenFolder {
 public:
  explicit OpenFolder(Place place)
      : descriptor_(openat(place.folder, place.name, O_RDONLY | O_DIRECTORY | O_NOFOLLOW | O_CLOEXEC)),
        stream_(descriptor_ >= 0 ? fdopendir(descriptor_) : nullptr) {
    if (descriptor_ >= 0 && stream_ == nullptr) close(descriptor_);
  }
  ~OpenFolder() {
    if (stream_ != nullptr) closedir(stream_);
  }
  OpenFolder(const OpenFolder &) = delete;
  OpenFolder &operator=(const OpenFolder &) = delete;

  [[nodiscard]] bool isOpen() const { return stream_ != nullptr; }
  [[nodiscard]] int number() const { return descriptor_; }

  /// Null at the end, and with errno set where the folder cannot be read on.
  [[nodiscard]] const char *nextName() {
    for (;;) {
      errno = 0;
      const dirent *entry = readdir(stream_);
      if (entry == nullptr) return nullptr;
      const std::string_view name = entry->d_name;
      if (name != "." && name != "..") return entry->d_name;
    }
  }

 private:
  int descriptor_;
  DIR *stream_;
};

bool writeAll(int target, const char *bytes, ssize_t count) {
  while (count > 0) {
    const ssize_t written = write(target, bytes, static_cast<size_t>(count));
    if (written < 0) return false;
    bytes += written;
    count -= written;
  }
  return true;
}

bool copyThroughMemory(int source, int target) {
  std::array<char, 0x10000> bytes;
  for (;;) {
    const ssize_t count = read(source, bytes.data(), bytes.size());
    if (count <= 0) return count == 0;
    if (!writeAll(target, bytes.data(), count)) return false;
  }
}

/// Whether the two file systems are why the kernel did not copy between them.
bool kernelCannotCopy() { return errno == EXDEV || errno == EINVAL || errno == ENOSYS || errno == EOPNOTSUPP; }

/// By a clone, where the file system has them; else inside the kernel; else through this process.
bool copyContents(int source, int target, off_t size) {
  if (size == 0 || ioctl(target, FICLONE, source) == 0) return true;
  while (size > 0) {
    const ssize_t count = copy_file_range(source, nullptr, target, nullptr, static_cast<size_t>(size), 0);
    if (count < 0) return kernelCannotCopy() && copyThroughMemory(source, target);
    if (count == 0) return true;  // has become shorter meanwhile
    size -= count;
  }
  return true;
}

// What has a large buffer is kept out of the frame of copyFolder, which calls itself.

/// Those of the name space "user"; the others are the system's. A file system that holds none loses them.
[[gnu::noinline]] bool copyExtendedAttributes(int source, int target) {
  std::array<char, XATTR_LIST_MAX> names;
  const ssize_t length = flistxattr(source, names.data(), names.size());
  if (length < 0) return errno == EOPNOTSUPP;
  const char *end = names.data() + length;
  for (const char *name = names.data(); name < end; name += std::strlen(name) + 1) {
    if (!std::string_view(name).starts_with(XATTR_USER_PREFIX)) continue;
    std::array<char, XATTR_SIZE_MAX> value;
    const ssize_t size = fgetxattr(source, name, value.data(), value.size());
    if (size < 0) return false;
    if (fsetxattr(target, name, value.data(), static_cast<size_t>(size), 0) != 0) return errno == EOPNOTSUPP;
  }
  return true;
}

/// The mode comes behind the attributes, because it may forbid writing, and the times come last, because the rest
/// changes them.
bool copyProperties(int source, const struct stat &status, int target) {
  const std::array times = {status.st_atim, status.st_mtim};
  return copyExtendedAttributes(source, target) && fchmod(target, status.st_mode & ALLPERMS) == 0 &&
         futimens(target, times.data()) == 0;
}

bool copyItem(Place source, Place target);

[[gnu::noinline]] bool copyFile(Place source, const struct stat &status, Place target) {
  const Descriptor from(openat(source.folder, source.name, O_RDONLY | O_NOFOLLOW | O_CLOEXEC));
  if (!from.isOpen()) return false;
  const Descriptor to(openat(target.folder, target.name, O_WRONLY | O_CREAT | O_EXCL | O_CLOEXEC, S_IRUSR | S_IWUSR));
  return to.isOpen() && copyContents(from.number(), to.number(), status.st_size) &&
         copyProperties(from.number(), status, to.number());
}

bool copyFolder(Place source, const struct stat &status, Place target) {
  if (mkdirat(target.folder, target.name, ACCESSPERMS) != 0) return false;
  OpenFolder from(source);
  const Descriptor to(openat(target.folder, target.name, O_RDONLY | O_DIRECTORY | O_NOFOLLOW | O_CLOEXEC));
  if (!from.isOpen() || !to.isOpen()) return false;
  while (const char *name = from.nextName()) {
    if (!copyItem({from.number(), name}, {to.number(), name})) return false;
  }
  return errno == 0 && copyProperties(from.number(), status, to.number());
}

/// Linux keeps no attributes of the name space "user" at a link, and has no modes of links.
[[gnu::noinline]] bool copyLink(Place source, const struct stat &status, Place target) {
  std::array<char, PATH_MAX> text;
  const ssize_t length = readlinkat(source.folder, source.name, text.data(), text.size() - 1);
  if (length < 0) return false;
  text[static_cast<size_t>(length)] = '\0';
  const std::array times = {status.st_atim, status.st_mtim};
  return symlinkat(text.data(), target.folder, target.name) == 0 &&
         utimensat(target.folder, target.name, times.data(), AT_SYMLINK_NOFOLLOW) == 0;
}

/// What is neither a file, a folder nor a link is not copied: to open a pipe may wait for ever.
bool copyItem(Place source, Place target) {
  struct stat status;
  if (fstatat(source.folder, source.name, &status, AT_SYMLINK_NOFOLLOW) != 0) return false;
  if (S_ISREG(status.st_mode)) return copyFile(source, status, target);
  if (S_ISDIR(status.st_mode)) return copyFolder(source, status, target);
  return S_ISLNK(status.st_mode) && copyLink(source, status, target);
}

}  // namespace

bool copyItem(const char *source, const char *target) noexcept {
  return copyItem(Place{AT_FDCWD, source}, Place{AT_FDCWD, target});
}

}  // namespace quillmark::gnustep
