#pragma once

#include <dlfcn.h>

#include "platform/dynamic_loader.hpp"

namespace quillmark::cocoa {

class SystemLoader final : public DynamicLoader {
 public:
  void *open(const std::string &path) override { return dlopen(path.c_str(), RTLD_LAZY); }
  void *symbol(void *handle, const std::string &name) override { return dlsym(handle, name.c_str()); }
  void close(void *handle) override { dlclose(handle); }
};

}  // namespace quillmark::cocoa
