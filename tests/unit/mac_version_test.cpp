#include "probes/mac_version.hpp"

#include <gtest/gtest.h>

#include <stdexcept>

#include "support/fake_mac.hpp"
#include "support/installed.hpp"

namespace quillmark {

namespace {

using fake::FakeShellTask;
using fake::Journal;
using fake::releaseCommand;

class MacVersion : public testing::Test {
 protected:
  std::optional<std::string> answer(const std::string &releaseOutput) {
    shell_.outputs[releaseCommand] = releaseOutput;
    return getMacVersion(shell_);
  }

  std::optional<std::string> answer(const std::string &releaseOutput, const std::string &processorOutput) {
    shell_.outputs["uname -m"] = processorOutput;
    return answer(releaseOutput);
  }

  Journal journal_;
  FakeShellTask shell_{journal_};
};

TEST_F(MacVersion, BigSurAndMontereyAskForTheProcessorAndAnyThatIsNotIntelsIsOsM1) {
  for (const std::string release : {"Big Sur\n", "Monterey\n"}) {
    journal_.clear();
    EXPECT_EQ(answer(release, "x86_64\n"), "osIntel");
    EXPECT_EQ(journal_, (Journal{"sh " + releaseCommand, "sh uname -m"}));
    for (const std::string processor : {"arm64", "i386", "x86_64h", "X86_64", " x86_64", "x86_64\xFF"}) {
      EXPECT_EQ(answer(release, processor + "\n"), "osM1") << processor;
    }
  }
}

TEST_F(MacVersion, AnyOtherReleaseIsItsOwnNameButForTheLastCharacterAndTheProcessorIsNeverAsked) {
  for (const std::string release : {"Mojave", "Sonoma", "A Release To Come", "big sur", "Big Sur ", "Big Sur\r",
                                    " Big Sur", "BigSur", "Monterey ", "Big Sur\nBig Sur", "  Sonoma \n", ""}) {
    journal_.clear();
    EXPECT_EQ(answer(release + "\n"), release);
    EXPECT_EQ(answer(release + "\u00e9"), release);
    EXPECT_EQ(journal_, Journal(2, "sh " + releaseCommand)) << "each call runs the shell again";
  }
}

TEST_F(MacVersion, EmptyReleaseOutputIsOutOfRange) { EXPECT_THROW(answer(""), std::out_of_range); }

TEST_F(MacVersion, EmptyProcessorOutputIsOutOfRange) { EXPECT_THROW(answer("Big Sur\n", ""), std::out_of_range); }

TEST_F(MacVersion, ReleaseOutputThatIsNotUTF8IsANullResult) {
  EXPECT_EQ(answer("Big Sur\xFF\n"), std::nullopt);
  EXPECT_EQ(journal_, Journal{"sh " + releaseCommand});
}

TEST_F(MacVersion, AShellThatCannotBeStartedIsReportedAsItsOwnException) {
  shell_.shellIsMissing = true;
  EXPECT_THROW((void)getMacVersion(shell_), TaskLaunchError);
}

}  // namespace

}  // namespace quillmark
