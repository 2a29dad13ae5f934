#include <service/Accounts.h>
#include <service/Codes.h>

#include <algorithm>
#include <utility>

namespace korvel::service {

User Accounts::logIn(const std::string& name) {
    std::string code = freshCode();
    const std::lock_guard lock(mutex_);
    User& user = users_[name];
    if (user.id.empty()) {
        user.name = name;
        user.id = stableId(name);
    }
    nameOfCode_.emplace(code, name);
    user.code = std::move(code);
    return user;
}

std::optional<User> Accounts::userOfCode(std::string_view code) const {
    const std::lock_guard lock(mutex_);
    const auto name = nameOfCode_.find(code);
    if (name == nameOfCode_.end()) return std::nullopt;
    return users_.at(name->second);
}

std::optional<User> Accounts::user(const std::string& name) const {
    const std::lock_guard lock(mutex_);
    const auto found = users_.find(name);
    if (found == users_.end()) return std::nullopt;
    return found->second;
}

std::vector<User> Accounts::users() const {
    const std::lock_guard lock(mutex_);
    std::vector<User> all;
    all.reserve(users_.size());
    for (const auto& [name, user] : users_) all.push_back(user);
    return all;
}

void Accounts::acceptConsent(const std::string& name, std::string consentTag) {
    const std::lock_guard lock(mutex_);
    const auto found = users_.find(name);
    if (found != users_.end()) found->second.acceptedConsents.insert(std::move(consentTag));
}

void Accounts::setSubscription(const std::string& name, std::optional<Subscription> subscription) {
    const std::lock_guard lock(mutex_);
    const auto found = users_.find(name);
    if (found != users_.end()) found->second.subscription = std::move(subscription);
}

void Accounts::record(Performance performance) {
    const std::lock_guard lock(mutex_);
    if (std::ranges::find(performances_, performance) == performances_.end()) {
        performances_.push_back(std::move(performance));
    }
}

std::vector<Performance> Accounts::performances() const {
    const std::lock_guard lock(mutex_);
    return performances_;
}

}  // namespace korvel::service
