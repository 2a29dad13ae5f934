#include <gtest/gtest.h>
#include <korvel/doubles/FakeLocale.h>
#include <korvel/platform/backends/icu/LocaleICU.h>
#include <korvel/platform/foundation/Base64.h>
#include <korvel/platform/foundation/Bundle.h>
#include <korvel/platform/foundation/DateFormatter.h>
#include <korvel/platform/foundation/UTF8.h>
#include <array>
#include <cstdlib>
#include <fstream>
#include "support/TemporaryFolder.h"

namespace korvel::tests {

using namespace doubles;
namespace {

using namespace platform;
using namespace std::chrono_literals;
using namespace std::string_literals;

TEST(DateFormatters, WriteInTheCalendarDigitsAndZoneOfTheLocale) {
    constexpr auto timestamp = "yyyy-MM-dd'T'HH:mm:ss.SSSZ";
    constexpr Date newYear{1735689600s};  // 2025-01-01T00:00:00Z
    const std::tuple<const char*, const char*, const char*, Date, const char*> rows[] = {
        {"en_US", "Etc/UTC", timestamp, newYear, "2025-01-01T00:00:00.000+0000"},
        {"en_US_POSIX", "No/Where", timestamp, newYear, "2025-01-01T00:00:00.000+0000"},
        {"th_TH", "Asia/Bangkok", timestamp, newYear, "2568-01-01T07:00:00.000+0700"},
        {"fa_IR", "Asia/Tehran", timestamp, newYear, "۱۴۰۳-۱۰-۱۲T۰۳:۳۰:۰۰.۰۰۰+0330"},
        {"en_US", "Etc/UTC", timestamp, newYear - 1ns, "2024-12-31T23:59:59.999+0000"},
        {"en_US", "Etc/UTC", timestamp, Date{-1ns}, "1969-12-31T23:59:59.999+0000"},
        {"en_US", "Etc/UTC", "", newYear, ""},
        {"en_US", "Etc/UTC", "jj", newYear, ""},  // no pattern
    };
    for (const auto& [identifier, zone, pattern, date, expected] : rows) {
        FakeLocale locale;
        locale.chosenIdentifier = identifier;
        locale.chosenTimeZone = zone;
        DateFormatter formatter(locale);
        formatter.dateFormat = pattern;
        EXPECT_EQ(formatter.string(date), expected) << identifier << ' ' << pattern;
    }
}

TEST(LocaleOfTheEnvironment, FollowsTheVariablesInTheirOrder) {
    constexpr std::array names{"LC_ALL", "LC_TIME", "LC_MESSAGES", "LANG", "LANGUAGE"};
    using Values = std::array<const char*, names.size()>;
    using Languages = std::vector<std::string>;
    const std::tuple<Values, const char*, std::optional<std::string>, Languages> rows[] = {
        {{"", "", "", "de_AT.UTF-8", ""}, "de_AT", "AT", {"de-AT"}},
        {{"", "de_AT.UTF-8", "", "en_US.UTF-8", ""}, "de_AT", "AT", {"en-US"}},
        {{"", "", "en_GB", "de_AT@euro", ""}, "de_AT", "AT", {"en-GB"}},
        {{"pt_BR", "de_AT", "en_GB", "en_US", ""}, "pt_BR", "BR", {"pt-BR"}},
        {{"", "", "", "en_US", "de_AT::en_GB:C"}, "en_US", "US", {"de-AT", "en-GB", "en"}},
        {{"", "", "", "", ""}, "en_US_POSIX", {}, {"en"}},
        {{"C", "", "", "de_AT", ""}, "en_US_POSIX", {}, {"en"}},
        {{"", "", "", "!!", ""}, "en_US_POSIX", {}, {"en"}},
        {{"", "", "", "de", ""}, "de", {}, {"de"}},
        {{"", "", "", "es_419", ""}, "es_419", {}, {"es-419"}},
        {{"", "", "", "sr_RS.UTF-8@latin", ""}, "sr_Latn_RS", "RS", {"sr-Latn-RS"}},
        {{"", "", "", "ar_EG@calendar=islamic", ""}, "ar_EG@calendar=islamic", "EG", {"ar-EG"}},
    };
    for (const auto& [values, identifier, region, languages] : rows) {
        for (std::size_t i = 0; i < names.size(); ++i) setenv(names.at(i), values.at(i), 1);
        const auto locale = makeLocaleICU();
        EXPECT_EQ(locale->identifier(), identifier);
        EXPECT_EQ(locale->regionCode(), region) << identifier;
        EXPECT_EQ(locale->preferredLanguages(), languages) << identifier;
        EXPECT_EQ(locale->timeZone(), "") << "the C library's";
    }
}

TEST(LocaleICU, WritesDatesInTheZoneThatTheCLibrarySees) {
    const Date winter{std::chrono::seconds(1'704'110'400)}, summer = winter + 4'392h;  // 12 o'clock
    const std::tuple<const char*, const char*, const char*> zones[] = {
        {"Europe/Vienna", "13 +0100", "14 +0200"},
        {"CET-1CEST", "13 +0100", "14 +0200"},
        {"<-03>3", "09 -0300", "09 -0300"},
        {":/usr/share/zoneinfo/Asia/Kathmandu", "17 +0545", "17 +0545"},
        {"GMT+3", "09 -0300", "09 -0300"},
        {"Nowhere/Land", "12 +0000", "12 +0000"},
        {"", "12 +0000", "12 +0000"}};
    setenv("LC_ALL", "C", 1);
    for (const auto& [zone, atWinter, atSummer] : zones) {
        setenv("TZ", zone, 1);
        DateFormatter formatter(*makeLocaleICU());
        formatter.dateFormat = "HH Z";
        EXPECT_EQ(formatter.string(winter), atWinter) << zone;
        EXPECT_EQ(formatter.string(summer), atSummer) << zone;
    }
}

TEST(Base64, IsStandardAndStrict) {
    const std::pair<std::string, const char*> pairs[] = {
        {"", ""},        {"f", "Zg=="},         {"fo", "Zm8="},          {"foo", "Zm9v"},
        {"\0"s, "AA=="}, {"\xfb\xff"s, "+/8="}, {"a:b \x80", "YTpiIIA="}};
    for (const auto& [bytes, text] : pairs) {
        EXPECT_EQ(base64Encoded(bytes), text);
        EXPECT_EQ(base64Decoded(text), bytesOf(bytes));
    }
    for (const auto text : {"Z", "Zg", "Zm8", "Zh==", "Zm9v\n", "Zm\r\n9v", " Zm9v",
                            "-_8=", "Zg==Zg==", "=", "Zm9v=", "PQ\xd0\xad"}) {
        EXPECT_EQ(base64Decoded(text), std::nullopt) << text;
    }
    const std::string large(100'000, '\xa5');
    EXPECT_EQ(base64Encoded(large).find('\n'), std::string::npos);
    EXPECT_EQ(base64Decoded(base64Encoded(large)), bytesOf(large));
}

TEST(UTF8, IsCheckedAndRepairedByTheLongestIllFormedPart) {
    const std::string padding = "eight by eight bytes of ASCII and more";
    for (const auto text : {"", "häß 日本 \U0001F600", "\u007f\u0080\u07ff\u0800\U0010ffff"}) {
        for (const auto& whole : {std::string(text), padding + text, text + padding}) {
            EXPECT_TRUE(isValidUTF8(whole)) << whole;
            EXPECT_EQ(repairedUTF8(whole), whole);
        }
    }
    EXPECT_TRUE(isValidUTF8("\0"s));
    const std::pair<const char*, const char*> rows[] = {
        {"\xff", "\uFFFD"},
        {"\xc0\xaf", "\uFFFD\uFFFD"},                      // overlong
        {"\xed\xa0\x80", "\uFFFD\uFFFD\uFFFD"},            // surrogate
        {"\xf4\x90\x80\x80", "\uFFFD\uFFFD\uFFFD\uFFFD"},  // above U+10FFFF
        {"\xf0\x9f\x98", "\uFFFD"},                        // cut off
        {"\xf0\x9f\x98ä\xc3", "\uFFFDä\uFFFD"}};
    for (const auto& [bad, repaired] : rows) {
        for (const auto& [before, after] : {std::pair{""s, ""s}, {padding, ""s}, {"ä"s, padding}}) {
            EXPECT_FALSE(isValidUTF8(before + bad + after));
            EXPECT_EQ(repairedUTF8(before + bad + after), before + repaired + after);
        }
    }
}

TEST(Bundles, FindFilesInTheirFolderOnly) {
    const TemporaryFolder folder;
    std::filesystem::create_directories(folder / "folder.d");
    std::ofstream(folder / "image.png", std::ios::binary) << "\x89PNG\r\n\0"s;
    std::ofstream(folder / "LICENSE");
    const Bundle bundle("com.example.bundle", folder / "");
    EXPECT_EQ(bundle.path("image", "png"), folder / "image.png");
    EXPECT_EQ(bundle.contents("image", "png"), bytesOf("\x89PNG\r\n\0"s));
    EXPECT_EQ(bundle.contents("LICENSE", ""), Data());
    EXPECT_EQ(bundle.contents("folder", "d"), std::nullopt);
    EXPECT_EQ(bundle.path("/etc/passwd", ""), std::nullopt);
    EXPECT_EQ(Bundle("none", folder / "missing").contents("image", "png"), std::nullopt);
}

}  // namespace
}  // namespace korvel::tests
