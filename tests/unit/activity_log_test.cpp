#include "window/activity_log.hpp"

#include <gtest/gtest.h>

#include "support/fake_mac.hpp"

namespace quillmark {

namespace {

using fake::FakeMac;

TEST(ActivityLog, TextsAreAppendedAsTheyStandAndInOrderOnceTheMainThreadRuns) {
  FakeMac mac;
  mac.delegate->log = "before\n";
  std::string expected = mac.delegate->log;
  for (const std::string text : {"", "no line end, 100% @", "\n", "line\n"}) {
    logText(mac.mainQueue, mac.delegate, text);
    expected += text;
  }
  EXPECT_EQ(mac.delegate->log, "before\n");
  mac.mainQueue.run();
  EXPECT_EQ(mac.delegate->log, expected);
}

std::string loggedError(const std::string &domain, long code) {
  FakeMac mac;
  logError(mac.mainQueue, mac.delegate, {.domain = domain, .code = code, .localizedDescription = "not shown"});
  mac.mainQueue.run();
  return mac.delegate->log;
}

TEST(ActivityLog, AnErrorsLineHoldsItsDomainAndTheLow32BitsOfItsCodeAsASignedNumber) {
  EXPECT_EQ(loggedError("NSPOSIXErrorDomain", 13), "error NSPOSIXErrorDomain / 13\n");
  EXPECT_EQ(loggedError("NSOSStatusErrorDomain", -1), "error NSOSStatusErrorDomain / -1\n");
  EXPECT_EQ(loggedError("d", 0x1'0000'0005L), "error d / 5\n");
  EXPECT_EQ(loggedError("d", 0x8000'0000L), "error d / -2147483648\n");
}

}  // namespace

}  // namespace quillmark
