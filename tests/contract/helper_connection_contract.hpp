#pragma once

#include <gtest/gtest.h>

#include <memory>
#include <string>
#include <thread>
#include <vector>

#include "platform/helper_connection.hpp"

namespace quillmark::contract {

/// A connection that has been resumed to a helper whose versions are "1", "2" and so on. What the platform does is done
/// before the call returns.
class HelperConnectionSubject {
 public:
  virtual ~HelperConnectionSubject() = default;
  virtual HelperConnection &connection() = 0;
  virtual void answer() = 0;
  virtual void invalidate() = 0;
};

using MakeHelperConnectionSubject = std::unique_ptr<HelperConnectionSubject> (*)();

class HelperConnectionContract : public testing::TestWithParam<MakeHelperConnectionSubject> {
 protected:
  HelperConnection &connection() { return subject_->connection(); }

  std::unique_ptr<HelperConnectionSubject> subject_ = GetParam()();
};

TEST_P(HelperConnectionContract, RepliesArriveInOrderOnAThreadThatIsNotTheSenders) {
  std::vector<std::string> versions;
  const auto helper = connection().remoteObjectProxy([](const Error &error) { ADD_FAILURE() << error.domain; });
  for (int message = 0; message < 2; ++message) {
    helper->getVersion([&, sender = std::this_thread::get_id()](const std::optional<std::string> &version) {
      EXPECT_NE(std::this_thread::get_id(), sender);
      versions.push_back(*version);
    });
  }
  subject_->answer();
  EXPECT_EQ(versions, (std::vector<std::string>{"1", "2"}));
}

TEST_P(HelperConnectionContract, AnInvalidationHandlerThatIsClearedIsLetGoOfAndNeverRun) {
  auto held = std::make_shared<int>();
  const std::weak_ptr<int> weak = held;
  connection().setInvalidationHandler([held] { ADD_FAILURE() << "it was cleared"; });
  held.reset();
  connection().setInvalidationHandler(nullptr);
  EXPECT_TRUE(weak.expired());
  subject_->invalidate();
}

TEST_P(HelperConnectionContract, AnInvalidationHandlerThatClearsItselfRunsOnceOnAnotherThreadAndStaysWholeMeanwhile) {
  int runs = 0;
  auto held = std::make_shared<int>();
  const std::weak_ptr<int> weak = held;
  connection().setInvalidationHandler([&, held, mainThread = std::this_thread::get_id()] {
    connection().setInvalidationHandler(nullptr);
    EXPECT_FALSE(weak.expired());
    EXPECT_NE(std::this_thread::get_id(), mainThread);
    ++runs;
  });
  held.reset();
  subject_->invalidate();
  subject_->invalidate();
  EXPECT_EQ(runs, 1);
  EXPECT_TRUE(weak.expired());
}

}  // namespace quillmark::contract
