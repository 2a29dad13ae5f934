#pragma once

#include <korvel/platform/foundation/Export.h>

#include <string>
#include <string_view>
#include <utility>
#include <vector>

namespace korvel::platform {

/// The analytics library behind the SDK's events. A host plugs its vendor's in; the device's own
/// keeps a journal. Any thread; calls never block on the network and never fail from the caller's
/// point of view.
class KORVEL_API Localytics {
public:
    /// In the order in which the event names them.
    using Attributes = std::vector<std::pair<std::string, std::string>>;

    virtual ~Localytics();
    virtual void integrate(std::string_view appKey) = 0;
    virtual void setLoggingEnabled(bool enabled) = 0;
    virtual void openSession() = 0;
    virtual void setCustomerId(std::string_view customerId) = 0;
    virtual void tagEvent(std::string_view eventName, const Attributes& attributes) = 0;
    virtual void upload() = 0;
};

}  // namespace korvel::platform
