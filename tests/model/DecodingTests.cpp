#include "support/Samples.h"

#include <korvel/KorvelContentSDK.h>

#include <gtest/gtest.h>

#include <thread>

namespace korvel {
namespace {

using platform::bytesOf;
using platform::decodeJSON;
using platform::DecodingError;
using tests::classJSON;
using tests::pageJSON;

std::optional<MinMaxType> range(const std::string& json, DecodingError* error = nullptr) {
    return decodeJSON<MinMaxType>(bytesOf(json), error);
}

/// The integer that `json` stands for in a record, if it is one.
std::optional<std::int64_t> integer(const std::string& json) {
    const auto result = range(R"({"min":)" + json + R"(,"max":0})");
    return result ? std::optional(result->min) : std::nullopt;
}

TEST(Decoding, AnIntegerIsAWholeNumberOf64BitsHoweverWritten) {
    const std::pair<const char*, std::int64_t> integers[] = {
        {"-0", 0},       {"5.0", 5},    {"5e0", 5},
        {"-1.5e1", -15}, {"50E-1", 5},  {"9223372036854775807", INT64_MAX},
        {"-7", -7},      {"1e3", 1000}, {"-9223372036854775808", INT64_MIN}};
    for (const auto& [json, value] : integers) EXPECT_EQ(integer(json), value) << json;

    for (const auto* json :
         {"5.5", "-0.1", "1e30", "1e400", "9223372036854775808", "-9223372036854775809",
          "9.223372036854775808e18", "18446744073709551616", "\"5\"", "true", "null", "[5]"}) {
        EXPECT_EQ(integer(json), std::nullopt) << json;
    }
}

TEST(Decoding, WhatIsNotJSONFailsAsAWhole) {
    const std::string whole = R"({"min":1,"max":2})";
    ASSERT_TRUE(range(whole));
    for (std::size_t length = 0; length < whole.size(); ++length) {
        EXPECT_FALSE(range(whole.substr(0, length))) << "truncated to " << length;
    }
    const std::vector<std::string> others{
        "tru",   "[1 2]",  "01",     R"("\ud800")", "\"\n\"",  "\"\xff\"", "[1,]",
        "{a:1}", "1e400x", "01e400", "[1e400 1]",   "1e400-1", "\"a",      R"(1,"b":1e999,)"};
    for (const auto& other : others) {
        EXPECT_FALSE(range(R"({"min":1,"other":)" + other + R"(,"max":2})")) << other;
    }
    for (const std::string body : {"", "\xef\xbb\xbf", "null", "5", "[]"}) {
        EXPECT_FALSE(range(body)) << body;
    }
    for (const std::string tail : {"x", "{}", "1e400"}) EXPECT_FALSE(range(whole + tail)) << tail;
    EXPECT_FALSE(range(whole + std::string(1, '\0')));
    EXPECT_TRUE(range("\xef\xbb\xbf \n" + whole + "\r\n\t ")) << "mark and blanks are skipped";
}

TEST(Decoding, UnknownKeysAreIgnoredWhateverTheyHold) {
    for (const std::string other :
         {"null", "[[{}]]", "1e400", "18446744073709551616",
          R"(["\"1e400",123456789012345678901234567890,"\\"])", R"({"min":5,"max":{"min":6}})"}) {
        const auto result = range(R"({"other":)" + other + R"(,"min":1,"minimum":)" + other +
                                  R"(,"max":2,"":)" + other + "}");
        EXPECT_EQ(result, (MinMaxType{1, 2})) << other;
    }
    // Numbers out of range are put aside without harm to texts and to other numbers.
    const auto choice = decodeJSON<ValueType>(
        bytesOf(R"({"text":"1e400 18446744073709551616","n":[1e400,0.25],"value":"\"-1e400"})"));
    EXPECT_EQ(choice, (ValueType{"1e400 18446744073709551616", "\"-1e400"}));
}

TEST(Decoding, NestingIsBoundedAndNeverOverflowsTheStack) {
    const auto nested = [](std::size_t depth) {
        return R"({"other":)" + std::string(depth, '[') + std::string(depth, ']') +
               R"(,"min":1,"max":2})";
    };
    EXPECT_TRUE(range(nested(1000)));
    EXPECT_FALSE(range(nested(1'000'000)));
    EXPECT_FALSE(range(std::string(1'000'000, '[')));
}

TEST(Decoding, OfKeysGivenTwiceTheLastCounts) {
    EXPECT_EQ(range(R"({"min":1,"max":2,"min":3})"), (MinMaxType{3, 2}));
    EXPECT_EQ(range(R"({"min":"x","max":2,"min":3})"), (MinMaxType{3, 2}));
    EXPECT_EQ(range(R"({"m\u0069n":3,"max":2})"), (MinMaxType{3, 2}));
    EXPECT_FALSE(range(R"({"min":1,"max":2,"min":null})"));

    const auto filter = tests::decoded<KCSDKOndemandFilterRequest>(
        R"({"take":1,"dir":"down","sort":"a","skip":0,"dir":null,"sort":"by name and much more"})");
    EXPECT_EQ(filter->dir, std::nullopt);
    EXPECT_EQ(filter->sort, "by name and much more");
}

template <class T> DecodingError failure(const std::string& json) {
    DecodingError error;
    EXPECT_FALSE(decodeJSON<T>(bytesOf(json), &error)) << json;
    return error;
}

TEST(Decoding, AnErrorNamesTheMemberAndTheReason) {
    using Page = std::shared_ptr<KCSDKOndemandClassResponse>;
    using Collections = std::vector<std::shared_ptr<KCSDKOndemandCollection>>;
    const std::string bad = classJSON("b", R"(,"durationSecond":"1","equipmentNames":["Mat",5])");
    const auto check = [](const DecodingError& error, const char* path, const char* reason) {
        EXPECT_EQ(error.path, path);
        EXPECT_EQ(error.reason, reason) << path;
    };
    check(failure<Page>(pageJSON(classJSON("a") + "," + bad)), "items[1].durationSecond",
          "expected an integer of 64 bits, found a text");
    check(failure<Page>(pageJSON(classJSON("a", R"(,"equipmentNames":["Mat",5])"))),
          "items[0].equipmentNames[1]", "expected a text, found a number");
    check(failure<Page>(pageJSON("null")), "items[0]", "expected an object, found null");
    check(failure<Page>("[]"), "", "expected an object, found a list");
    check(failure<Collections>("{}"), "", "expected a list, found an object");
    check(failure<Collections>("[{}]"), "[0].collectionType", "is missing");
    check(failure<std::shared_ptr<KCSDKOndemandSearchResult>>(
              R"({"total":1,"itemsRemaining":0,"items":[{"equipmentTypes":"","classTag":"",)"
              R"("virtualClass":{"tag":true}}]})"),
          "items[0].virtualClass.tag", "expected a text, found a boolean");
    DecodingError untouched{"path", "reason"};
    EXPECT_TRUE(range(R"({"min":"","max":2,"min":1})", &untouched));
}

TEST(Decoding, AProcessMayEndInTheMiddleOfIt) {
    testing::FLAGS_gtest_death_test_style = "threadsafe";
    const auto end = [] {
        // What is destroyed at exit, which takes its time, has been when this runs.
        std::atexit([] { std::this_thread::sleep_for(std::chrono::milliseconds(50)); });
        for (int i = 0; i < 4; ++i) {
            std::thread([] {
                for (const auto page = pageJSON(classJSON("any"));;)
                    tests::decoded<KCSDKOndemandClassResponse>(page);
            }).detach();
        }
        std::this_thread::sleep_for(std::chrono::milliseconds(20));  // whatever they are at then
        std::exit(0);
    };
    EXPECT_EXIT(end(), testing::ExitedWithCode(0), "");
}

}  // namespace
}  // namespace korvel
