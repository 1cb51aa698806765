#include "helper-client/command_channel.hpp"

#include <cstdlib>

#include "fuzz/subject.hpp"
#include "install/helper_installation.hpp"
#include "support/fake_mac.hpp"

namespace quillmark::fuzz {

namespace {

/// The error that a text stands for: its code, in decimal, and then its domain.
Error errorOf(const std::string &text) {
  char *domain = nullptr;
  const long code = std::strtol(text.c_str(), &domain, 10);
  return {.domain = text.substr(static_cast<std::size_t>(domain - text.c_str())),
          .code = code,
          .localizedDescription = "not for the log"};
}

/// Its line in the log, with the low 32 bits of the code in two's complement.
std::string lineOf(const Error &error) {
  return "error " + error.domain + " / " + std::to_string(static_cast<std::int32_t>(error.code)) + "\n";
}

/// What the helper and its connection may do at any time, and what the installer must show of it.
class Session {
 public:
  void act(char what, const std::string &text) {
    switch (what) {
      case 'v':
        return send([this] { getVersionAction(mac_.mac(), mac_.delegate); });
      case 'b':
        return send([this] { bindAction(mac_.mac(), mac_.delegate); });
      case 'i':
        return send([this] { installQuillmarkApplication2(mac_.mac(), mac_.delegate); });
      case 'a':
        return answer(std::nullopt, text);
      case 'e':
        return answer(errorOf(text), text);
      case 'd':
        return fail(errorOf(text));
      case 'x':
        return invalidate();
      case 'r':
        return serveMainQueue();
      default:
        break;
    }
  }

  void finish() {
    serveMainQueue();
    EXPECT_EQ(mac_.helperConnections.helper.connections, connections_);
    EXPECT_EQ(mac_.delegate->installed, installed_) << "only an installation that succeeded shows";
    EXPECT_FALSE(fake::contains(mac_.journal, "terminate")) << "nothing that a helper answers ends it";
    EXPECT_TRUE(mac_.alertPanel.shown.empty());
    for (const std::string &line : mac_.journal) {
      EXPECT_FALSE(line.rfind("send ", 0) == 0 && line.find(" with ") != std::string::npos)
          << "nothing carries an authorization: " << line;
    }
  }

 private:
  template <typename Send>
  void send(Send command) {
    if (connection_ == Connection::none) {
      connection_ = Connection::live;
      ++connections_;
    }
    const auto waiting = mac_.helperConnections.helper.sent.size();
    command();
    EXPECT_EQ(mac_.helperConnections.helper.sent.size(), waiting + 1);
  }

  /// The oldest message that waits, or one without any answer.
  fake::FakeHelper::Message take() {
    auto &sent = mac_.helperConnections.helper.sent;
    if (sent.empty()) return {};
    const auto message = sent.front();
    sent.pop_front();
    return message;
  }

  void answer(const std::optional<Error> &error, const std::string &text) {
    const auto message = take();
    if (message.version) {
      const bool isNil = text.empty() && !error;
      message.version(isNil ? std::nullopt : std::optional(text));
      expected_ += "version = " + (isNil ? "(null)" : text) + "\n";
    } else if (message.bind) {
      const auto port = static_cast<int>(text.size());
      message.bind(error, port, -1);
      expected_ += error ? lineOf(*error) : "IPv4 = " + std::to_string(port) + ", IPv6 = 4294967295\n";
    } else if (message.install) {
      message.install(error);
      expected_ += error ? lineOf(*error) : "success\n";
      if (!error) installed_ = true;
    }
  }

  void fail(const Error &error) {
    const auto message = take();
    if (!message.errorHandler) return;
    message.errorHandler(error);
    expected_ += lineOf(error);
  }

  void invalidate() {
    const auto connection = mac_.delegate->connection;
    if (connection == nullptr) return;
    dynamic_cast<fake::FakeHelperConnection &>(*connection).invalidate();
    if (connection_ != Connection::live) return;
    invalidated_ = true;
    connection_ = Connection::dead;
  }

  void serveMainQueue() {
    mac_.mainQueue.run();
    // What was asked of the main queue while it ran comes last: it is the letting go that logs this line.
    if (invalidated_) expected_ += "connection invalidated\n";
    if (connection_ == Connection::dead) connection_ = Connection::none;
    invalidated_ = false;
    EXPECT_EQ(mac_.delegate->log, expected_);
    EXPECT_EQ(mac_.delegate->connection != nullptr, connection_ == Connection::live);
  }

  fake::FakeMac mac_;
  enum class Connection { none, live, dead } connection_ = Connection::none;
  bool invalidated_ = false;
  bool installed_ = false;
  int connections_ = 0;
  std::string expected_;
};

}  // namespace

// An act a text: its letter, and then what is said.
void check(const Texts &texts) {
  Session session;
  for (const std::string &text : texts) {
    if (!text.empty()) session.act(text[0], text.substr(1));
  }
  session.finish();
}

}  // namespace quillmark::fuzz
