#pragma once

#include <korvel/network/Failure.h>
#include <korvel/platform/foundation/URLSession.h>

#include <functional>
#include <memory>

namespace korvel {

/// How whoever asked for an operation accompanies it. Without one an operation is one exchange, for
/// as long as that takes. Any thread.
class Conduct {
public:
    virtual ~Conduct() = default;
    /// Nobody waits any more: what has not been sent is not sent.
    virtual bool isOver() const = 0;
    /// An exchange is under way; `task` may be null. Comes late where the exchange ends at once:
    /// `attempt`, how often it was asked for before, tells whether a later one has overtaken it.
    virtual void began(std::shared_ptr<platform::URLSessionTask> task, int attempt) = 0;
    /// A read has failed. True: it is asked for once more when `again` is called, and not told of
    /// until then.
    virtual bool triesAgain(const Failure& failure, std::function<void()> again) = 0;
};

}  // namespace korvel
