#pragma once

#include <memory>
#include <string>

namespace quillmark {

/// An NSColor, carried but never looked into.
class Color {
 public:
  virtual ~Color() = default;
};

/// An NSMutableAttributedString. Every attribute is set over the whole text.
class AttributedString {
 public:
  virtual ~AttributedString() = default;

  /// The bold system font, in points.
  virtual void setBoldSystemFont(double size) = 0;
  virtual void setForegroundColor(const Color &color) = 0;
  virtual void setAlignmentCenter() = 0;
};

/// Makes attributed strings and colours. Main thread only.
class Typography {
 public:
  virtual ~Typography() = default;

  /// A string without any attribute; the text is UTF-8.
  [[nodiscard]] virtual std::unique_ptr<AttributedString> attributedString(const std::string &text) = 0;

  /// Components from 0 to 1.
  [[nodiscard]] virtual std::unique_ptr<Color> colorWithRed(double red, double green, double blue, double alpha) = 0;
};

}  // namespace quillmark
