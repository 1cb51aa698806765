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

TEST_F(MacVersion, BigSurAndMontereyOnIntelAreOsIntel) {
  EXPECT_EQ(answer("Big Sur\n", "x86_64\n"), "osIntel");
  EXPECT_EQ(answer("Monterey\n", "x86_64\n"), "osIntel");
}

TEST_F(MacVersion, BigSurAndMontereyOnAppleSiliconAreOsM1) {
  EXPECT_EQ(answer("Big Sur\n", "arm64\n"), "osM1");
  EXPECT_EQ(answer("Monterey\n", "arm64\n"), "osM1");
}

TEST_F(MacVersion, AnyOtherReleaseAnswersItsOwnNameAndTheProcessorIsNeverAsked) {
  for (const std::string release : {"Mojave", "Ventura", "Sonoma", "Sequoia", "A Release To Come"}) {
    journal_.clear();
    EXPECT_EQ(answer(release + "\n"), release);
    EXPECT_EQ(journal_, Journal{"sh " + releaseCommand});
  }
}

TEST_F(MacVersion, TheReleaseCommandIsRunBeforeTheProcessorCommand) {
  answer("Big Sur\n", "x86_64\n");
  EXPECT_EQ(journal_, (Journal{"sh " + releaseCommand, "sh uname -m"}));
}

TEST_F(MacVersion, TheComparisonIsExact) {
  for (const std::string almost : {"big sur", "Big Sur ", "Big Sur\r", " Big Sur", "BigSur", "monterey", "Monterey "}) {
    EXPECT_EQ(answer(almost + "\n"), almost);
  }
}

TEST_F(MacVersion, ARepeatedHeadingKeepsItsEmbeddedLineFeedAndMatchesNoRelease) {
  EXPECT_EQ(answer("Big Sur\nBig Sur\n"), "Big Sur\nBig Sur");
}

TEST_F(MacVersion, EmptyReleaseOutputIsOutOfRange) { EXPECT_THROW(answer(""), std::out_of_range); }

TEST_F(MacVersion, EmptyProcessorOutputIsOutOfRange) { EXPECT_THROW(answer("Big Sur\n", ""), std::out_of_range); }

TEST_F(MacVersion, ReleaseOutputThatIsNotUTF8IsANullResult) {
  EXPECT_EQ(answer("Big Sur\xFF\n"), std::nullopt);
  EXPECT_EQ(journal_, Journal{"sh " + releaseCommand});
}

TEST_F(MacVersion, ProcessorOutputThatIsNotUTF8IsOsM1) { EXPECT_EQ(answer("Monterey\n", "x86_64\xFF\n"), "osM1"); }

TEST_F(MacVersion, AProcessorOtherThanX86_64IsOsM1) {
  for (const std::string processor : {"arm64", "i386", "x86_64h", "X86_64", " x86_64", "ppc"}) {
    EXPECT_EQ(answer("Big Sur\n", processor + "\n"), "osM1") << processor;
  }
}

TEST_F(MacVersion, OnlyTheLastCharacterIsDropped) {
  EXPECT_EQ(answer("  Sonoma \n\n"), "  Sonoma \n");
  EXPECT_EQ(answer("\n"), "");
  EXPECT_EQ(answer("Sonoma\u00e9"), "Sonoma");
}

TEST_F(MacVersion, EveryCallRunsTheShellAgain) {
  answer("Sonoma\n");
  EXPECT_EQ(answer("Sequoia\n"), "Sequoia");
  EXPECT_EQ(journal_.size(), 2U);
}

TEST_F(MacVersion, AShellThatCannotBeStartedIsReportedAsItsOwnException) {
  shell_.shellIsMissing = true;
  EXPECT_THROW((void)getMacVersion(shell_), TaskLaunchError);
}

}  // namespace

}  // namespace quillmark
