// Where calls by a Mac's rules differ from those by Debian's. A Mac's caller leaves variable arguments on the stack, in
// eight bytes each, and its va_list points to the next one. Debian's are in two kinds of registers first; a va_list of
// Debian's that says that its registers are used up reads just what a Mac's caller has left.
//
// What else differs is met nowhere and not translated: a BOOL other than 0 and 1, of which a Mac looks at the lowest
// bit and Debian at eight; arguments of less than 32 bits, which a Mac's caller extends and Debian's need not; and
// arguments behind the eighth, which a Mac packs.

#include "slice/loader.hpp"

#import <AppKit/AppKit.h>
#include <dlfcn.h>
#include <objc/message.h>
#include <objc/runtime.h>

#include <cstdarg>
#include <cstring>
#include <iterator>
#include <map>

#include "constants.hpp"

using quillmark::slice::refuse;

namespace {

va_list &readFrom(void *stack, va_list &list) {
  list.__stack = stack;
  list.__gr_top = list.__vr_top = nullptr;
  list.__gr_offs = list.__vr_offs = 0;
  return list;
}

IMP asMethod(auto *function) { return reinterpret_cast<IMP>(reinterpret_cast<void *>(function)); }

IMP logWithFormatOfImage;

/// The image's own method with variable arguments, for callers of this system.
void logWithFormat(id self, SEL selector, NSString *format, ...) {
  va_list list;
  va_start(list, format);
  NSString *const text = [[[NSString alloc] initWithFormat:format arguments:list] autorelease];
  va_end(list);
  // Eight arguments come in registers, and so the ninth on the stack.
  logWithFormatOfImage(self, selector, @"%@", nil, nil, nil, nil, nil, text);
}

id initWithFormat(id self, SEL, NSString *format, void *list) {
  va_list converted;
  return [self initWithFormat:format arguments:readFrom(list, converted)];
}

/// On a Mac with Apple silicon centre is 1 and right is 2, and in GNUstep the other way round.
void setAlignment(NSMutableAttributedString *self, SEL, NSUInteger alignment, NSRange range) {
  if (alignment == 1 || alignment == 2) alignment = 3 - alignment;
  [self setAlignment:NSTextAlignment(alignment) range:range];
}

}  // namespace

extern "C" {

// In messages.S: they call the functions below with where the variable arguments lie.
void quillmarkLogOfMac();
void quillmarkStringWithFormatOfMac();
void quillmarkAppendFormatOfMac();

void quillmarkLog(NSString *format, void *stack) {
  va_list list;
  NSLogv(format, readFrom(stack, list));
}

id quillmarkStringWithFormat(Class self, SEL, NSString *format, void *stack) {
  va_list list;
  return [[[self alloc] initWithFormat:format arguments:readFrom(stack, list)] autorelease];
}

/// No method takes a va_list here. Eight words are passed on whether they are meant or not.
void quillmarkAppendFormat(NSMutableString *self, SEL, NSString *format, const std::uint64_t *words) {
  if (std::strpbrk(format.UTF8String, "aAeEfFgG") != nullptr) refuse("no support for fractions in -appendFormat:");
  [self appendFormat:format, words[0], words[1], words[2], words[3], words[4], words[5], words[6], words[7]];
}

/// Null unless the message has to be translated.
static IMP translation(SEL selector) {
  // A selector without a type, as the image's are, exists once.
  static const std::map<SEL, IMP> translations = {
      {sel_registerName("stringWithFormat:"), asMethod(&quillmarkStringWithFormatOfMac)},
      {sel_registerName("appendFormat:"), asMethod(&quillmarkAppendFormatOfMac)},
      {sel_registerName("initWithFormat:arguments:"), asMethod(&initWithFormat)},
      {sel_registerName("setAlignment:range:"), asMethod(&setAlignment)},
  };
  const auto found = translations.find(selector);
  return found == translations.end() ? nullptr : found->second;
}

IMP quillmarkMethod(id receiver, SEL selector) {
  if (const IMP translated = translation(selector)) return translated;
  const IMP method = objc_msg_lookup(receiver, selector);
  return method == asMethod(&logWithFormat) ? logWithFormatOfImage : method;
}

IMP quillmarkMethodOfSuper(const struct objc_super *target, SEL selector) {
  if (translation(selector)) refuse(std::string("no support for the message to super ") + sel_getName(selector));
  return quillmarkSuperMethod(target, selector);
}

extern const char quillmarkReturnThis[];
[[gnu::visibility("hidden")]] const void *quillmarkReturnThisTargets[16];
}

namespace quillmark::slice {

namespace {

/// A Mac's constructors and destructors return the object, those of Debian nothing.
const void *returningThis(const void *function) {
  static std::map<const void *, const void *> wrapped;
  const std::size_t number = wrapped.size();
  if (const auto known = wrapped.find(function); known != wrapped.end()) return known->second;
  if (number == std::size(quillmarkReturnThisTargets)) refuse("too many constructors and destructors are imported");
  quillmarkReturnThisTargets[number] = function;
  return wrapped[function] = quillmarkReturnThis + 64 * number;
}

/// Of what libc++ exports in its own namespace only this has no strings in it.
bool hasStrings(const std::string &symbol) {
  return symbol.find("St3__1") != symbol.npos && symbol.find("__shared_weak_count") == symbol.npos;
}

bool isOfStringsLibrary(const void *function) {
  Dl_info place;
  return dladdr(function, &place) != 0 && std::string_view(place.dli_fname).ends_with(std::end(cxxLibraries)[-1]);
}

}  // namespace

const void *functionForImage(const std::string &symbol, const void *function) {
  if (hasStrings(symbol) && !isOfStringsLibrary(function)) return nullptr;
  if (symbol == "_NSLog") return reinterpret_cast<const void *>(&quillmarkLogOfMac);
  const bool constructs = symbol.find("C1E") != symbol.npos || symbol.find("C2E") != symbol.npos;
  const bool destroys = symbol.ends_with("D1Ev") || symbol.ends_with("D2Ev");
  return function != nullptr && symbol.starts_with("__ZN") && (constructs || destroys) ? returningThis(function)
                                                                                       : function;
}

IMP methodForSystem(const char *selector, IMP method) {
  if (std::strcmp(selector, "logWithFormat:") != 0) return method;
  logWithFormatOfImage = method;
  return asMethod(&logWithFormat);
}

}  // namespace quillmark::slice
