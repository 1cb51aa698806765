#include "helper-client/command_channel.hpp"

#include <gtest/gtest.h>

#include <sstream>
#include <thread>

#include "support/fake_mac.hpp"

namespace quillmark {

namespace {

using fake::FakeHelperConnection;
using fake::FakeMac;
using fake::Journal;

const Error invalid = {.domain = "NSCocoaErrorDomain", .code = 4099, .localizedDescription = "invalidated"};

Journal connecting(int number) {
  const std::string connection = "connection " + std::to_string(number);
  return {"privilegedConnection com.quillmark.customInstaller.Helper", "helperToolConnection is set",
          connection + " setRemoteObjectInterface", connection + " setInvalidationHandler", connection + " resume"};
}

Journal operator+(Journal first, const Journal &second) {
  first.insert(first.end(), second.begin(), second.end());
  return first;
}

class CommandChannel : public testing::Test {
 protected:
  void connect() { connectToHelperTool(mac_.mac(), mac_.delegate); }
  void requestVersion() { getVersionAction(mac_.mac(), mac_.delegate); }
  void bind() { bindAction(mac_.mac(), mac_.delegate); }

  /// As the platform does on the connection's queue.
  void invalidate() { std::dynamic_pointer_cast<FakeHelperConnection>(mac_.delegate->connection)->invalidate(); }

  fake::FakeHelper::Message takeSent() {
    auto message = mac_.helperConnections.helper.sent.front();
    mac_.helperConnections.helper.sent.pop_front();
    return message;
  }

  std::string log() {
    mac_.mainQueue.run();
    return mac_.delegate->log;
  }

