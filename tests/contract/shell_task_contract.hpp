#pragma once

#include <gtest/gtest.h>

#include <memory>
#include <string>

#include "platform/foundation.hpp"

namespace quillmark::contract {

/// A shell task. `expect` tells a fake what the shell would print; the real one runs the command anyway.
class ShellTaskSubject {
 public:
  virtual ~ShellTaskSubject() = default;
  virtual ShellTask &task() = 0;
  virtual void expect(const std::string &command, const std::string &output) = 0;
};

using MakeShellTaskSubject = std::unique_ptr<ShellTaskSubject> (*)();

class ShellTaskContract : public testing::TestWithParam<MakeShellTaskSubject> {
 protected:
  std::optional<std::string> run(const std::string &command, const std::string &output) {
    subject_->expect(command, output);
    return subject_->task().standardOutput(command);
  }

 private:
  std::unique_ptr<ShellTaskSubject> subject_ = GetParam()();
};

TEST_P(ShellTaskContract, AllThatTheCommandPrintsIsReadWhateverItsStatus) {
  EXPECT_EQ(run("echo one; echo; echo two", "one\n\ntwo\n"), "one\n\ntwo\n");
  EXPECT_EQ(run("printf '\\303\\251t\\303\\251'; exit 3", "\u00e9t\u00e9"), "\u00e9t\u00e9");
  EXPECT_EQ(run("no-such-command-anywhere 2>/dev/null", ""), "");
}

TEST_P(ShellTaskContract, OutputThatIsNotUTF8IsNothing) {
  EXPECT_EQ(run("printf 'Big Sur\\377\\n'", "Big Sur\xFF\n"), std::nullopt);
  EXPECT_EQ(run("printf 'Big Sur\\303'", "Big Sur\xC3"), std::nullopt);
}

}  // namespace quillmark::contract
