#include "ClassSession.h"
#include "Commands.h"
#include "Options.h"
#include "Output.h"
#include "Sound.h"
#include "Values.h"
#include "Views.h"

#include <korvel/platform/backends/gstreamer/MediaEngineGStreamer.h>

#include <CLI/CLI.hpp>
#include <memory>
#include <utility>

namespace cli {

using korvel::platform::Device;
using korvel::platform::DeviceOptions;
using korvel::platform::GStreamerOptions;

namespace {

constexpr const char* silence = "fakesink";

bool installPlayer(Device device, const DeviceOptions& options, PlayArguments& arguments,
                   bool verbose) {
    GStreamerOptions media{.certificateAuthorityFile = options.certificateAuthorityFile};
    arguments.lacksSound = !arguments.mute && !canSound(media.audioSink, verbose);
    if (arguments.mute || arguments.lacksSound) media.audioSink = silence;
    if (installDeviceGStreamer(std::move(device), options, media)) return true;
    korvel::NSError reason;
    if (!makeMediaEngineGStreamer(media, &reason)) {
        throw Failure(ExitCode::failed, "this machine cannot play: " + reasonIn(reason));
    }
    return false;
}

void play(Host& host, Output& output, const PlayArguments& arguments) {
    if (arguments.lacksSound) {
        host.messages()->line(
            "no sound: there is no device that could be used (--verbose tells what was tried)");
    }
    host.logIn();
    ClassSession session(host, arguments);
    session.play();
    const auto performance = session.recorded();
    output.show(*performance, [&](PageWidth page) { return asText(*performance, page); });
    if (session.failure()) throw Failure(*session.failure());
    if (host.wasInterrupted()) throw interrupted();
}

}  // namespace

void addPlayCommand(CLI::App& app, Command& chosen, Options& options) {
    constexpr double longest = 1e6;  // seconds
    const auto arguments = std::make_shared<PlayArguments>();
    auto* command = app.add_subcommand("play", "Play a class and record it; needs a user");
    takesName(command->add_option("CLASS", arguments->tag, "Tag of the class"));
    takesSeconds(command->add_option("--seek", arguments->seek, "Second to begin at"), 0, longest);
    takesSeconds(command->add_option("--for", arguments->length,
                                     "Stop after so many seconds, pauses included"),
                 0, longest);
    takesNewFile(command->add_option("--frame", arguments->pictureFile,
                                     "Write the last picture to this PNG file"));
    command->add_flag("--full-screen", arguments->fullScreen, "Play full screen, not embedded");
    command->add_flag("--no-autoplay", arguments->paused, "Begin paused");
    command->add_flag("--mute", arguments->mute, "No sound");
    command
        ->add_option("--subtitles", arguments->subtitles,
                     "Tell what the subtitles in this language say; auto: in that of the user")
        ->type_name("LANGUAGE");
    command->add_flag("--timings", arguments->timings,
                      "Show on standard error how long each step of the start took");
    setExamples(command,
                "play 50102 --user anna\n"
                "play 50102 --seek 12 --no-autoplay --for 0 --frame second12.png\n"
                "play 50102 --for 0 --timings\n"
                "play 50102 --subtitles de");
    command->callback([=, &chosen, &options] {
        options.install = [arguments, &options](Device device, const DeviceOptions& parts) {
            return installPlayer(std::move(device), parts, *arguments, options.verbose);
        };
        chosen = [arguments](Host& host, Output& output) { play(host, output, *arguments); };
    });
}

}  // namespace cli
