#include <service/Scripts.h>

#include <algorithm>
#include <utility>

namespace korvel::service {

void Scripts::add(std::string prefix, std::string method, Answer answer, std::size_t times) {
    if (times == 0) return;
    const std::lock_guard lock(mutex_);
    scripts_.push_back({std::move(prefix), std::move(method), std::move(answer), times});
}

std::optional<Answer> Scripts::take(std::string_view method, std::string_view target) {
    const std::lock_guard lock(mutex_);
    const auto script = std::find_if(scripts_.begin(), scripts_.end(), [&](const Script& each) {
        return target.starts_with(each.prefix) && (each.method.empty() || each.method == method);
    });
    if (script == scripts_.end()) return std::nullopt;
    Answer answer = script->answer;
    if (--script->times == 0) scripts_.erase(script);
    return answer;
}

void Scripts::refuseTLS(std::size_t connections) {
    const std::lock_guard lock(mutex_);
    refusals_ += connections;
}

bool Scripts::takeTLSRefusal() {
    const std::lock_guard lock(mutex_);
    if (refusals_ == 0) return false;
    --refusals_;
    return true;
}

void Scripts::clear() {
    const std::lock_guard lock(mutex_);
    scripts_.clear();
    refusals_ = 0;
}

}  // namespace korvel::service
