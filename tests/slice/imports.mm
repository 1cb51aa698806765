#include "slice/loader.hpp"

#import <Foundation/Foundation.h>
#include <dispatch/dispatch.h>
#include <dlfcn.h>
#include <strings.h>

#include <cstdlib>
#include <map>
#include <set>

namespace quillmark::slice {

namespace {

/// Of the libraries below the frameworks: what is the same on both systems, or is in objc_runtime.mm and messages.S. Of
/// many other functions there is only the name on both, with other constants or records.
const std::set<std::string> alike = {
    "__NSConcreteGlobalBlock",
    "__NSConcreteStackBlock",
    "__Unwind_Resume",
    "___objc_personality_v0",
    "___stack_chk_fail",
    "_bzero",
    "_dispatch_async",
    "_dispatch_once",
    "_dlclose",
    "_floor",
    "_memcmp",
    "_memcpy",
    "_memmove",
    "_memset",
    "_objc_alloc",
    "_objc_alloc_init",
    "_objc_autorelease",
    "_objc_begin_catch",
    "_objc_destroyWeak",
    "_objc_end_catch",
    "_objc_getProperty",
    "_objc_loadWeak",
    "_objc_msgSend",
    "_objc_msgSendSuper2",
    "_objc_release",
    "_objc_retain",
    "_objc_setProperty_atomic",
    "_objc_setProperty_atomic_copy",
    "_objc_storeWeak",
    "_strcmp",
    "_strlen",
};

std::uintptr_t stackGuard = 0x5eed00c0ffee;
std::uintptr_t emptyCache;  // of classes, whose records are not used

/// RTLD_LAZY and RTLD_NOW are the same on a Mac; RTLD_LOCAL is 4 and RTLD_GLOBAL 8.
void *dlopenOfMac(const char *path, int mode) {
  if ((mode & ~0xf) != 0) refuse("no support for a mode of dlopen");
  return dlopen(path, (mode & 3) | ((mode & 8) != 0 ? RTLD_GLOBAL : RTLD_LOCAL));
}

void *dlsymOfMac(void *library, const char *name) {
  if (reinterpret_cast<std::intptr_t>(library) < 0) refuse("no support for RTLD_DEFAULT and its like");
  return dlsym(library, name);
}

/// The class that a symbol with the prefix names, or Nil.
Class classIn(const std::string &symbol, std::string_view prefix) {
  return symbol.starts_with(prefix) ? objc_lookUpClass(symbol.c_str() + prefix.size()) : Nil;
}

/// Null where there is none.
const void *counterpart(const std::string &symbol, const std::string &library) {
  static const std::map<std::string, const void *> different = {
      {"___CFConstantStringClassReference", [NSString constantStringClass]},
      {"___bzero", reinterpret_cast<void *>(&bzero)},
      {"___stack_chk_guard", &stackGuard},
      {"__dispatch_main_q", dispatch_get_main_queue()},
      {"__objc_empty_cache", &emptyCache},
      {"__objc_empty_vtable", &emptyCache},
      {"_dlopen", reinterpret_cast<void *>(&dlopenOfMac)},
      {"_dlsym", reinterpret_cast<void *>(&dlsymOfMac)},
      {"dyld_stub_binder", reinterpret_cast<void *>(&abort)},  // nothing is bound lazily, so nobody calls it
  };
  if (const auto found = different.find(symbol); found != different.end()) return found->second;
  if (Class const c = classIn(symbol, "_OBJC_CLASS_$_")) return c;
  if (Class const c = classIn(symbol, "_OBJC_METACLASS_$_")) return object_getClass(reinterpret_cast<id>(c));
  if (Class const c = classIn(symbol, "_OBJC_EHTYPE_$_")) return caughtType(c);
  const char *const name = symbol.c_str() + 1;
  if (library == "/usr/lib/libc++.1.dylib") return functionForImage(symbol, cxxSymbol(name));
  if (library.starts_with("/usr/lib/") && !alike.contains(symbol)) return nullptr;
  return functionForImage(symbol, dlsym(RTLD_DEFAULT, name));
}

}  // namespace

void bindImports(const Image &image) {
  std::string missing;
  for (const auto &[symbol, library, slot, addend] : image.imports) {
    const void *const address = counterpart(symbol, library);
    if (address == nullptr) missing += "\n  " + symbol + " of " + library;
    *reinterpret_cast<std::uintptr_t *>(slot) = reinterpret_cast<std::uintptr_t>(address) + std::uintptr_t(addend);
  }
  if (!missing.empty()) refuse("these symbols have no counterpart:" + missing);
}

}  // namespace quillmark::slice
