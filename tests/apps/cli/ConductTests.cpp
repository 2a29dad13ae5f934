#include "Fixture.h"

#include <algorithm>
#include <csignal>
#include <cstdio>
#include <fstream>

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

TEST_F(CommandLine, AReaderThatHasSeenEnoughIsNoFailure) {
    for (const Arguments& arguments : {Arguments{"classes"}, {"help"}, {"--print-manual"}}) {
        const auto ended = Program(arguments, environment(), Program::Screen::goneReader).wait();
        EXPECT_EQ(ended.code, 0) << arguments.front();
        EXPECT_EQ(ended.errors, "");
    }
}

TEST_F(CommandLine, TheProfileSaysWhatNeitherCommandLineNorEnvironmentDo) {
    using std::filesystem::perms;
    const auto file = folder / "korvel" / "config";
    std::filesystem::create_directories(file.parent_path());
    const auto mine = perms::owner_read | perms::owner_write;
    const struct {
        std::string text;
        Arguments arguments;
        int code;
        std::string said;
        perms access = mine;
        std::string user = "";
    } rows[] = {
        {"# who\n\nuser=berta\r\ntimeout = 2\n", {"cancel"}, 0, "of berta is"},
        {"user = \"berta = b\"", {"cancel"}, 0, "of berta = b is"},
        {"user = berta", {"cancel", "--user", "carla"}, 0, "of carla is"},
        {"user = berta", {"cancel"}, 0, "of anna is", mine, "anna"},
        {"user = berta", {"cancel"}, 2, "is open to others: chmod 600", mine | perms::group_read},
        {"user = berta\nusr = b", {"cancel"}, 2, "config, line 2: there is no 'usr', did you mean"},
        {"berta", {"cancel"}, 2, "line 1: 'berta' is no line such as"},
        {"timeout = 0", {"cancel"}, 2, "line 1: --timeout: '0' is no number of seconds"},
        {"berta", {"--version"}, 0, "korvel "},
        {"secret-key = do-not-tell", {"help"}, 0, "KORVEL_SECRET_KEY)\n"},
    };
    for (const auto& [text, arguments, code, said, access, user] : rows) {
        SCOPED_TRACE(text);
        std::ofstream(file) << text;
        std::filesystem::permissions(file, access);
        const auto ended =
            run(arguments, {"KORVEL_USER=" + user, "XDG_CONFIG_HOME=" + folder.string()});
        EXPECT_EQ(ended.code, code);
        const auto all = ended.output + ended.errors;
        EXPECT_NE(all.find(said), std::string::npos) << all;
        EXPECT_EQ(all.find("do-not-tell"), std::string::npos);
    }
}

TEST_F(CommandLine, CompletionOffersWhatTheManualTells) {
    const auto script = folder / "completion";
    std::ofstream(script) << run({"--print-completion", "bash"}).output;
    const auto offered = [&](const std::string& words) {
        const auto command = "bash -c '. " + script.string() + "; COMP_WORDS=(korvel " + words +
                             "); COMP_CWORD=$((${#COMP_WORDS[@]} - 1)); compopt() { :; }; _korvel; "
                             "printf \"%s \" \"${COMPREPLY[@]}\"'";
        std::string text(4096, '\0');
        auto* pipe = popen(command.c_str(), "r");
        text.resize(std::fread(text.data(), 1, text.size(), pipe));
        pclose(pipe);
        return text;
    };
    EXPECT_EQ(offered("cl"), "classes class ");
    EXPECT_EQ(offered("--user class --json pl"), "play ");
    EXPECT_EQ(offered("help se"), "search ");
    EXPECT_EQ(offered("classes --sort d"), "date duration ");
    EXPECT_EQ(offered("search --sort = ca"), "calories ");
    EXPECT_EQ(offered("search --dir = "), "asc desc ");
    EXPECT_EQ(offered("search --ca " + script.string().substr(0, script.string().size() - 1)),
              script.string() + " ");
    EXPECT_EQ(offered("classes --ver"), "--version --verbose ");

    const auto manual = run({"--print-manual"}).output;
    const auto zsh = run({"--print-completion", "zsh"}).output;
    const auto fish = run({"--print-completion", "fish"}).output;
    std::istringstream commands(offered("\"\""));
    for (std::string command, option; commands >> command;) {
        EXPECT_NE(manual.find("\n.SS " + command + "\n"), std::string::npos) << command;
        EXPECT_EQ(run({"help", command}).code, 0);
        std::istringstream options(offered(command + " --"));
        while (options >> option) {
            auto escaped = option;
            for (std::size_t at = 0; (at = escaped.find('-', at)) != std::string::npos; at += 2)
                escaped.insert(at, "\\");
            EXPECT_NE(manual.find(escaped), std::string::npos) << option;
            EXPECT_NE(zsh.find("'" + option), std::string::npos) << option;
            EXPECT_NE(fish.find(" -l " + option.substr(2) + " "), std::string::npos) << option;
        }
    }
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
