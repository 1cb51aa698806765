#pragma once

#include <optional>
#include <string>

#include "platform/error.hpp"

namespace quillmark {

/// An AuthorizationRef, without the Security framework's headers.
using Authorization = const void *;

/// The ServiceManagement framework. Main thread: the system may show a dialog meanwhile.
class ServiceManagement {
 public:
  virtual ~ServiceManagement() = default;

  /// SMJobBless in kSMDomainSystemLaunchd. Blocks until done. Nothing on success.
  [[nodiscard]] virtual std::optional<Error> jobBless(const std::string &label, Authorization authorization) = 0;
};

}  // namespace quillmark
