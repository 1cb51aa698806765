#pragma once

#include "platform/security.hpp"

namespace quillmark::cocoa {

class CocoaAuthorizationDatabase final : public AuthorizationDatabase {
 public:
  Status rightGet(const std::string &name) override;
  Status rightSet(Authorization authorization, const std::string &name, const std::string &rule,
                  const std::string &descriptionKey, const std::string &stringsTable) override;
};

class CocoaServiceManagement final : public ServiceManagement {
 public:
  std::optional<Error> jobBless(const std::string &label, Authorization authorization) override;
};

}  // namespace quillmark::cocoa
