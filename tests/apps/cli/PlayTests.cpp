#include "Fixture.h"

#include <png.h>
#include <service/streams/TestPicture.h>

#include <csignal>
#include <functional>

namespace korvel::tests {

using nlohmann::json;

namespace {

int numberIn(const std::filesystem::path& file) {
    png_image image{};
    image.version = PNG_IMAGE_VERSION;
    if (!png_image_begin_read_from_file(&image, file.c_str())) return -1;
    image.format = PNG_FORMAT_GRAY;
    std::vector<std::uint8_t> pixels(PNG_IMAGE_SIZE(image));
    if (!png_image_finish_read(&image, nullptr, pixels.data(), 0, nullptr)) return -2;
    return service::TestPicture::numberOn(image.width, image.height, [&](auto x, auto y) {
        return pixels[y * image.width + x] > 128;
    });
}

}  // namespace

class Play : public CommandLine {
protected:
    Play() { mayPlay(); }
    void mayPlay() {
        service.accounts().logIn("anna");
        service.accounts().acceptConsent("anna", "privacy-2024");
        service.accounts().setSubscription("anna", service::Subscription{"now", "gold"});
    }
    json recorded(std::size_t index) {
        const auto all = service.accounts().performances();
        return index < all.size() ? json::parse(all[index].json) : json();
    }
};

TEST_F(Play, ResultIsTheRecordThatTheServiceGotAndThePictureIsTheOneSought) {
    const auto picture = folder / "picture.png";
    const auto ended = run({"play", "50102", "--mute", "--json", "--seek", "12", "--no-autoplay",
                            "--for", "0", "--frame", picture.string()});
    EXPECT_EQ(ended.code, 0) << ended.errors;
    EXPECT_EQ(numberIn(picture), 360);
    EXPECT_EQ(recorded(0)["contentID"], "50102");
    EXPECT_EQ(json::parse(ended.output), recorded(0));

    const auto read = run({"play", "50102", "--mute", "--subtitles", "de", "--for", "2"});
    EXPECT_NE(read.errors.find("\n0:00 “Willkommen! Nimm zwei leichte Kurzhanteln, die"),
              std::string::npos)
        << read.errors;
    const auto other = run({"play", "50102", "--mute", "--subtitles", "fr", "--for", "0"});
    EXPECT_NE(other.errors.find("the class has them in "), std::string::npos) << other.errors;
    const auto played = run({"play", "50101", "--mute", "--full-screen", "--for", "2"});
    EXPECT_EQ(played.code, 0) << played.errors;
    EXPECT_EQ(recorded(3)["actualDurationSecond"], 2);
    EXPECT_NE(played.output.find("Performed  2 s\n"), std::string::npos) << played.output;
    EXPECT_NE(played.errors.find(" of 0:30, performed 1 s\n"), std::string::npos);

    const auto late = run({"play", "50102", "--mute", "--seek", "30"});
    EXPECT_EQ(late.code, 2);
    EXPECT_NE(late.errors.find("class '50102' lasts 0:30\n"), std::string::npos) << late.errors;
    const auto nowhere = run({"play", "50102", "--mute", "--frame", "/nowhere/x.png"});
    EXPECT_EQ(nowhere.code, 2);
    EXPECT_NE(nowhere.errors.find("there is no folder /nowhere"), std::string::npos);
    EXPECT_TRUE(recorded(4).is_null()) << "refused before it played";
}

TEST_F(Play, ReasonsWhyAClassDoesNotPlayHaveTheirExitCode) {
    using Keys = service::KeyServer::Keys;
    const auto when = [&](const char* path, Answer answer, std::size_t times = 1) {
        return [=, this] { service.script(path, "", answer, times); };
    };
    const char* perform = "/ondemand/v1/perform/";
    const char* keys = "/media/keys";
    const Answer held{.hold = true};
    const struct {
        std::function<void()> prepare;
        int code;
        const char* reason;
        Arguments further{};
    } rows[] = {
        {when(perform, {.status = 601, .body = "x"}), 10, "\"korvel consent\" shows which"},
        {[&] { service.accounts().setSubscription("anna", std::nullopt); }, 11, "korvel subscribe"},
        {when(perform, {.body = "[]"}), 9, "no class '50102' to play"},
        {when(perform, held), 4, "no answer from https://", {"--timeout", "2"}},
        {[&] { service.keys().give(Keys::wrong); }, 12, "the stream failed: "},
        {when(keys, {.status = 403, .body = "no"}), 12, "the stream failed: "},
        {when(keys, held), 4, "content key did not come within 2 s", {"--timeout", "2"}},
        {when("/media/", {.status = 404}, 99), 12, "the stream failed: "},
        {when("/ondemand/v1/ondemandtracking", {.status = 500, .body = "full"}), 3,
         "a later run sends it again: the service answered 500: full"},
    };
    for (const auto& [prepare, code, reason, further] : rows) {
        SCOPED_TRACE(reason);
        prepare();
        Arguments arguments{"play", "50102", "--mute", "--for", "0.1"};
        arguments.insert(arguments.end(), further.begin(), further.end());
        const auto ended = run(arguments);
        EXPECT_EQ(ended.code, code);
        EXPECT_NE(ended.errors.find(reason), std::string::npos) << ended.errors;
        service.clearScripts();
        service.release();
        service.keys().give(Keys::right);
        mayPlay();
    }
    const auto stranger = run({"play", "50102", "--mute", "--user", "berta"});
    EXPECT_EQ(stranger.code, 10);
    EXPECT_NE(stranger.errors.find("korvel accept privacy-2024"), std::string::npos);
}

TEST_F(Play, TimingsShowEachStepAndAMissingSoundDeviceIsOneLine) {
    const Arguments nothingToHear{"ALSA_CONFIG_PATH=/dev/null", "PULSE_SERVER=unix:/dev/null",
                                  "JACK_NO_START_SERVER=1"};
    const auto ended = run({"play", "50102", "--for", "0", "--timings", "--json"}, nothingToHear);
    EXPECT_EQ(ended.code, 0);
    EXPECT_EQ(json::parse(ended.output, nullptr, false), recorded(0));
    EXPECT_NE(ended.errors.find("no sound: there is no device"), std::string::npos);
    EXPECT_EQ(ended.errors.find(" lib"), std::string::npos) << ended.errors;
    std::size_t at = 0;
    for (const char* step : {"perform", "playlists", "token", "key request", "key ",
                             "first segment", "first picture"}) {
        at = ended.errors.find(std::string("\n") + step, at);
        ASSERT_NE(at, std::string::npos) << step << " in " << ended.errors;
        const auto line = ended.errors.substr(at + 1, ended.errors.find('\n', at + 1) - at - 1);
        EXPECT_NE(line.find("█"), std::string::npos) << line;
        EXPECT_NE(line.find(" ms, from "), std::string::npos) << line;
    }
}

TEST_F(Play, KeysSteerAndTheTerminalIsAsBeforeWhateverTheEnd) {
    using Screen = Program::Screen;
    const Arguments arguments{"play", "50101", "--mute"};
    Program program(arguments, environment(), Screen::terminal);
    ASSERT_TRUE(program.reads("q stops"));
    EXPECT_FALSE(program.echoes());
    ASSERT_TRUE(program.reads("playing 0:0"));
    program.type(" ");
    ASSERT_TRUE(program.reads("paused 0:0"));
    program.type("\x1b[C\x1bOC\x1b[D");
    ASSERT_TRUE(program.reads("paused 0:1"));
    program.type("\x1b[1;5Px q");
    EXPECT_EQ(program.wait().code, 0);
    EXPECT_TRUE(program.echoes());
    EXPECT_LE(recorded(0)["actualDurationSecond"], 2);

    Program interrupted(arguments, environment(), Screen::terminal);
    ASSERT_TRUE(interrupted.reads("playing 0:0"));
    interrupted.signal(SIGINT);
    EXPECT_EQ(interrupted.wait().code, 130);
    EXPECT_TRUE(interrupted.echoes());
    EXPECT_FALSE(recorded(1).is_null()) << "stopped in order";

    Program aborted(arguments, environment(), Screen::terminal);
    ASSERT_TRUE(aborted.reads("playing 0:0"));
    aborted.signal(SIGQUIT);
    EXPECT_EQ(aborted.wait().code, 128 + SIGQUIT);
    EXPECT_TRUE(aborted.echoes());
}

}  // namespace korvel::tests
