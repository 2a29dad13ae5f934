#include <korvel/platform/foundation/UTF8.h>
#include <korvel/session/KCSDKConfig.h>

#include <utility>

namespace korvel {

using platform::repairedUTF8;

KCSDKConfig::KCSDKConfig(std::string address, std::string secret, std::string key,
                         std::string tenant, std::string analyticsKey)
    : baseURL(repairedUTF8(std::move(address))),
      secretKey(repairedUTF8(std::move(secret))),
      apiKey(repairedUTF8(std::move(key))),
      tenantID(repairedUTF8(std::move(tenant))),
      localyticsKey(repairedUTF8(std::move(analyticsKey))) {}

KCSDKConfig::KCSDKConfig(Values values)
    : KCSDKConfig(std::move(values.baseURL), std::move(values.secretKey), std::move(values.apiKey),
                  std::move(values.tenantId), std::move(values.localyticsKey)) {}

}  // namespace korvel
