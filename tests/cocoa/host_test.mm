// What the stand-ins keep GNUstep from doing to a development host.

#include <gtest/gtest.h>
#include <unistd.h>

#include <csignal>

namespace {

TEST(Signals, WhatGNUstepWouldCatchEndsTheApplication) {
  for (const int number : {SIGINT, SIGTERM}) {
    EXPECT_EXIT(
        {
          (void)signal(number, [](int) {});
          (void)raise(number);
          _exit(0);
        },
        testing::KilledBySignal(number), "");
  }
}

}  // namespace
