#pragma once

#include <service/Answer.h>

#include <cstddef>
#include <list>
#include <mutex>
#include <optional>
#include <string>
#include <string_view>

namespace korvel::service {

/// What the coming requests and connections are to meet. Thread safety: any thread.
class Scripts {
public:
    void add(std::string prefix, std::string method, Answer answer, std::size_t times);
    /// The answer of the oldest script that fits, used up once; nothing if none does.
    std::optional<Answer> take(std::string_view method, std::string_view target);
    void refuseTLS(std::size_t connections);
    bool takeTLSRefusal();
    void clear();

private:
    struct Script {
        std::string prefix;
        std::string method;
        Answer answer;
        std::size_t times;
    };
    std::mutex mutex_;
    std::list<Script> scripts_;
    std::size_t refusals_ = 0;
};

}  // namespace korvel::service
