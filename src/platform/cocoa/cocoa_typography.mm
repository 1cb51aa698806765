#import "platform/cocoa/cocoa_typography.h"

#import "platform/cocoa/text.h"

namespace quillmark::cocoa {

void CocoaAttributedString::setBoldSystemFont(double size) {
  [get() addAttribute:NSFontAttributeName value:[NSFont boldSystemFontOfSize:size] range:whole()];
}

void CocoaAttributedString::setForegroundColor(const Color &color) {
  [get() addAttribute:NSForegroundColorAttributeName value:static_cast<const CocoaColor &>(color).get() range:whole()];
}

void CocoaAttributedString::setAlignmentCenter() {
  // The constant's value differs between processors; its newer name, NSTextAlignmentCenter, is of 10.12.
  [get() setAlignment:NSCenterTextAlignment range:whole()];
}

std::unique_ptr<AttributedString> CocoaTypography::attributedString(const std::string &text) {
  return std::make_unique<CocoaAttributedString>(string(text));
}

std::unique_ptr<Color> CocoaTypography::colorWithRed(double red, double green, double blue, double alpha) {
  // +colorWithRed:green:blue:alpha: came with OS X 10.9; its older equal makes the same sRGB colour. The guard is one
  // that the compiler does not know.
#pragma clang diagnostic push
#pragma clang diagnostic ignored "-Wunguarded-availability"
  NSColor *color = [NSColor respondsToSelector:@selector(colorWithRed:green:blue:alpha:)]
                       ? [NSColor colorWithRed:red green:green blue:blue alpha:alpha]
                       : [NSColor colorWithSRGBRed:red green:green blue:blue alpha:alpha];
#pragma clang diagnostic pop
  return std::make_unique<CocoaColor>(color);
}

}  // namespace quillmark::cocoa
