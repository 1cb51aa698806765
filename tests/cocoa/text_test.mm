// Text comes back from C++ as it went there.

#import "platform/cocoa/text.h"

#include <gtest/gtest.h>

#include <vector>

namespace quillmark::cocoa {

namespace {

class Text : public testing::Test {
 protected:
  ~Text() override { [pool_ drain]; }

  static NSString *made(const std::vector<unichar> &units) {
    NSMutableString *text = [NSMutableString string];
    for (const unichar unit : units) [text appendFormat:@"%C", unit];
    return text;
  }

  static void expectToComeBack(const std::vector<unichar> &units) {
    const std::string bytes = utf8(made(units));
    EXPECT_TRUE([string(bytes) isEqualToString:made(units)]) << testing::PrintToString(bytes);
  }

  NSAutoreleasePool *pool_ = [[NSAutoreleasePool alloc] init];
};

TEST_F(Text, PlainTextIsUTF8) {
  EXPECT_EQ(utf8(@"\u00e9t\u00e9 \U0001F512"), "\u00e9t\u00e9 \U0001F512");
  EXPECT_TRUE([string(std::string("\u00e9t\u00e9 \U0001F512")) isEqualToString:@"\u00e9t\u00e9 \U0001F512"]);
}

TEST_F(Text, ZeroBytesSurvive) { expectToComeBack({'a', 0, 'b'}); }

TEST_F(Text, ALoneSurrogateIsNoQuestionMark) {
  EXPECT_EQ(utf8(made({'P', 0xD800})), "P\xED\xA0\x80");
  EXPECT_EQ(utf8(made({0xDFFF, '1'})), "\xED\xBF\xBF"
                                       "1");
}

TEST_F(Text, LoneSurrogatesComeBackWhereverTheyStand) {
  expectToComeBack({0xD800});
  expectToComeBack({0xDC00, 0xD800});
  expectToComeBack({'a', 0xDBFF, 'b', 0xDC00, 0x00E9});
  expectToComeBack({0xD83D, 0xDD12, 0xD83D, 0xD83D, 0xDD12, 0xDD12});
}

TEST_F(Text, AMarkOfAnyKindAtTheBeginningIsALetterLikeAnother) {
  EXPECT_EQ(utf8(made({0xFEFF, 'a'})), "\uFEFFa");
  expectToComeBack({0xFEFF});
  expectToComeBack({0xFEFF, 'a', 0xFEFF});
  expectToComeBack({0xD800, 0xFEFF});
  expectToComeBack({0xFFFE, 'a'});
}

TEST_F(Text, NilIsEmptyOrNoText) {
  EXPECT_EQ(utf8(nil), "");
  EXPECT_EQ(optionalUTF8(nil), std::nullopt);
  EXPECT_EQ(string(std::optional<std::string>()), nil);
}

}  // namespace

}  // namespace quillmark::cocoa
