// What compiled code calls of Apple's Objective-C runtime and the gcc runtime lacks. The names are Apple's, as clang's
// documentation of automatic reference counting and Apple's objc-exception.h and objc-internal.h have them.

#include "slice/objc_runtime.hpp"

#import <Foundation/Foundation.h>
#include <objc/message.h>
#include <objc/runtime.h>

#include <map>
#include <mutex>
#include <set>

extern "C" void objc_setProperty(id self, SEL selector, std::size_t offset, id value, BOOL atomic, BOOL copies);

namespace {

std::mutex mutex;
std::map<id, std::set<id *>> weakReferences;  // by what they refer to

IMP gnustepDealloc;

/// On a Mac both happen before the object's own -dealloc is done, and here when it arrives at NSObject's.
id dealloc(id self, SEL selector, ...) {
  static const SEL destruct = sel_registerName(".cxx_destruct");
  for (Class c = object_getClass(self); class_respondsToSelector(c, destruct); c = class_getSuperclass(c)) {
    const IMP own = class_getMethodImplementation(c, destruct);
    Class const parent = class_getSuperclass(c);
    if (class_respondsToSelector(parent, destruct) && class_getMethodImplementation(parent, destruct) == own) continue;
    own(self, destruct);
  }
  {
    const std::lock_guard<std::mutex> lock(mutex);
    if (const auto references = weakReferences.extract(self)) {
      for (id *const reference : references.mapped()) *reference = nil;
    }
  }
  return gnustepDealloc(self, selector);
}

}  // namespace

extern "C" {

id objc_storeWeak(id *location, id object) {
  const std::lock_guard<std::mutex> lock(mutex);
  if (const auto former = weakReferences.find(*location); former != weakReferences.end()) {
    former->second.erase(location);
    if (former->second.empty()) weakReferences.erase(former);
  }
  if (object != nil) weakReferences[object].insert(location);
  return *location = object;
}

id objc_loadWeak(id *location) {
  const std::lock_guard<std::mutex> lock(mutex);
  return [[*location retain] autorelease];
}

void objc_destroyWeak(id *location) { objc_storeWeak(location, nil); }

void objc_setProperty_atomic(id self, SEL selector, id value, std::ptrdiff_t offset) {
  objc_setProperty(self, selector, std::size_t(offset), value, YES, NO);
}

void objc_setProperty_atomic_copy(id self, SEL selector, id value, std::ptrdiff_t offset) {
  objc_setProperty(self, selector, std::size_t(offset), value, YES, YES);
}

/// What is caught comes from the gcc runtime's personality routine, which has let go of all but the object.
id objc_begin_catch(id exception) { return exception; }

void objc_end_catch() {}

/// For messages.S: the first argument of objc_msgSendSuper2 has the class itself, that of the gcc runtime its parent.
IMP quillmarkSuperMethod(const struct objc_super *target, SEL selector) {
  struct objc_super super = {target->self, class_getSuperclass(target->super_class)};
  return objc_msg_lookup_super(&super, selector);
}
}

namespace quillmark::slice {

void completeDeallocation() {
  const Method method = class_getInstanceMethod([NSObject class], @selector(dealloc));
  gnustepDealloc = method_setImplementation(method, dealloc);
}

}  // namespace quillmark::slice
