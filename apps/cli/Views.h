#pragma once

#include "Table.h"

#include <korvel/KorvelContentSDK.h>

#include <memory>
#include <string>
#include <vector>

namespace cli {

// The SDK's records worded for people. Texts end in a line break.

using Collections = std::vector<std::shared_ptr<korvel::KCSDKOndemandCollection>>;
using Consents = std::vector<std::shared_ptr<korvel::KCSDKConsent>>;

std::string overview(const Collections& collections, PageWidth page);
std::string withClasses(const Collections& collections, PageWidth page);
std::string asText(const korvel::KCSDKOndemandClassResponse& response, PageWidth page);
std::string asText(const korvel::KCSDKOndemandSearchResult& result, PageWidth page);
std::string asText(const korvel::KCSDKOndemandClass& ondemandClass, PageWidth page);
std::string asText(const korvel::KCSDKOndemandMetaData& metadata, PageWidth page);
std::string asText(const Consents& consents, PageWidth page);
std::string asText(const korvel::KCSDKOndemandResultRequest& performance, PageWidth page);

}  // namespace cli
