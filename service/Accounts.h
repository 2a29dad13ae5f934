#pragma once

#include <map>
#include <mutex>
#include <optional>
#include <set>
#include <string>
#include <string_view>
#include <vector>

namespace korvel::service {

struct Subscription {
    std::string start;  ///< as the client sent it
    std::string subscriptionId;
};

struct User {
    std::string name;
    std::string id;    ///< the same for the same name, also in another run
    std::string code;  ///< the newest bearer code; older ones stay good
    std::set<std::string> acceptedConsents;
    std::optional<Subscription> subscription;  ///< nothing: none active
};

/// A recorded class performance.
struct Performance {
    std::string userId;  ///< of the bearer
    std::string json;    ///< the body as sent

    bool operator==(const Performance&) const = default;
};

/// Who has logged in, and what they accepted, subscribed to and performed. Thread safety: any
/// thread.
class Accounts {
public:
    /// Any name but the empty one is a user.
    User logIn(const std::string& name);
    std::optional<User> userOfCode(std::string_view code) const;
    std::optional<User> user(const std::string& name) const;
    std::vector<User> users() const;

    void acceptConsent(const std::string& name, std::string consentTag);
    void setSubscription(const std::string& name, std::optional<Subscription> subscription);
    /// One that comes again, byte for byte, is one whose sender never heard of the first.
    void record(Performance performance);
    std::vector<Performance> performances() const;

private:
    mutable std::mutex mutex_;
    std::map<std::string, User> users_;
    std::map<std::string, std::string, std::less<>> nameOfCode_;
    std::vector<Performance> performances_;
};

}  // namespace korvel::service
