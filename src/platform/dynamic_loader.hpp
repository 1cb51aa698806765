#pragma once

#include <string>

namespace quillmark {

/// The dynamic loader, <dlfcn.h>; platform/cocoa/dynamic_loader.h speaks to the real one. Any thread.
class DynamicLoader {
 public:
  virtual ~DynamicLoader() = default;

  /// dlopen with RTLD_LAZY. Null when the binary cannot be opened; otherwise to be closed once.
  [[nodiscard]] virtual void *open(const std::string &path) = 0;

  /// dlsym. Null when the opened binary has no such symbol.
  [[nodiscard]] virtual void *symbol(void *handle, const std::string &name) = 0;

  virtual void close(void *handle) = 0;
};

}  // namespace quillmark
