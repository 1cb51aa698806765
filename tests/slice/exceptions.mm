// Exceptions of both languages in the image's frames. On a Mac an Objective-C exception is a C++ one, thrown by
// libc++abi, and there is one personality routine for both languages. Here the gcc runtime throws the objects, in a
// record of its own that is foreign to libc++abi.

#include "slice/loader.hpp"

#import <Foundation/Foundation.h>
#include <dlfcn.h>
#include <objc/runtime.h>
#include <unwind.h>

#include <map>

#include "constants.hpp"

namespace quillmark::slice {

namespace {

constexpr std::uint64_t classOfObjects = 0x474e55434f424a43;  // "GNUCOBJC"

/// The record of the gcc runtime: the object comes behind the unwinder's part.
id thrownObject(const _Unwind_Exception *exception) { return *reinterpret_cast<const id *>(exception + 1); }

/// To libc++abi this is one of its own std::type_info, whose fifth virtual function it asks whether a clause catches.
struct CaughtType {
  explicit CaughtType(Class c) : name(class_getName(c)), objectClass(c) {}
  virtual ~CaughtType() = default;  // counts as two
  virtual void unused1() const {}
  virtual void unused2() const {}
  virtual bool catches(const void *thrownType, void *&thrown) const;

  const char *name;
  Class objectClass;
};

/// A type that nobody can throw or catch stands for objects.
const void *typeOfObjects() {
  static const void *const type = cxxSymbol("_ZTIv");
  return type;
}

bool CaughtType::catches(const void *thrownType, void *&thrown) const {
  return thrownType == typeOfObjects() && [*static_cast<id *>(thrown) isKindOfClass:objectClass];
}

template <typename Function>
Function *cxxFunction(const char *name) {
  return reinterpret_cast<Function *>(cxxSymbol(name));
}

}  // namespace

void *cxxSymbol(const char *name) {
  // They find their own symbols first. Else those of libstdc++ would mix in, which the stand-ins bring into the
  // process.
  static void *const libraries = [] {
    void *last = nullptr;
    for (const char *library : cxxLibraries) {
      last = dlopen(library, RTLD_NOW | RTLD_LOCAL | RTLD_DEEPBIND);
      if (last == nullptr) refuse(dlerror());
    }
    return last;
  }();
  return dlsym(libraries, name);
}

const void *caughtType(Class objectClass) {
  static std::map<Class, CaughtType> types;
  return &types.try_emplace(objectClass, objectClass).first->second;
}

}  // namespace quillmark::slice

using namespace quillmark::slice;

extern "C" {

/// libc++abi's routine decides. In place of an object's record it is shown an exception of its own that holds the
/// object.
_Unwind_Reason_Code __objc_personality_v0(int version, _Unwind_Action actions, _Unwind_Exception_Class exceptionClass,
                                          _Unwind_Exception *exception, _Unwind_Context *context) {
  static auto *const decide = cxxFunction<decltype(__objc_personality_v0)>("__gxx_personality_v0");
  static auto *const allocate = cxxFunction<void *(std::size_t)>("__cxa_allocate_exception");
  static auto *const initialise = cxxFunction<void(id *, const void *, void *)>("__cxa_init_primary_exception");
  static auto *const free = cxxFunction<void(void *)>("__cxa_free_exception");
  if (exceptionClass != classOfObjects) return decide(version, actions, exceptionClass, exception, context);

  auto *const object = new (allocate(sizeof(id))) id(thrownObject(exception));
  initialise(object, typeOfObjects(), nullptr);
  auto *const shown = reinterpret_cast<_Unwind_Exception *>(object) - 1;
  const auto decideOnObject = [&](_Unwind_Action phase) {
    return decide(version, phase, shown->exception_class, shown, context);
  };
  // What the search has found is kept in the exception that it was shown.
  if ((actions & _UA_HANDLER_FRAME) != 0) (void)decideOnObject(_UA_SEARCH_PHASE);
  const _Unwind_Reason_Code decision = decideOnObject(actions);
  if (decision == _URC_INSTALL_CONTEXT) {
    _Unwind_SetGR(context, __builtin_eh_return_data_regno(0), reinterpret_cast<_Unwind_Word>(exception));
  }
  free(object);
  return decision;
}

id objc_begin_catch(_Unwind_Exception *exception) {
  const id object = thrownObject(exception);
  _Unwind_DeleteException(exception);
  return object;
}

void objc_end_catch() {}
}
