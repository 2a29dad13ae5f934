#include "ClassSession.h"
#include "Commands.h"
#include "Options.h"
#include "Output.h"
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

bool installPlayer(Device device, const DeviceOptions& options, bool mute) {
    GStreamerOptions media{.certificateAuthorityFile = options.certificateAuthorityFile};
    if (mute) media.audioSink = "fakesink";
    if (installDeviceGStreamer(std::move(device), options, media)) return true;
    korvel::NSError reason;
    if (!makeMediaEngineGStreamer(media, &reason)) {
        throw Failure(ExitCode::failed, "this machine cannot play: " + reasonIn(reason));
    }
    return false;
}

void play(Host& host, Output& output, const PlayArguments& arguments) {
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
    command->add_option("CLASS", arguments->tag, "Tag of the class")
        ->required()
        ->check(complaintIfEmpty);
    command->add_option("--seek", arguments->seek, "Second to begin at")
        ->check(CLI::Range(0.F, static_cast<float>(longest)));
    command->add_option("--for", arguments->length, "Stop after so many seconds, pauses included")
        ->check(CLI::Range(0., longest));
    command->add_option("--frame", arguments->pictureFile,
                        "Write the last picture to this PNG file");
    command->add_flag("--full-screen", arguments->fullScreen, "Play full screen, not embedded");
    command->add_flag("--no-autoplay", arguments->paused, "Begin paused");
    command->add_flag("--mute", arguments->mute, "No sound");
    command->callback([=, &chosen, &options] {
        options.install = [arguments](Device device, const DeviceOptions& parts) {
            return installPlayer(std::move(device), parts, arguments->mute);
        };
        chosen = [arguments](Host& host, Output& output) { play(host, output, *arguments); };
    });
}

}  // namespace cli
