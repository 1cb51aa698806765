#pragma once

namespace quillmark {

/// Drops the outcome of an act that may fail. The place that calls it says, if it is not plain, why nothing depends on
/// it.
template <typename Result>
void ignore(const Result& /*result*/) {}

}  // namespace quillmark