  FakeMac mac_;
};

TEST_F(CommandChannel, ConnectingStoresThenPreparesThenResumesAPrivilegedConnection) {
  connect();
  EXPECT_EQ(mac_.journal, connecting(1));
}

// The three states of the channel, and what each event does in them.

TEST_F(CommandChannel, Connected_TwoCommandsInARowUseOneConnection) {
  requestVersion();
  EXPECT_EQ(mac_.journal, (connecting(1) + Journal{"connection 1 remoteObjectProxy", "send getVersion"}));
  mac_.journal.clear();
  connect();
  EXPECT_TRUE(mac_.journal.empty()) << "the second call creates nothing";
  bind();
  EXPECT_EQ(mac_.journal, (Journal{"connection 1 remoteObjectProxy", "send bind"}));
  EXPECT_EQ(mac_.helperConnections.helper.connections, 1);
}

TEST_F(CommandChannel, Connected_AnInvalidationClearsTheHandlerFirstThenPostsTheReset) {
  connect();
  mac_.journal.clear();
  invalidate();
  EXPECT_EQ(mac_.journal, (Journal{"connection 1 clears its invalidation handler", "addOperation"}));
  EXPECT_NE(mac_.delegate->connection, nullptr) << "the field is written on the main thread only";
}

TEST_F(CommandChannel, Connected_AReplyIsLoggedAndLeavesTheConnectionInPlace) {
  requestVersion();
  takeSent().version("1.0");
  EXPECT_EQ(log(), "version = 1.0\n");
  EXPECT_NE(mac_.delegate->connection, nullptr);
}

TEST_F(CommandChannel, Invalidated_TheResetOnTheMainQueueClearsTheFieldAndThenLogs) {
  connect();
  invalidate();
  mac_.journal.clear();
  EXPECT_EQ(log(), "connection invalidated\n");
  EXPECT_EQ(mac_.delegate->connection, nullptr);
  EXPECT_EQ(mac_.journal, (Journal{"helperToolConnection = nil", "addOperation"}));
}

TEST_F(CommandChannel, Invalidated_ACommandBeforeTheResetReusesTheDeadConnectionAndFailsThroughTheErrorHandler) {
  connect();
  invalidate();
  requestVersion();
  EXPECT_EQ(mac_.helperConnections.helper.connections, 1);
  takeSent().errorHandler(invalid);
  EXPECT_EQ(log(), "error NSCocoaErrorDomain / 4099\nconnection invalidated\n");
}

TEST_F(CommandChannel, RepliesThatWereUnderWayAreStillLoggedBeforeAndAfterTheReset) {
  requestVersion();
  requestVersion();
  invalidate();
  takeSent().version("1.0");
  mac_.mainQueue.run();
  takeSent().version("1.1");
  EXPECT_EQ(log(), "version = 1.0\nconnection invalidated\nversion = 1.1\n");
}

TEST_F(CommandChannel, NoConnectionAgain_TheNextCommandMakesANewOneAndLogsNothingAboutTheOld) {
  connect();
  invalidate();
  invalidate();
  ASSERT_EQ(log(), "connection invalidated\n");
  mac_.journal.clear();
  requestVersion();
  EXPECT_EQ(mac_.journal, (connecting(2) + Journal{"connection 2 remoteObjectProxy", "send getVersion"}));
  EXPECT_EQ(log(), "connection invalidated\n");
}

TEST_F(CommandChannel, TheHandlerHoldsTheDelegateUntilTheResetHasRun) {
  const std::weak_ptr<Delegate> delegate = mac_.delegate;
  connect();
  const auto connection = std::dynamic_pointer_cast<FakeHelperConnection>(mac_.delegate->connection);
  mac_.delegate.reset();
  EXPECT_FALSE(delegate.expired());
  connection->invalidate();
  EXPECT_FALSE(delegate.expired());
  mac_.mainQueue.run();
  EXPECT_TRUE(delegate.expired());
}

TEST_F(CommandChannel, AReplyWithoutAVersionLogsTheNullPlaceholder) {
  requestVersion();
  takeSent().version(std::nullopt);
  EXPECT_EQ(log(), "version = (null)\n");
}

TEST_F(CommandChannel, WithTheHelperMissingAnErrorLineAndConnectionInvalidatedAppearInThePlatformsOrder) {
  requestVersion();
  takeSent().errorHandler(invalid);
  invalidate();
  EXPECT_EQ(log(), "error NSCocoaErrorDomain / 4099\nconnection invalidated\n");

  requestVersion();
  invalidate();
  takeSent().errorHandler(invalid);
  EXPECT_EQ(log(),
            "error NSCocoaErrorDomain / 4099\nconnection invalidated\n"
            "error NSCocoaErrorDomain / 4099\nconnection invalidated\n");
  EXPECT_FALSE(fake::contains(mac_.journal, "terminate"));
  EXPECT_TRUE(mac_.alertPanel.shown.empty());
}

TEST_F(CommandChannel, ABindReplyLogsTheFirstDescriptorSignedAndTheSecondUnsignedOrItsErrorOnly) {
  for (int request = 0; request < 3; ++request) bind();
  takeSent().bind(std::nullopt, 5, 6);
  takeSent().bind(std::nullopt, -1, -1);
  takeSent().bind(Error{.domain = "NSPOSIXErrorDomain", .code = 1, .localizedDescription = ""}, 5, 6);
  EXPECT_EQ(log(), "IPv4 = 5, IPv6 = 6\nIPv4 = -1, IPv6 = 4294967295\nerror NSPOSIXErrorDomain / 1\n");
}

TEST_F(CommandChannel, BindCarriesTheDelegatesAuthorization) {
  mac_.delegate->externalAuthorization = std::make_shared<fake::FakeData>("<0badcafe>");
  bind();
  EXPECT_EQ(mac_.journal.back(), "send bind with <0badcafe>");
}

TEST_F(CommandChannel, AnInvalidationThatFindsTheFieldEmptyStillPostsTheReset) {
  connect();
  const auto connection = std::dynamic_pointer_cast<FakeHelperConnection>(mac_.delegate->connection);
  mac_.delegate->connection = nullptr;
  connection->invalidate();
  EXPECT_EQ(log(), "connection invalidated\n");
  connection->setInvalidationHandler(nullptr);  // nobody else lets go of the delegate
}

TEST_F(CommandChannel, ACommandThatFindsTheFieldEmptySendsNothing) {
  connect();
  const auto connection = std::dynamic_pointer_cast<FakeHelperConnection>(mac_.delegate->connection);
  mac_.delegate->forgetsConnections = true;
  mac_.delegate->connection = nullptr;
  requestVersion();
  bind();
  EXPECT_TRUE(mac_.helperConnections.helper.sent.empty());
  EXPECT_EQ(log(), "");
  connection->setInvalidationHandler(nullptr);
}

// Replies, errors and invalidations from many threads at once: nothing is lost, and each thread's order is kept.
TEST_F(CommandChannel, AHundredThousandAnswersFromManyThreadsAllAppearInEachThreadsOrder) {
  constexpr int threads = 8;
  constexpr int answersPerThread = 12500;
  connect();
  const auto connection = std::dynamic_pointer_cast<FakeHelperConnection>(mac_.delegate->connection);

  // Sending belongs to the main thread: each thread answers a message of its own, over and over.
  std::vector<std::thread> workers;
  std::vector<std::string> expected(threads);
  for (int thread = 0; thread < threads; ++thread) {
    const std::string name = std::to_string(thread);
    for (int answer = 0; answer < answersPerThread; ++answer) {
      const std::string number = std::to_string(answer);
      expected[thread] += answer % 2 == 0 ? "version = " + name + " / " + number : "error " + name + " / " + number;
      expected[thread] += "\n";
    }
    requestVersion();
    workers.emplace_back([name, message = takeSent()] {
      for (int answer = 0; answer < answersPerThread; ++answer) {
        if (answer % 2 == 0) {
          message.version(name + " / " + std::to_string(answer));
        } else {
          message.errorHandler({.domain = name, .code = answer, .localizedDescription = ""});
        }
      }
    });
  }
  connection->invalidate();
  for (std::thread &worker : workers) worker.join();

  std::istringstream lines(log());
  std::vector<std::string> logged(threads);
  int invalidations = 0;
  for (std::string line; std::getline(lines, line);) {
    if (line == "connection invalidated") {
      ++invalidations;
    } else {
      logged.at(line[line.find(" / ") - 1] - '0') += line + "\n";
    }
  }
  EXPECT_EQ(invalidations, 1);
  EXPECT_TRUE(logged == expected) << "lines are lost, changed or out of order";
  EXPECT_EQ(mac_.delegate->connection, nullptr);
}

}  // namespace

}  // namespace quillmark
