#include <korvel/platform/avfoundation/AVError.h>
#include <korvel/platform/backends/gstreamer/ErrorTranslation.h>
#include <korvel/platform/backends/gstreamer/Handles.h>

#include <memory>

namespace korvel::platform::gst {

namespace {

using Error = std::unique_ptr<GError, decltype(&g_error_free)>;

AVError codeOf(const GError& error) {
    if (error.domain == GST_CORE_ERROR && error.code == GST_CORE_ERROR_MISSING_PLUGIN)
        return AVError::decoderNotFound;
    if (error.domain != GST_STREAM_ERROR) return AVError::unknown;
    switch (error.code) {
        case GST_STREAM_ERROR_CODEC_NOT_FOUND:
            return AVError::decoderNotFound;
        case GST_STREAM_ERROR_TYPE_NOT_FOUND:
        case GST_STREAM_ERROR_WRONG_TYPE:
        case GST_STREAM_ERROR_FORMAT:
            return AVError::fileFormatNotRecognized;
        case GST_STREAM_ERROR_DECRYPT:
        case GST_STREAM_ERROR_DECRYPT_NOKEY:
            return AVError::contentIsNotAuthorized;
        case GST_STREAM_ERROR_DECODE:
        case GST_STREAM_ERROR_DEMUX:
            return AVError::decodeFailed;
        default:
            return AVError::unknown;  // "internal data stream error" stands for anything
    }
}

}  // namespace

NSError errorOf(GstMessage* message) {
    GError* parsed = nullptr;
    gchar* debug = nullptr;
    gst_message_parse_error(message, &parsed, &debug);
    const Error error(parsed, g_error_free);
    NSError translated = makeAVError(codeOf(*error), error->message);
    translated.userInfo["debug"] = taken(debug);
    return translated;
}

}  // namespace korvel::platform::gst
