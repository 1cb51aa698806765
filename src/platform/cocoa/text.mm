#import "platform/cocoa/text.h"

namespace quillmark::cocoa {

NSString *string(const std::string &utf8) {
  return [[[NSString alloc] initWithBytes:utf8.data() length:utf8.size() encoding:NSUTF8StringEncoding] autorelease];
}

NSString *string(const std::optional<std::string> &utf8) { return utf8 ? string(*utf8) : nil; }

std::optional<std::string> optionalUTF8(NSString *string) {
  if (string == nil) return std::nullopt;
  return utf8(string);
}

std::string utf8(NSString *string) {
  NSData *bytes = [string dataUsingEncoding:NSUTF8StringEncoding allowLossyConversion:YES];
  if ([bytes length] == 0) return {};
  return {static_cast<const char *>([bytes bytes]), [bytes length]};
}

}  // namespace quillmark::cocoa
