// What compiled code calls of Apple's Objective-C runtime and the gcc runtime lacks. The names are Apple's, as clang's
// documentation of automatic reference counting and Apple's objc-exception.h and objc-internal.h have them.

#include "slice/loader.hpp"

#import <Foundation/Foundation.h>
#include <objc/message.h>
#include <objc/runtime.h>

#include <map>
#include <mutex>
#include <set>

extern "C" void objc_setProperty(id self, SEL selector, std::size_t offset, id value, BOOL atomic, BOOL copies);

namespace {

std::mutex mutex;
/// By what they refer to. Stays, as other threads may deallocate objects while the process ends.
auto &weakReferences = *new std::map<id, std::set<id *>>;

IMP gnustepDealloc;

/// On a Mac they are cleared before the object's own -dealloc is done, and here when it arrives at NSObject's.
id dealloc(id self, SEL selector, ...) {
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
  std::unique_lock<std::mutex> lock(mutex);
  const id object = [*location retain];
  lock.unlock();  // what autoreleases may deallocate something
  return [object autorelease];
}

void objc_destroyWeak(id *location) { objc_storeWeak(location, nil); }

void objc_setProperty_atomic(id self, SEL selector, id value, std::ptrdiff_t offset) {
  objc_setProperty(self, selector, std::size_t(offset), value, YES, NO);
}

void objc_setProperty_atomic_copy(id self, SEL selector, id value, std::ptrdiff_t offset) {
  objc_setProperty(self, selector, std::size_t(offset), value, YES, YES);
}

id objc_alloc(Class c) { return [c alloc]; }
id objc_alloc_init(Class c) { return [[c alloc] init]; }
id objc_retain(id object) { return [object retain]; }
void objc_release(id object) { [object release]; }
id objc_autorelease(id object) { return [object autorelease]; }

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
