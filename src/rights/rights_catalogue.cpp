#include "rights/rights_catalogue.hpp"

#include "platform/foundation.hpp"
#include "platform/ignore.hpp"

namespace quillmark {

namespace {

// kAuthorizationRuleClassAllow and kAuthorizationRuleAuthenticateAsAdmin of <Security/AuthorizationDB.h>.
const char *const allow = "allow";
const char *const authenticateAsAdmin = "authenticate-admin";

}  // namespace

RightsCatalogue makeRightsCatalogue(const GuardedCommands &commands, Bundle &bundle) {
  // The rights' names are the database's, where they may long exist: they stay as they are.
  return {
      {
          .command = commands.install,
          .authRightName = "com.example.apple-samplecode.EBAS.install",
          .authRightDefault = allow,
          .authRightDescription = bundle.localizedString("Install Quillmark is trying to install its components."),
      },
      {
          .command = commands.bindToLowNumberPort,
          .authRightName = "com.example.apple-samplecode.EBAS.startWebService2",
          .authRightDefault = authenticateAsAdmin,
          .authRightDescription = bundle.localizedString("EBAS is trying to start its web service."),
      },
  };
}

std::optional<std::string> authorizationRightForCommand(const RightsCatalogue &catalogue, const std::string &command) {
  for (const CommandRight &right : catalogue) {
    if (right.command == command) return right.authRightName;
  }
  return std::nullopt;
}

void enumerateRights(const RightsCatalogue &catalogue,
                     const std::function<void(const std::string &name, const std::string &rule,
                                              const std::string &description)> &visit) {
  for (const CommandRight &right : catalogue) {
    visit(right.authRightName, right.authRightDefault, right.authRightDescription);
  }
}

void setupAuthorizationRights(const RightsCatalogue &catalogue, AuthorizationDatabase &database,
                              Authorization authorization) {
  enumerateRights(catalogue, [&](const std::string &name, const std::string &rule, const std::string &description) {
    if (database.rightGet(name) != errAuthorizationDenied) return;
    ignore(database.rightSet(authorization, name, rule, description, "Common"));
  });
}

}  // namespace quillmark
