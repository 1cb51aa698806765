#include "helper-client/command_channel.hpp"

#include <gtest/gtest.h>

#include <atomic>
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

TEST_F(CommandChannel, TheCommandIsRunInsideTheCallWithoutAnErrorOnceConnected) {
  bool ran = false;
  connectAndExecuteCommandBlock(mac_.mac(), mac_.delegate, [&](const std::optional<Error> &error) {
    ran = true;
    EXPECT_FALSE(error);
    EXPECT_NE(mac_.delegate->connection, nullptr);
  });
  EXPECT_TRUE(ran);
}

// The three states of the channel, and what each event does in them.

TEST_F(CommandChannel, NoConnection_ACommandMakesOneAndSends) {
  requestVersion();
  EXPECT_EQ(mac_.journal, (connecting(1) + Journal{"connection 1 remoteObjectProxy", "send getVersion"}));
}

TEST_F(CommandChannel, Connected_TwoCommandsInARowUseOneConnection) {
  requestVersion();
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

TEST_F(CommandChannel, Connected_AReplyLeavesTheConnectionInPlace) {
  requestVersion();
  takeSent().version("1.0");
  mac_.mainQueue.run();
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

TEST_F(CommandChannel, Invalidated_AReplyThatWasUnderWayIsStillLogged) {
  requestVersion();
  const auto message = takeSent();
  invalidate();
  message.version("1.0");
  EXPECT_EQ(log(), "version = 1.0\nconnection invalidated\n");
}

TEST_F(CommandChannel, NoConnectionAgain_AReplyThatWasUnderWayIsStillLogged) {
  requestVersion();
  const auto message = takeSent();
  invalidate();
  mac_.mainQueue.run();
  message.version("1.0");
  EXPECT_EQ(log(), "connection invalidated\nversion = 1.0\n");
}

TEST_F(CommandChannel, Invalidated_ASecondInvalidationDoesNothing) {
  connect();
  invalidate();
  invalidate();
  EXPECT_EQ(log(), "connection invalidated\n");
}

TEST_F(CommandChannel, NoConnectionAgain_TheNextCommandMakesANewOneAndLogsNothingAboutTheOld) {
  connect();
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

TEST_F(CommandChannel, AVersionReplyIsLogged) {
  requestVersion();
  takeSent().version("1.2.3");
  EXPECT_EQ(log(), "version = 1.2.3\n");
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

TEST_F(CommandChannel, ABindReplyLogsTheFirstDescriptorSignedAndTheSecondUnsigned) {
  bind();
  takeSent().bind(std::nullopt, 5, 6);
  EXPECT_EQ(log(), "IPv4 = 5, IPv6 = 6\n");
  bind();
  takeSent().bind(std::nullopt, -1, -1);
  EXPECT_EQ(log(), "IPv4 = 5, IPv6 = 6\nIPv4 = -1, IPv6 = 4294967295\n");
}

TEST_F(CommandChannel, ABindReplyThatCarriesAnErrorLogsOnlyTheErrorLine) {
  bind();
  takeSent().bind(Error{.domain = "NSPOSIXErrorDomain", .code = 1, .localizedDescription = ""}, 5, 6);
  EXPECT_EQ(log(), "error NSPOSIXErrorDomain / 1\n");
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

  // One proxy for each thread: what is tested is the answers' road, and sending belongs to the main thread.
  std::vector<fake::FakeHelper::Message> messages;
  for (int thread = 0; thread < threads; ++thread) {
    requestVersion();
    messages.push_back(takeSent());
  }
  std::atomic<int> ready = 0;
  std::vector<std::thread> workers;
  for (int thread = 0; thread < threads; ++thread) {
    workers.emplace_back([&, thread] {
      ++ready;
      while (ready < threads) std::this_thread::yield();
      for (int answer = 0; answer < answersPerThread; ++answer) {
        if (answer % 2 == 0) {
          messages[thread].version(std::to_string(thread) + " " + std::to_string(answer));
        } else {
          messages[thread].errorHandler({.domain = std::to_string(thread), .code = answer, .localizedDescription = ""});
        }
      }
    });
  }
  connection->invalidate();
  while (ready < threads) std::this_thread::yield();
  for (std::thread &worker : workers) worker.join();

  const std::string text = log();
  std::vector<int> next(threads, 0);
  int invalidations = 0;
  std::size_t begin = 0;
  for (std::size_t end = text.find('\n'); end != std::string::npos; begin = end + 1, end = text.find('\n', begin)) {
    const std::string line = text.substr(begin, end - begin);
    int thread = -1;
    int answer = -1;
    if (line == "connection invalidated") {
      ++invalidations;
    } else if (std::sscanf(line.c_str(), "version = %d %d", &thread, &answer) == 2 ||
               std::sscanf(line.c_str(), "error %d / %d", &thread, &answer) == 2) {
      EXPECT_EQ(answer, next.at(thread)++);
    } else {
      ADD_FAILURE() << line;
    }
  }
  EXPECT_EQ(invalidations, 1);
  for (int thread = 0; thread < threads; ++thread) EXPECT_EQ(next.at(thread), answersPerThread);
  EXPECT_EQ(mac_.delegate->connection, nullptr);
}

}  // namespace

}  // namespace quillmark
