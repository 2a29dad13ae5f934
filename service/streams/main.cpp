#include <service/streams/Encryption.h>
#include <service/streams/TestPicture.h>

#include <gst/app/gstappsrc.h>
#include <gst/gst.h>

#include <cstdio>
#include <exception>
#include <filesystem>
#include <fstream>
#include <stdexcept>
#include <string>
#include <vector>

namespace {

using korvel::service::TestPicture;
namespace fs = std::filesystem;

constexpr int lengthSeconds = 30;
constexpr int segmentSeconds = 3;

struct Variant {
    const char* name;
    TestPicture picture;
    int kilobits;  ///< a second
};
constexpr Variant variants[] = {{"360p", {640, 360, 30}, 700}, {"720p", {1280, 720, 30}, 2000}};

GstElement* pipeline(const Variant& variant, const fs::path& folder) {
    const auto number = [](int value) { return std::to_string(value); };
    const TestPicture& picture = variant.picture;
    const std::string description =
        "appsrc name=pictures format=time block=true max-bytes=8000000 "
        "caps=video/x-raw,format=I420,width=" +
        number(picture.width) + ",height=" + number(picture.height) +
        ",framerate=" + number(picture.perSecond) +
        "/1 ! x264enc speed-preset=superfast bitrate=" + number(variant.kilobits) +
        " key-int-max=" + number(picture.perSecond * segmentSeconds) +
        " option-string=scenecut=0 ! h264parse ! queue ! out.video "
        "audiotestsrc samplesperbuffer=1024 wave=sine freq=440 volume=0.2 num-buffers=" +
        number(lengthSeconds * 48000 / 1024) +
        " ! audio/x-raw,rate=48000,channels=2 ! avenc_aac bitrate=96000 ! aacparse ! queue ! "
        "out.audio "
        "hlssink2 name=out playlist-length=0 max-files=0 target-duration=" +
        number(segmentSeconds) + " location=" + (folder / "%05d.ts").string() +
        " playlist-location=" + (folder / "index.m3u8").string();
    GError* error = nullptr;
    GstElement* made = gst_parse_launch(description.c_str(), &error);
    if (error) throw std::runtime_error(error->message);
    return made;
}

void push(GstElement* element, const TestPicture& picture) {
    GstElement* source = gst_bin_get_by_name(GST_BIN(element), "pictures");
    for (int i = 0; i < lengthSeconds * picture.perSecond; ++i) {
        GstBuffer* buffer = gst_buffer_new_allocate(nullptr, picture.size(), nullptr);
        GstMapInfo map;
        gst_buffer_map(buffer, &map, GST_MAP_WRITE);
        picture.draw(i, {map.data, map.size});
        gst_buffer_unmap(buffer, &map);
        const auto frames = static_cast<guint64>(picture.perSecond);
        GST_BUFFER_PTS(buffer) = gst_util_uint64_scale(static_cast<guint64>(i), GST_SECOND, frames);
        GST_BUFFER_DURATION(buffer) = GST_SECOND / frames;
        if (gst_app_src_push_buffer(GST_APP_SRC(source), buffer) != GST_FLOW_OK) break;
    }
    gst_app_src_end_of_stream(GST_APP_SRC(source));
    gst_object_unref(source);
}

void make(const Variant& variant, const fs::path& folder) {
    fs::create_directories(folder);
    GstElement* element = pipeline(variant, folder);
    gst_element_set_state(element, GST_STATE_PLAYING);
    push(element, variant.picture);
    GstBus* bus = gst_element_get_bus(element);
    GstMessage* end = gst_bus_timed_pop_filtered(
        bus, GST_CLOCK_TIME_NONE, static_cast<GstMessageType>(GST_MESSAGE_ERROR | GST_MESSAGE_EOS));
    std::string failure;
    if (GST_MESSAGE_TYPE(end) == GST_MESSAGE_ERROR) {
        GError* error = nullptr;
        gst_message_parse_error(end, &error, nullptr);
        failure = error->message;
        g_error_free(error);
    }
    gst_message_unref(end);
    gst_object_unref(bus);
    gst_element_set_state(element, GST_STATE_NULL);
    gst_object_unref(element);
    if (!failure.empty()) throw std::runtime_error(failure);
}

void writeMaster(const fs::path& folder) {
    std::ofstream master(folder / "index.m3u8");
    master << "#EXTM3U\n#EXT-X-VERSION:3\n";
    for (const Variant& each : variants) {
        master << "#EXT-X-STREAM-INF:BANDWIDTH=" << (each.kilobits + 200) * 1000
               << ",RESOLUTION=" << each.picture.width << 'x' << each.picture.height
               << ",CODECS=\"avc1.640028,mp4a.40.2\"\n"
               << each.name << "/index.m3u8\n";
    }
    if (!master.flush()) throw std::runtime_error("cannot write " + folder.string());
}

}  // namespace

/// Makes the development streams: 30 s, in two sizes, plain and encrypted.
int main(int argc, char** argv) {
    if (argc != 2) {
        std::fprintf(stderr, "usage: korvel-make-streams FOLDER\n");
        return 2;
    }
    gst_init(nullptr, nullptr);
    try {
        const fs::path folder = argv[1];
        for (const Variant& each : variants) {
            const std::string identifier = std::string("development-") + each.name;
            make(each, folder / "plain" / each.name);
            korvel::service::encryptStream(folder / "plain" / each.name,
                                           folder / "protected" / each.name,
                                           korvel::service::contentKey(identifier),
                                           "skd://{host}/media/keys?kid=" + identifier);
        }
        writeMaster(folder / "plain");
        writeMaster(folder / "protected");
    } catch (const std::exception& error) {
        std::fprintf(stderr, "korvel-make-streams: %s\n", error.what());
        return 1;
    }
    return 0;
}
