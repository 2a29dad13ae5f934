#include "Timings.h"

#include <algorithm>
#include <cmath>
#include <cstdio>

namespace cli {

namespace {

using Timeline = korvel::Playback::Timeline;
using Milliseconds = std::chrono::duration<double, std::milli>;

constexpr double barColumns = 40;

struct Step {
    const char* name;
    Timeline::Moment begin;
    Timeline::Moment end;
};

std::vector<Step> stepsOf(const Timeline& start) {
    // A picture needs the media, and of a protected class the key.
    const auto shown =
        start.key && start.segment ? std::max(start.key, start.segment) : start.segment;
    return {{"perform", start.asked, start.performed},
            {"playlists", start.opened, start.playlist},
            {"token", start.tokenAsked, start.token},
            {"key request", start.keyAsked, start.keyRequested},
            {"key", start.keyRequested, start.key},
            {"first segment", start.playlist, start.segment},
            {"first picture", shown, start.picture}};
}

std::string bar(double begin, double end, double whole) {
    const auto column = [&](double time) {
        return static_cast<std::size_t>(std::lround(time / whole * barColumns));
    };
    const auto first = std::min(column(begin), column(whole) - 1);
    const auto last = std::max(column(end), first + 1);
    std::string text(first, ' ');
    for (auto i = first; i < last; ++i) text += "█";
    return text + std::string(column(whole) - last, ' ');
}

std::string lineOf(const Step& step, const Timeline& start, double whole) {
    char text[256];
    const auto since = [&](const Timeline::Moment& moment) {
        return std::max(0., Milliseconds(*moment - *start.asked).count());
    };
    if (!step.begin || !step.end) {
        std::snprintf(text, sizeof text, "%-14s %s", step.name, step.begin ? "did not end" : "-");
        return text;
    }
    const auto begin = since(step.begin);
    const auto end = since(step.end);
    std::snprintf(text, sizeof text, "%-14s %s %6.0f ms, from %.0f to %.0f", step.name,
                  bar(begin, end, whole).c_str(), end - begin, begin, end);
    return text;
}

}  // namespace

std::vector<std::string> timings(const Timeline& timeline) {
    const auto steps = stepsOf(timeline);
    Timeline::Moment last;
    for (const auto& step : steps) last = std::max(last, step.end);
    std::vector<std::string> lines;
    if (!timeline.asked || !last) return lines;
    const auto whole = std::max(1., Milliseconds(*last - *timeline.asked).count());
    for (const auto& step : steps) lines.push_back(lineOf(step, timeline, whole));
    return lines;
}

}  // namespace cli
