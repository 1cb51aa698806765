// Two file operations fail at once, or a shell prints something else: what lies there afterwards, what the console says
// and what comes last is what the torture tests' model of an installation says, which knows nothing of this code. The
// table is made by tests/torture/failures.py.

#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <stdexcept>
#include <string>
#include <string_view>
#include <tuple>

#include "install/installation.hpp"
#include "platform/foundation.hpp"
#include "support/fake_mac.hpp"
#include "support/installed.hpp"

namespace quillmark {

namespace {

using namespace std::string_view_literals;
using fake::FakeMac;

struct Row {
  /// Two operations, or none.
  std::array<std::string_view, 2> failing;
  bool managed;
  std::string_view release;
  std::string_view processor;
  /// Every path with what is there, every line of the console, and what came last.
  std::string_view end;
};

// Views, because a table of strings takes minutes to compile.
constexpr Row rows[] = {
#include "failures.inc"
};

class Failures : public testing::Test {
 protected:
  Failures() {
    fake::expectShellCommands(mac_);
    for (const std::string copy : {"/Applications/Quillmark.app", "/Users/ann/Applications/Quillmark.app"}) {
      mac_.fileManager.addFile(copy + "/old", "old");
    }
    mac_.fileManager.addFile("/Users/ann/Quillmark_Components/old", "old");
    mac_.fileManager.addFile("/var/folders/T/QuillmarkGuard", "old");
  }

  /// What came last.
  std::string install(bool managed) {
    if (managed) mac_.userDefaults.values = {{"partnerID", "P1"}, {"teamID", "T2"}};
    try {
      managed ? installQuillmarkApplicationRMM(mac_.mac(), mac_.delegate)
              : installQuillmarkApplication(mac_.mac(), mac_.delegate);
    } catch (const std::out_of_range &) {
      return "std::out_of_range";
    } catch (const TaskLaunchError &) {
      return "TaskLaunchError";
    }
    return mac_.journal.back();
  }

  [[nodiscard]] std::string endingWith(const std::string &last) const {
    std::string text;
    for (const std::string &path : mac_.fileManager.tree("/")) {
      text += path + ": " + *mac_.fileManager.at(path) + "\n";
    }
    for (const std::string &line : mac_.console.lines) text += "console " + line + "\n";
    return text + last;
  }

  FakeMac mac_;
};

/// A row of the table.
class EachRow : public Failures, public testing::WithParamInterface<Row> {};

TEST_P(EachRow, EndsAsTheModelSays) {
  const Row &row = GetParam();
  mac_.fileManager.failing = {row.failing.begin(), row.failing.end()};
  mac_.shellTask.outputs[fake::releaseCommand] = row.release;
  mac_.shellTask.outputs["uname -m"] = row.processor;
  const std::string last = install(row.managed);
  EXPECT_EQ(endingWith(last), row.end);
  for (const std::string &operation : mac_.fileManager.failing) {
    if (!operation.empty() && operation != "remove /Users/ann/Quillmark_Components" &&
        operation != "create /Users/ann/Quillmark_Components") {
      EXPECT_TRUE(fake::contains(mac_.journal, operation)) << operation << " was not asked for";
    }
  }
}

INSTANTIATE_TEST_SUITE_P(Failures, EachRow, testing::ValuesIn(rows),
                         [](const auto &info) { return std::to_string(info.index); });

/// Whether the installation is managed, and the command whose shell does not start.
class NoShell : public Failures, public testing::WithParamInterface<std::tuple<bool, std::string>> {};

TEST_P(NoShell, EndsAnInstallationAtThatCommand) {
  const auto &[managed, command] = GetParam();
  if (command == "uname -m") mac_.shellTask.outputs[fake::releaseCommand] = "Monterey\n";
  mac_.shellTask.notStarting = {command};
  EXPECT_EQ(install(managed), managed ? "terminate" : "TaskLaunchError");
  const auto start = std::find(mac_.journal.begin(), mac_.journal.end(), "sh " + command);
  fake::Journal after = {"sh " + command};
  if (managed) after.insert(after.end(), {"console launch path not accessible", "terminate"});
  EXPECT_EQ(fake::Journal(start, mac_.journal.end()), after);
}

INSTANTIATE_TEST_SUITE_P(Failures, NoShell,
                         testing::Combine(testing::Bool(),
                                          testing::Values(fake::releaseCommand, "uname -m", fake::shellCopy)),
                         [](const auto &info) { return std::to_string(info.index); });

}  // namespace

}  // namespace quillmark
