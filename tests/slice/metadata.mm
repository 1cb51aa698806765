#include "slice/loader.hpp"

#import <Foundation/Foundation.h>
#include <objc/runtime.h>

#include <cstdlib>
#include <initializer_list>
#include <map>
#include <set>

#include "constants.hpp"

extern "C" void __objc_protocols_add_protocol(const char *name, Protocol *protocol);

namespace quillmark::slice {

namespace {

// Apple's records, see objc-runtime-new.h of objc4.

template <typename T>
struct ListOf {
  std::uint32_t entrySize, count;

  static std::span<const T> entries(const ListOf *list) {
    if (list == nullptr) return {};
    if (list->entrySize != sizeof(T)) refuse("no support for the kind of a list in the Objective-C metadata");
    return {reinterpret_cast<const T *>(list + 1), list->count};
  }
};

template <typename T>
struct PointersTo {
  std::uint64_t count;

  static std::span<T *const> entries(const PointersTo *list) {
    if (list == nullptr) return {};
    return {reinterpret_cast<T *const *>(list + 1), list->count};
  }
};

struct AppleMethod {
  const char *name, *types;
  IMP implementation;
};

struct AppleVariable {
  VariableOffset *offset;
  const char *name, *type;
  std::uint32_t alignment, size;
};

struct AppleProtocol {
  void *isa;
  const char *name;
  const PointersTo<AppleProtocol> *protocols;
  const ListOf<AppleMethod> *instanceMethods, *classMethods, *optionalInstanceMethods, *optionalClassMethods;
};

struct AppleClassData {
  std::uint32_t flags, instanceStart, instanceSize, reserved;
  const std::uint8_t *layout;
  const char *name;
  const ListOf<AppleMethod> *methods;
  const PointersTo<AppleProtocol> *protocols;
  const ListOf<AppleVariable> *variables;
};

struct AppleClass {
  AppleClass *isa, *superclass;  // bound to a class of the gcc runtime where it is not the image's own
  void *cache, *vtable;
  const AppleClassData *data;
};

struct AppleString {
  Class isa;
  std::uint64_t flags;
  const char *bytes;
  std::uint64_t length;
};

constexpr std::uint64_t eightBitText = 0x7c8;
// RO_META, RO_HAS_CXX_STRUCTORS, RO_HIDDEN, RO_HAS_CXX_DTOR_ONLY and RO_HAS_WEAK_WITHOUT_ARC
constexpr std::uint32_t knownClassFlags = 0x1 | 0x4 | 0x10 | 0x100 | 0x200;
const std::set<std::string> knownSections = {
    "__objc_classlist", "__objc_classname", "__objc_classrefs", "__objc_const",    "__objc_data",
    "__objc_imageinfo", "__objc_ivar",      "__objc_methname",  "__objc_methtype", "__objc_protolist",
    "__objc_protorefs", "__objc_selrefs",   "__objc_superrefs",
};

// The gcc runtime's records, see module-abi-8.h of libobjc.

struct GccDescriptions {
  int count;
  struct objc_method_description list[];
};

struct GccProtocols {
  GccProtocols *next;
  std::size_t count;
  Protocol *list[];
};

struct GccProtocol {
  Class isa;
  const char *name;
  GccProtocols *protocols;
  GccDescriptions *instanceMethods, *classMethods;
};

struct GccString {
  Class isa;
  const char *bytes;
  unsigned length;
};

/// Zeroes, for as long as the process lives, with room for a list behind the record.
template <typename Record, typename Entry>
Record *makeRecord(std::size_t entries) {
  return static_cast<Record *>(std::calloc(1, sizeof(Record) + entries * sizeof(Entry)));
}

class Registration {
 public:
  explicit Registration(const Image &image) : image_(image) {}

  void run() {
    refuseUnknownSections();
    for (AppleString &string : all<AppleString>("__cfstring")) convert(string);
    for (const char *&reference : all<const char *>("__objc_selrefs")) {
      reference = reinterpret_cast<const char *>(sel_registerName(reference));
    }
    for (AppleProtocol *protocol : all<AppleProtocol *>("__objc_protolist")) (void)protocolOf(protocol);
    for (AppleProtocol *&reference : all<AppleProtocol *>("__objc_protorefs")) {
      reference = reinterpret_cast<AppleProtocol *>(protocolOf(reference));
    }
    for (AppleClass *c : all<AppleClass *>("__objc_classlist")) own_[c] = Nil;
    for (AppleClass *c : all<AppleClass *>("__objc_classlist")) (void)classOf(c);
    for (const char *section : {"__objc_classrefs", "__objc_superrefs"}) {
      for (AppleClass *&reference : all<AppleClass *>(section)) {
        reference = reinterpret_cast<AppleClass *>(classOf(reference));
      }
    }
  }

