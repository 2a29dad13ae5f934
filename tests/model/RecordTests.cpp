#include <korvel/KorvelContentSDK.h>
#include <korvel/model/KCSDKConsentRequest.h>
#include <korvel/model/KCSDKLoginRequest.h>
#include <korvel/model/KCSDKOndemandCkcToken.h>
#include <korvel/model/KCSDKOndemandContentToken.h>
#include <korvel/model/KCSDKOndemandResultRequest.h>
#include <korvel/model/KCSDKUser.h>
#include <korvel/platform/foundation/JSONDecoder.h>
#include <korvel/platform/foundation/JSONEncoder.h>

#include <korvel/doubles/FakeDevice.h>

#include <gtest/gtest.h>
#include <nlohmann/json.hpp>

#include <functional>
#include <set>

namespace korvel {

using namespace doubles;
namespace {

using nlohmann::ordered_json;
using platform::bytesOf;
using platform::DecodingError;
using platform::JSONEncoder;

/// A record type, an answer with all its members in their order, and which of them may be missing.
struct Sample {
    std::string name;
    std::string json;
    std::set<std::string> optional;
    /// Decoded and encoded again; nothing if it does not decode.
    std::function<std::optional<std::string>(const std::string&, DecodingError*)> again;
};

template <class T>
Sample sample(const char* name, std::string json, std::set<std::string> optional = {}) {
    return {name, std::move(json), std::move(optional),
            [](const std::string& text, DecodingError* error) -> std::optional<std::string> {
                const auto value = platform::decodeJSON<T>(bytesOf(text), error);
                if (!value) return std::nullopt;
                return std::string(platform::viewOf(JSONEncoder().encode(*value).value()));
            }};
}

const std::string wholeClass =
    R"({"tag":"t1","className":"Früh","classDescription":"早い 🏃","classCategories":"Cardio",)"
    R"("languageTag":"de-DE","languageName":"Deutsch","providerID":"12","provider":"Nord",)"
    R"("intensity":3,"skill":-9223372036854775808,"calorieBurn":9223372036854775807,)"
    R"("durationSecond":1800,"durationMinutes":"30","equipmentNames":["Mat","A rather long bike"],)"
    R"("equipmentTypes":true,"creationDate":"2023","lastModifiedDate":"2024","favourite":false,)"
    R"("trailerLinkMobile":"https:\/\/a\/b","trailerName":"","imageLink":"\"\\\n\u0001",)"
    R"("streamingLink":"s"})";
const std::set<std::string> classOptional = {"classCategories", "languageTag",       "languageName",
                                             "providerID",      "provider",          "calorieBurn",
                                             "equipmentNames",  "trailerLinkMobile", "trailerName",
                                             "imageLink",       "streamingLink"};

std::vector<Sample> samples() {
    return {
        sample<std::shared_ptr<KCSDKOndemandClass>>("class", wholeClass, classOptional),
        sample<std::shared_ptr<KCSDKOndemandClassResponse>>(
            "page", R"({"totalItems":7,"itemsRemaining":5,"items":[)" + wholeClass + "," +
                        wholeClass + "]}"),
        sample<std::shared_ptr<KCSDKOndemandCollection>>(
            "collection",
            R"({"collectionType":"c","collectionName":"n","collectionTag":"t","creationDate":"d",)"
            R"("itemCount":9,"collectionItems":[)" +
                wholeClass + "]}",
            {"collectionItems"}),
        sample<std::shared_ptr<KCSDKOndemandMetaData>>(
            "metadata",
            R"({"classTypes":["a","b"],"equipments":[{"text":"Mat","value":"1"}],"language":[],)"
            R"("providers":[],"duration":{"min":1,"max":9},"intensity":{"min":-1,"max":5}})"),
        sample<ValueType>("choice", R"({"text":"a","value":"b"})"),
        sample<MinMaxType>("range", R"({"min":1,"max":2})"),
        sample<std::shared_ptr<KCSDKOndemandFilterRequest>>(
            "filter",
            R"({"classLanguage":"1","dir":"2","duration":"3","equipment":"4","favourites":"5",)"
            R"("intensity":"6","keywords":"","languageTag":"8","level":"9","provider":"10",)"
            R"("skill":"11","skip":-1,"sort":"12","type":"13","take":0,"query":"14"})",
            {"classLanguage", "dir", "duration", "equipment", "favourites", "intensity", "keywords",
             "languageTag", "level", "provider", "skill", "sort", "type", "query"}),
        sample<std::shared_ptr<KCSDKOndemandSearchResult>>(
            "search", R"({"total":1,"itemsRemaining":0,"items":[{"equipmentTypes":"Mat",)"
                      R"("classTag":"other","virtualClass":)" +
                          wholeClass + "}]}"),
        sample<std::shared_ptr<KCSDKConsent>>(
            "consent",
            R"({"policy":"p","consentTag":"c","actionable":true,"urls":[{"linkText":"t",)"
            R"("linkUrl":"u"}],"policyHtml":"<p>","title":"T","version":3,"publishedDate":"d",)"
            R"("isMandatory":false})"),
        sample<KCSDKConsentRequest>("acceptance", R"({"consentTag":"t","action":2,"userId":""})"),
        sample<std::shared_ptr<KCSDKUser>>("user",
                                           R"({"Username":"anna","UserId":"42","Code":"abc"})"),
        sample<KCSDKLoginRequest>(
            "login",
            R"({"username":"a","password":"","firstname":"","lastname":"","skipconsent":true,)"
            R"("response_type":"token","redirect_uri":"r","scope":"openid","tenantId":"t",)"
            R"("client_id":"c","countrycode":"AT"})"),
        sample<std::shared_ptr<KCSDKOndemandContentToken>>("content token", R"({"token":"t"})"),
        sample<std::shared_ptr<KCSDKOndemandCkcToken>>("content key", R"({"key":"k"})"),
        sample<std::shared_ptr<KCSDKUserSubscriptionRequest>>(
            "subscription", R"({"start":"2024","subscriptionId":"s"})"),
        sample<KCSDKOndemandResultRequest>(
            "performance",
            R"({"performDate":"d","providerName":"","playedDurationSecond":1,"requestsource":5,)"
            R"("contentID":"c","actualDurationSecond":0,"contentName":"n","userId":"",)"
            R"("subscriptiontag":"","ID":"i"})"),
    };
}

TEST(Records, ComeBackAsTheyWereSentInWhateverOrder) {
    for (const Sample& record : samples()) {
        EXPECT_EQ(record.again(record.json, nullptr), record.json) << record.name;
        ordered_json backwards;
        const auto whole = ordered_json::parse(record.json);
        for (auto each = whole.rbegin(); each != whole.rend(); ++each) {
            backwards[each.key()] = *each;
        }
        EXPECT_EQ(record.again(backwards.dump(), nullptr), record.json) << record.name;
    }
}

TEST(Records, OnlyOptionalMembersMayBeAbsentOrNullAndAreThenNotWritten) {
    for (const Sample& record : samples()) {
        const auto whole = ordered_json::parse(record.json);
        for (const auto& [key, value] : whole.items()) {
            auto absent = whole;
            absent.erase(key);
            auto null = whole;
            null[key] = nullptr;
            for (const auto& changed : {absent, null}) {
                DecodingError error;
                const auto result = record.again(changed.dump(), &error);
                if (record.optional.contains(key)) {
                    ASSERT_TRUE(result) << record.name << ": " << error.path << error.reason;
                    EXPECT_EQ(ordered_json::parse(*result), absent);
                } else {
                    EXPECT_FALSE(result) << record.name << "." << key;
                    EXPECT_EQ(error.path, key);
                }
            }
        }
    }
}

TEST(Records, EveryMemberInsistsOnItsType) {
    const auto values = ordered_json::parse(R"(["5", 5, 5.5, true, [], {}, [[]]])");
    const auto fits = [](const ordered_json& value, const ordered_json& member) {
        return value.type() == member.type() && !value.is_object() &&
               (!value.is_array() || value.empty());
    };
    for (const Sample& record : samples()) {
        const auto whole = ordered_json::parse(record.json);
        for (const auto& [key, member] : whole.items()) {
            for (const auto& value : values) {
                auto changed = whole;
                changed[key] = value;
                if (member.is_number() && value == 5) continue;
                DecodingError error;
                EXPECT_EQ(record.again(changed.dump(), &error).has_value(), fits(value, member))
                    << record.name << "." << key << " = " << value;
            }
        }
    }
}

// What hosts must not reach.
template <class R>
concept HasSkill = std::is_object_v<decltype(R::skill)>;
template <class R>
concept HasFavourites = std::is_object_v<decltype(R::favourites)>;
template <class R>
concept HasLanguageTag = std::is_object_v<decltype(R::languageTag)>;
template <class R>
constexpr bool canBeMade = std::is_default_constructible_v<R> || std::is_copy_constructible_v<R>;

TEST(Records, HostsReachOnlyWhatIsTheirs) {
    using Filter = KCSDKOndemandFilterRequest;
    static_assert(HasSkill<KCSDKOndemandClass> && HasLanguageTag<KCSDKOndemandClass>);
    static_assert(!HasSkill<Filter> && !HasFavourites<Filter> && !HasLanguageTag<Filter>);
    static_assert(!canBeMade<KCSDKOndemandClass> && !canBeMade<KCSDKOndemandCollection>);
    static_assert(!canBeMade<KCSDKOndemandClassResponse> && !canBeMade<KCSDKConsent>);
    static_assert(!canBeMade<KCSDKOndemandMetaData> && !canBeMade<LinkDetail>);
    static_assert(!canBeMade<KCSDKOndemandSearchResult> && !canBeMade<KCSDKSearchItem>);
    static_assert(!std::is_default_constructible_v<platform::DecodingKey>);
}

TEST(Subscription, StartsAtTheHostsDateAsTheDeviceWritesIt) {
    const doubles::FakeDevice device;
    device.locale->chosenIdentifier = "th_TH";
    device.locale->chosenTimeZone = "Europe/Vienna";
    ASSERT_TRUE(platform::Device::install(device.device()));
    const platform::Date midnight{std::chrono::sys_days{std::chrono::January / 15 / 2025}};
    KCSDKUserSubscriptionRequest request(midnight + std::chrono::microseconds(1999), "gold");
    EXPECT_EQ(request.start, "2568-01-15T01:00:00.001+0100");
    EXPECT_EQ(request.subscriptionId, "gold");
}

TEST(Encoding, WritesTextsTheWayTheServiceKnowsThem) {
    const std::vector<std::pair<std::string, std::string>> rows = {
        {"", ""},
        {"\"\\\b\f\n\r\t", R"(\"\\\b\f\n\r\t)"},
        {std::string("\0\x1f\x7f", 3), "\\u0000\\u001f\x7f"},
        {"z\xffz\xc3", "z\uFFFDz\uFFFD"},
    };
    for (const auto& [text, written] : rows) {
        EXPECT_EQ(JSONEncoder().encode(ValueType{.text = text, .value = ""}),
                  bytesOf(R"({"text":")" + written + R"(","value":""})"));
    }
}

}  // namespace
}  // namespace korvel
