#pragma once

#import <AppKit/AppKit.h>

#include "platform/attributed_string.hpp"
#import "platform/cocoa/retained.h"

namespace quillmark::cocoa {

class CocoaColor final : public Color {
 public:
  explicit CocoaColor(NSColor *color) : color_(Retained<NSColor>::retain(color)) {}
  [[nodiscard]] NSColor *get() const { return color_.get(); }

 private:
  Retained<NSColor> color_;
};

class CocoaAttributedString final : public AttributedString {
 public:
  explicit CocoaAttributedString(NSString *text)
      : string_(Retained<NSMutableAttributedString>::assume([[NSMutableAttributedString alloc] initWithString:text])) {}
  [[nodiscard]] NSMutableAttributedString *get() const { return string_.get(); }

  void setBoldSystemFont(double size) override;
  void setForegroundColor(const Color &color) override;
  void setAlignmentCenter() override;

 private:
  [[nodiscard]] NSRange whole() const { return NSMakeRange(0, [get() length]); }

  Retained<NSMutableAttributedString> string_;
};

class CocoaTypography final : public Typography {
 public:
  std::unique_ptr<AttributedString> attributedString(const std::string &text) override;
  std::unique_ptr<Color> colorWithRed(double red, double green, double blue, double alpha) override;
};

}  // namespace quillmark::cocoa
