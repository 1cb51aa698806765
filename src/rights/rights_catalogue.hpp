#pragma once

#include <functional>
#include <optional>
#include <string>
#include <vector>

#include "platform/security.hpp"

namespace quillmark {

class Bundle;

/// The right that guards one command of the helper tool.
struct CommandRight {
  /// The text of the command's selector.
  std::string command;
  std::string authRightName;
  /// The name of a rule of the authorization database.
  std::string authRightDefault;
  /// What the system says when it asks the user, localised.
  std::string authRightDescription;
};

using RightsCatalogue = std::vector<CommandRight>;

/// The commands that take an authorization, by their selectors' texts.
struct GuardedCommands {
  std::string install;
  std::string bindToLowNumberPort;
};

/// Looks each description up in the bundle's strings, once.
[[nodiscard]] RightsCatalogue makeRightsCatalogue(const GuardedCommands &commands, Bundle &bundle);

/// Nothing for a command without a right.
[[nodiscard]] std::optional<std::string> authorizationRightForCommand(const RightsCatalogue &catalogue,
                                                                      const std::string &command);

/// Once for each right, in no particular order.
void enumerateRights(
    const RightsCatalogue &catalogue,
    const std::function<void(const std::string &name, const std::string &rule, const std::string &description)> &visit);

/// Creates the rights that the database lacks and leaves all others as they are, for an administrator may have
/// changed them. Failures are dropped.
void setupAuthorizationRights(const RightsCatalogue &catalogue, AuthorizationDatabase &database,
                              Authorization authorization);

}  // namespace quillmark
