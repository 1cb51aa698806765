#pragma once

#include <optional>
#include <string>

#include "platform/error.hpp"

/// The Security and ServiceManagement frameworks as behaviour sees them; platform/cocoa/security.mm speaks to the real
/// ones. Texts are UTF-8.

namespace quillmark {

/// An AuthorizationRef, without the Security framework's headers.
using Authorization = const void *;

/// OSStatus.
using Status = int;

inline constexpr Status errAuthorizationSuccess = 0;
/// How the authorization database says that it holds no such right.
inline constexpr Status errAuthorizationDenied = -60005;

/// The system's authorization database. Synchronous. Any thread.
class AuthorizationDatabase {
 public:
  virtual ~AuthorizationDatabase() = default;

  /// AuthorizationRightGet, for its status only.
  [[nodiscard]] virtual Status rightGet(const std::string &name) = 0;

  /// AuthorizationRightSet with the name of a rule as the definition, and the main bundle for the strings table.
  [[nodiscard]] virtual Status rightSet(Authorization authorization, const std::string &name, const std::string &rule,
                                        const std::string &descriptionKey, const std::string &stringsTable) = 0;
};

/// Main thread: the system may show a dialog meanwhile.
class ServiceManagement {
 public:
  virtual ~ServiceManagement() = default;

  /// SMJobBless in kSMDomainSystemLaunchd. Blocks until done. Nothing on success.
  [[nodiscard]] virtual std::optional<Error> jobBless(const std::string &label, Authorization authorization) = 0;
};

}  // namespace quillmark
