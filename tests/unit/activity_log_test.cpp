#include "window/activity_log.hpp"

#include <gtest/gtest.h>

#include "support/fake_mac.hpp"

namespace quillmark {

namespace {

using fake::FakeMac;

TEST(ActivityLog, ATextIsAppendedAsItStandsOnceTheMainThreadRuns) {
  FakeMac mac;
  logText(mac.mainQueue, mac.delegate, "no line end, 100% @");
  EXPECT_EQ(mac.delegate->log, "");
  mac.mainQueue.run();
  EXPECT_EQ(mac.delegate->log, "no line end, 100% @");
}

TEST(ActivityLog, AnEmptyTextLeavesTheLogUnchanged) {
  FakeMac mac;
  mac.delegate->log = "before\n";
  logText(mac.mainQueue, mac.delegate, "");
  mac.mainQueue.run();
  EXPECT_EQ(mac.delegate->log, "before\n");
}

TEST(ActivityLog, ABurstOfAppendsAllAppearInOrder) {
  FakeMac mac;
  std::string expected;
  for (int line = 0; line < 10000; ++line) {
    const std::string text = std::to_string(line) + "\n";
    logText(mac.mainQueue, mac.delegate, text);
    expected += text;
  }
  mac.mainQueue.run();
  EXPECT_EQ(mac.delegate->log, expected);
}

std::string loggedError(const std::string &domain, long code) {
  FakeMac mac;
  logError(mac.mainQueue, mac.delegate, {.domain = domain, .code = code, .localizedDescription = "not shown"});
  mac.mainQueue.run();
  return mac.delegate->log;
}

TEST(ActivityLog, AnErrorsLineHoldsItsDomainAndItsCodeAndOneLineFeed) {
  EXPECT_EQ(loggedError("NSPOSIXErrorDomain", 13), "error NSPOSIXErrorDomain / 13\n");
}

TEST(ActivityLog, AnErrorWithANegativeCodePrintsTheCodeWithItsMinusSign) {
  EXPECT_EQ(loggedError("NSOSStatusErrorDomain", -1), "error NSOSStatusErrorDomain / -1\n");
}

TEST(ActivityLog, AnErrorCodeBeyond32BitsShowsItsLow32BitsAsASignedNumber) {
  EXPECT_EQ(loggedError("d", 0x1'0000'0005L), "error d / 5\n");
  EXPECT_EQ(loggedError("d", 0x8000'0000L), "error d / -2147483648\n");
}

}  // namespace

}  // namespace quillmark
