#import "platform/cocoa/text.h"

#include <string_view>

namespace quillmark::cocoa {

namespace {

bool isHighSurrogate(unichar unit) { return (unit & 0xFC00) == 0xD800; }
bool isLowSurrogate(unichar unit) { return (unit & 0xFC00) == 0xDC00; }

/// Whether the unit at the index is a surrogate without its other half.
bool isLoneSurrogate(NSString *string, NSUInteger index) {
  const unichar unit = [string characterAtIndex:index];
  if (isHighSurrogate(unit)) {
    return index + 1 == [string length] || !isLowSurrogate([string characterAtIndex:index + 1]);
  }
  return isLowSurrogate(unit) && (index == 0 || !isHighSurrogate([string characterAtIndex:index - 1]));
}

std::string bytesOf(NSData *data) {
  return {static_cast<const char *>([data bytes]), static_cast<std::size_t>([data length])};
}

NSString *stringOf(std::string_view utf8) {
  return [[[NSString alloc] initWithBytes:utf8.data() length:utf8.size() encoding:NSUTF8StringEncoding] autorelease];
}

std::string utf8WithLoneSurrogates(NSString *string) {
  std::string utf8;
  NSUInteger begin = 0;
  for (NSUInteger index = 0; index < [string length]; ++index) {
    if (!isLoneSurrogate(string, index)) continue;
    const unichar unit = [string characterAtIndex:index];
    NSString *run = [string substringWithRange:NSMakeRange(begin, index - begin)];
    utf8 += bytesOf([run dataUsingEncoding:NSUTF8StringEncoding]);
    utf8 += {'\xED', static_cast<char>(0x80 | ((unit >> 6) & 0x3F)), static_cast<char>(0x80 | (unit & 0x3F))};
    begin = index + 1;
  }
  return utf8 + bytesOf([[string substringFromIndex:begin] dataUsingEncoding:NSUTF8StringEncoding]);
}

/// Nil unless all else is UTF-8, in which no byte above 0x9F follows 0xED.
NSString *stringWithLoneSurrogates(std::string_view utf8) {
  NSMutableString *string = [NSMutableString string];
  while (!utf8.empty()) {
    std::size_t end = 0;
    const auto byte = [&](std::size_t index) { return static_cast<unsigned char>(utf8[index]); };
    while (end + 2 < utf8.size() && (byte(end) != 0xED || byte(end + 1) < 0xA0)) ++end;
    const bool found = end + 2 < utf8.size();
    NSString *run = stringOf(utf8.substr(0, found ? end : utf8.size()));
    if (run == nil) return nil;
    [string appendString:run];
    if (!found) break;
    const auto unit = static_cast<unichar>(0xD000 | ((byte(end + 1) & 0x3F) << 6) | (byte(end + 2) & 0x3F));
    [string appendFormat:@"%C", unit];  // GNUstep makes no string of a lone surrogate, but a part of one
    utf8.remove_prefix(end + 3);
  }
  return string;
}

}  // namespace

NSString *string(const std::string &utf8) {
  NSString *wellFormed = stringOf(utf8);
  return wellFormed != nil ? wellFormed : stringWithLoneSurrogates(utf8);
}

NSString *string(const std::optional<std::string> &utf8) { return utf8 ? string(*utf8) : nil; }

std::optional<std::string> optionalUTF8(NSString *string) {
  if (string == nil) return std::nullopt;
  return utf8(string);
}

std::string utf8(NSString *string) {
  if ([string length] == 0) return {};
  NSData *wellFormed = [string dataUsingEncoding:NSUTF8StringEncoding];  // nil, or no bytes, if it cannot be
  return [wellFormed length] != 0 ? bytesOf(wellFormed) : utf8WithLoneSurrogates(string);
}

}  // namespace quillmark::cocoa
