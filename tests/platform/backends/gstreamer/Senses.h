#pragma once

#include "platform/backends/gstreamer/SoundRecorder.h"

#include <gst/app/gstappsink.h>
#include <gst/gst.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <vector>

/// What the streams that "forms/make" makes look and sound like.
namespace korvel::tests {

/// How often a second the sound swings, half a second into `second`; 0 if it is not all there.
inline double tone(const std::vector<SoundPiece>& sound, double second, double rate = 1) {
    const double from = second + 0.3;
    const double to = second + 0.7;
    double swings = 0;
    double heard = 0;
    float last = 0;
    for (const SoundPiece& piece : sound) {
        for (std::size_t i = 0; i < piece.samples.size(); ++i) {
            const double at = piece.from + static_cast<double>(i) / piece.perSecond * rate;
            if (at < from || at >= to) continue;
            if (last <= 0 && piece.samples[i] > 0) ++swings;
            last = piece.samples[i];
            heard += 1. / piece.perSecond;
        }
    }
    return heard < 0.39 / rate ? 0 : swings / heard;
}

inline double longestGap(const std::vector<SoundPiece>& sound, double from, double to) {
    double end = from;
    double longest = 0;
    for (const SoundPiece& piece : sound) {
        longest = std::max(longest, piece.from - end);
        end = std::max(end, piece.from + piece.length);
    }
    return std::max(longest, to - end);
}

/// Every picture is shown, however late: which ones come is the stream's matter, not the machine's.
inline void showLatePictures() {
    const auto added = g_signal_lookup("deep-element-added", GST_TYPE_BIN);
    const auto set = [](GSignalInvocationHint*, guint, const GValue* values, gpointer) -> gboolean {
        auto* element = static_cast<GObject*>(g_value_get_object(values + 2));
        if (GST_IS_APP_SINK(element)) g_object_set(element, "qos", FALSE, nullptr);
        return TRUE;
    };
    static const auto hook = g_signal_add_emission_hook(added, 0, set, nullptr, nullptr);
    ASSERT_NE(hook, 0U);
}

}  // namespace korvel::tests
