#pragma once

#include <korvel/platform/avfoundation/AVMediaSelection.h>

#include <chrono>
#include <optional>
#include <string>
#include <vector>

namespace korvel::platform {

/// Words that are shown over the picture for a while. Values; any thread.
struct AVSubtitleCue {
    /// A piece of it that looks the same throughout.
    struct Run {
        std::string text{};  ///< UTF-8; '\n' parts lines
        bool isBold = false;
        bool isItalic = false;
        bool isUnderlined = false;

        bool operator==(const Run&) const = default;
    };
    enum class Alignment { start, center, end };

    std::chrono::nanoseconds start{};  ///< in the stream's time
    std::chrono::nanoseconds end{};    ///< the first moment without it
    std::vector<Run> runs{};           ///< in order of reading; never empty
    /// Where its box begins below the picture's top, in heights of the picture; nothing: at the
    /// bottom, above what is there already.
    std::optional<double> top{};
    double center = 0.5;  ///< of its box, in widths of the picture
    double width = 1;     ///< the most that its box takes, likewise
    Alignment alignment = Alignment::center;

    /// Without its looks.
    std::string text() const {
        std::string text;
        for (const Run& run : runs) text += run.text;
        return text;
    }
    bool operator==(const AVSubtitleCue&) const = default;
};

/// Which subtitles are wanted.
struct AVSubtitleSelection {
    enum class Mode {
        none,
        byLanguage,  ///< the best of the languages that the user understands; else none
        option,
    };
    Mode mode = Mode::none;
    AVMediaSelectionOption option{};  ///< found by name and language

    bool operator==(const AVSubtitleSelection&) const = default;
};

}  // namespace korvel::platform
