#pragma once

#include <korvel/player/KCSDKPlayerEventsListner.h>

#include <functional>
#include <string>
#include <utility>
#include <vector>

namespace korvel::tests {

/// Writes down what a player tells: "status 1", "exit 3", "empty", "likely", and its progress.
struct Listener final : KCSDKPlayerEventsListner {
    std::vector<std::string> told;
    std::vector<std::pair<char, float>> progress;  ///< 'p' position, 'd' duration
    std::function<void()> onExit = [] {};

    void playerStatusWithStatus(std::int64_t status) override {
        told.push_back("status " + std::to_string(status));
    }
    void playerExitWithDuration(std::int64_t duration) override {
        told.push_back("exit " + std::to_string(duration));
        onExit();
    }
    void currentVideoPositionWithDurationPlayedSeconds(float seconds) override {
        progress.emplace_back('p', seconds);
    }
    void totalVideoDurationWithTotalDuration(float seconds) override {
        progress.emplace_back('d', seconds);
    }
    void playbackBufferEmpty() override { told.push_back("empty"); }
    void playbackLikelyToKeepUp() override { told.push_back("likely"); }
};

}  // namespace korvel::tests
