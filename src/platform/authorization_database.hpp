#pragma once

#include <string>

#include "platform/service_management.hpp"

namespace quillmark {

/// OSStatus.
using Status = int;

inline constexpr Status errAuthorizationSuccess = 0;
/// How the database says that it holds no such right.
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

}  // namespace quillmark