 private:
  template <typename T>
  std::span<T> all(const char *name) {
    const Section *const section = image_.find(name);
    return section == nullptr ? std::span<T>() : section->as<T>();
  }

  void refuseUnknownSections() {
    for (const Section &section : image_.sections) {
      if (section.name.starts_with("__objc_") && !knownSections.contains(section.name)) {
        refuse("no support for the section " + section.name);
      }
    }
  }

  /// GNUstep's record is the shorter one, so that the string stays where it lies.
  void convert(AppleString &string) {
    if (string.flags != eightBitText) refuse("no support for a constant string that is not of 8-bit characters");
    reinterpret_cast<GccString &>(string) = {string.isa, string.bytes, static_cast<unsigned>(string.length)};
  }

  Protocol *protocolOf(const AppleProtocol *protocol) {
    if (Protocol *const known = objc_getProtocol(protocol->name)) return known;
    const auto parents = PointersTo<AppleProtocol>::entries(protocol->protocols);
    auto *const protocols = makeRecord<GccProtocols, Protocol *>(parents.size());
    for (const AppleProtocol *parent : parents) protocols->list[protocols->count++] = protocolOf(parent);
    auto *const converted = reinterpret_cast<Protocol *>(
        new GccProtocol{objc_getClass("Protocol"), protocol->name, protocols,
                        descriptions({protocol->instanceMethods, protocol->optionalInstanceMethods}),
                        descriptions({protocol->classMethods, protocol->optionalClassMethods})});
    __objc_protocols_add_protocol(protocol->name, converted);
    return converted;
  }

  GccDescriptions *descriptions(std::initializer_list<const ListOf<AppleMethod> *> lists) {
    std::size_t count = 0;
    for (const auto *list : lists) count += ListOf<AppleMethod>::entries(list).size();
    auto *const converted = makeRecord<GccDescriptions, struct objc_method_description>(count);
    for (const auto *list : lists) {
      for (const AppleMethod &method : ListOf<AppleMethod>::entries(list)) {
        converted->list[converted->count++] = {sel_registerTypedName(method.name, method.types),
                                               const_cast<char *>(method.types)};
      }
    }
    return converted;
  }

  /// Of a reference that may be bound to a class of the gcc runtime already.
  Class classOf(AppleClass *c) {
    const auto own = own_.find(c);
    if (own == own_.end()) return reinterpret_cast<Class>(c);
    if (own->second == Nil) own->second = makeClass(*c);
    return own->second;
  }

  Class makeClass(const AppleClass &c) {
    const AppleClassData &data = *c.data, &metadata = *c.isa->data;
    const std::string name = data.name;
    if (((data.flags | metadata.flags) & ~knownClassFlags) != 0)
      refuse("no support for the flags of the class " + name);
    if (objc_lookUpClass(data.name) != Nil) refuse("the class " + name + " is there already");
    Class const made = objc_allocateClassPair(classOf(c.superclass), data.name, 0);
    const auto variables = ListOf<AppleVariable>::entries(data.variables);
    for (const AppleVariable &variable : variables) {
      const auto alignment = static_cast<std::uint8_t>(variable.alignment);
      class_addIvar(made, variable.name, variable.size, alignment, variable.type);
    }
    addMethods(made, data.methods);
    addMethods(object_getClass(reinterpret_cast<id>(made)), metadata.methods);
    for (const AppleProtocol *protocol : PointersTo<AppleProtocol>::entries(data.protocols)) {
      class_addProtocol(made, protocolOf(protocol));
    }
    objc_registerClassPair(made);
    for (const AppleVariable &variable : variables) {
      *variable.offset = VariableOffset(ivar_getOffset(class_getInstanceVariable(made, variable.name)));
    }
    return made;
  }

  void addMethods(Class c, const ListOf<AppleMethod> *methods) {
    for (const AppleMethod &method : ListOf<AppleMethod>::entries(methods)) {
      const IMP implementation = methodForSystem(method.name, method.implementation);
      class_addMethod(c, sel_registerTypedName(method.name, method.types), implementation, method.types);
    }
  }

  const Image &image_;
  std::map<AppleClass *, Class> own_;  // Nil until it is made
};

}  // namespace

void registerMetadata(const Image &image) { Registration(image).run(); }

}  // namespace quillmark::slice
