#include "Fixture.h"

#include <algorithm>
#include <csignal>

namespace korvel::tests {

using nlohmann::json;

TEST_F(CommandLine, AnInterruptionEndsTheProgramInOrder) {
    for (const int number : {SIGINT, SIGTERM}) {
        service.script(Answer{.hold = true});
        Program program({"classes", "--json"}, environment());
        ASSERT_TRUE(service.waitForHeld(1));
        program.signal(number);
        const auto ended = program.wait();
        EXPECT_EQ(ended.code, 130);
        EXPECT_EQ(ended.errors, "korvel: interrupted\n");
        EXPECT_EQ(json::parse(ended.output)["error"]["exitCode"], 130);
        service.release();
    }
}

TEST_F(CommandLine, ProcessesThatShareADataFolderKeepTheirLogIns) {
    service.script("/api/v1/users/ondemand/metadata", "GET", Answer{.hold = true});
    Program first({"metadata"}, environment());
    ASSERT_TRUE(service.waitForHeld(1));
    EXPECT_EQ(run({"accept", "privacy-2024"}).code, 0);
    service.release();
    EXPECT_EQ(first.wait().code, 0);
}

TEST_F(CommandLine, ATerminalSeesProgressAfterASecondAndNoLineBeyondItsWidth) {
    service.script(Answer{.delay = std::chrono::milliseconds(1300)});
    const auto slow = Program({"classes"}, environment(), Program::Screen::terminal).wait();
    EXPECT_EQ(slow.code, 0);
    EXPECT_NE(slow.output.find("waiting for https://localhost"), std::string::npos);
    const auto table = slow.output.substr(slow.output.rfind("\x1b[K") + 3);
    EXPECT_EQ(table.substr(0, 3), "TAG") << "progress must be gone when the result comes";
    EXPECT_NE(table.find("…"), std::string::npos);
    EXPECT_EQ(std::count(table.begin(), table.end(), '\n'), 22);

    service.script(Answer{.delay = std::chrono::milliseconds(1300)});
    EXPECT_EQ(run({"classes"}).errors, "") << "a file or pipe has no use for progress";
}

TEST_F(CommandLine, VerboseTellsEachRequestOnStandardErrorWithoutSecrets) {
    const auto ended = run({"metadata", "--verbose", "--json"});
    EXPECT_FALSE(json::parse(ended.output, nullptr, false).is_discarded());
    for (const char* part : {"POST https://localhost:", "/oauth/sdk/login -> 200 in ",
                             "connection reused", "statusCode: 200\n"}) {
        EXPECT_NE(ended.errors.find(part), std::string::npos) << part << " in " << ended.errors;
    }
    for (const char* secret : {"Basic", "Bearer", "not-a-secret"}) {
        EXPECT_EQ(ended.errors.find(secret), std::string::npos) << secret;
    }
}

}  // namespace korvel::tests
