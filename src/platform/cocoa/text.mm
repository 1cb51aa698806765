#import "platform/cocoa/text.h"

#include <vector>

// Unit by unit: Foundation's own conversions refuse a surrogate without its other half, and take a U+FEFF at the
// beginning for a mark.

namespace quillmark::cocoa {

NSString *string(const std::string &utf8) {
  std::vector<unichar> units;
  units.reserve(utf8.size());
  for (auto byte = utf8.begin(); byte != utf8.end();) {
    const auto first = static_cast<unsigned char>(*byte++);
    int following = first < 0xC0 ? 0 : first < 0xE0 ? 1 : first < 0xF0 ? 2 : 3;
    unsigned character = following == 0 ? first : first & (0x3FU >> following);
    for (; following > 0 && byte != utf8.end(); --following) character = character << 6 | (*byte++ & 0x3FU);
    if (character > 0xFFFF) units.push_back(static_cast<unichar>(0xD7C0 + (character >> 10)));
    units.push_back(static_cast<unichar>(character > 0xFFFF ? 0xDC00 | (character & 0x3FF) : character));
  }
  NSString *string = [NSString stringWithCharacters:units.data() length:units.size()];
  if ([string length] == units.size()) return string;
  NSMutableString *spelled = [NSMutableString string];  // GNUstep loses both there, but not here
  for (const unichar unit : units) [spelled appendFormat:@"%C", unit];
  return spelled;
}

NSString *string(const std::optional<std::string> &utf8) { return utf8 ? string(*utf8) : nil; }

std::optional<std::string> optionalUTF8(NSString *string) {
  if (string == nil) return std::nullopt;
  return utf8(string);
}

std::string utf8(NSString *string) {
  std::vector<unichar> units([string length]);
  [string getCharacters:units.data() range:NSMakeRange(0, units.size())];
  std::string utf8;
  utf8.reserve(units.size());
  for (auto unit = units.begin(); unit != units.end(); ++unit) {
    unsigned character = *unit;
    const bool isPair = (*unit & 0xFC00) == 0xD800 && unit + 1 != units.end() && (unit[1] & 0xFC00) == 0xDC00;
    if (isPair) character = 0x10000 + ((character & 0x3FF) << 10) + (*++unit & 0x3FF);
    int following = character < 0x80 ? 0 : character < 0x800 ? 1 : character < 0x10000 ? 2 : 3;
    const unsigned mark = following == 0 ? 0 : 0xFF00U >> (following + 1) & 0xFFU;
    utf8 += static_cast<char>(mark | character >> 6 * following);
    while (following-- > 0) utf8 += static_cast<char>(0x80 | (character >> 6 * following & 0x3F));
  }
  return utf8;
}

}  // namespace quillmark::cocoa
