// Blocks as Objective-C objects. The blocks runtime knows three kinds of block, and each block's first word points
// at its kind's class record; Debian's runtime leaves these records empty. They are filled with a real class here,
// so that blocks can be retained, copied as properties and put into collections. Nor does Debian's runtime know how to
// retain the objects that a block uses; the two functions at the end do.

#import <Foundation/Foundation.h>

#include <Block.h>
#include <dlfcn.h>
#include <objc/runtime.h>

#include <cstring>
#include <initializer_list>

namespace {

// The gcc runtime's class record (struct objc_class of libobjc) has 17 words.
constexpr std::size_t classRecordSize = 17 * sizeof(void *);

}  // namespace

extern "C" {
// One array of 32 words each in libBlocksRuntime; see its Block_private.h.
extern void *_NSConcreteStackBlock[32];
extern void *_NSConcreteGlobalBlock[32];
extern void *_NSConcreteMallocBlock[32];
}

@interface QuillmarkBlock : NSObject
@end

@implementation QuillmarkBlock

+ (void)load {
  const void *record = [self class];  // the message also makes the runtime complete the record
  for (void **blockClass : {_NSConcreteStackBlock, _NSConcreteGlobalBlock, _NSConcreteMallocBlock}) {
    std::memcpy(blockClass, record, classRecordSize);
  }
}

- (id)copyWithZone:(NSZone *)zone {
  return static_cast<id>(_Block_copy(self));
}

- (id)copy {
  return static_cast<id>(_Block_copy(self));
}

- (id)retain {
  return static_cast<id>(_Block_copy(self));
}

- (oneway void)release {
  _Block_release(self);
}

- (NSUInteger)retainCount {
  return 1;
}

- (void)dealloc {
  return;  // the blocks runtime owns the memory
  [super dealloc];
}

@end

// The compiler's calls for each variable that a copied block uses, see Block-ABI-Apple in clang's documentation. The
// runtime defines them weakly, so that these two stand in for them.

namespace {

constexpr int fieldIsObject = 3;  // BLOCK_FIELD_IS_OBJECT

/// The runtime's own function, which knows all the other kinds of variable.
template <typename Function>
Function *next(const char *name) {
  return reinterpret_cast<Function *>(dlsym(RTLD_NEXT, name));
}

}  // namespace

extern "C" {

void _Block_object_assign(void *destination, const void *object, const int flags) {
  static auto *const assign = next<void(void *, const void *, int)>("_Block_object_assign");
  if (flags == fieldIsObject) {
    *static_cast<id *>(destination) = [static_cast<id>(const_cast<void *>(object)) retain];
  } else {
    assign(destination, object, flags);
  }
}

void _Block_object_dispose(const void *object, const int flags) {
  static auto *const dispose = next<void(const void *, int)>("_Block_object_dispose");
  if (flags == fieldIsObject) {
    [static_cast<id>(const_cast<void *>(object)) release];
  } else {
    dispose(object, flags);
  }
}
}
