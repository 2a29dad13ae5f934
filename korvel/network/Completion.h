#pragma once

#include <korvel/platform/foundation/NSError.h>

#include <functional>
#include <memory>
#include <optional>
#include <vector>

namespace korvel {

/// How results reach the host: at most once, on a background thread unless an operation says
/// otherwise, and on some paths never (docs/completions.md lists them). Record and error both
/// absent: the service accepted the request, but its answer was no such record. A completion may be
/// empty, and must not throw: an exception ends the process.
using ErrorCompletion = std::function<void(std::optional<NSError>)>;
template <class Record>
using Completion = std::function<void(std::shared_ptr<Record>, std::optional<NSError>)>;
template <class Record>
using ListCompletion = std::function<void(std::optional<std::vector<std::shared_ptr<Record>>>,
                                          std::optional<NSError>)>;

}  // namespace korvel
