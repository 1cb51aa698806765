#include "rights/rights_catalogue.hpp"

#include "fuzz/subject.hpp"
#include "support/fake_mac.hpp"

namespace quillmark::fuzz {

namespace {

const std::string installRight = "com.example.apple-samplecode.EBAS.install";
const std::string bindRight = "com.example.apple-samplecode.EBAS.startWebService2";

/// What is to be asked and set for one right.
void expectRegistration(fake::Journal &expected, const std::string &right, Status status, const std::string &rule,
                        const std::string &description) {
  expected.push_back("get " + right);
  if (status == -60005) expected.push_back("set " + right + " to " + rule + " \"" + description + "\" of Common");
}

}  // namespace

// The two translations, what the database says of the two rights and of its being written to, and a command.
void check(const Texts &texts) {
  fake::FakeBundle bundle;
  bundle.translations = {{"Install Quillmark is trying to install its components.", at(texts, 0)},
                         {"EBAS is trying to start its web service.", at(texts, 1)}};
  const RightsCatalogue catalogue = makeRightsCatalogue({.install = "install", .bindToLowNumberPort = "bind"}, bundle);

  fake::FakeAuthorizationDatabase database;
  const auto install = static_cast<Status>(std::strtol(at(texts, 2).c_str(), nullptr, 10));
  const auto bind = static_cast<Status>(std::strtol(at(texts, 3).c_str(), nullptr, 10));
  database.statuses = {{installRight, install}, {bindRight, bind}};
  database.setStatus = static_cast<Status>(std::strtol(at(texts, 4).c_str(), nullptr, 10));
  setupAuthorizationRights(catalogue, database, nullptr);

  fake::Journal expected;
  expectRegistration(expected, installRight, install, "allow", at(texts, 0));
  expectRegistration(expected, bindRight, bind, "authenticate-admin", at(texts, 1));
  EXPECT_EQ(database.journal, expected) << "no text changes a right's name or its rule";

  const std::string command = at(texts, 5);
  const auto right = authorizationRightForCommand(catalogue, command);
  EXPECT_EQ(right.has_value(), command == "install" || command == "bind") << command;
}

}  // namespace quillmark::fuzz
