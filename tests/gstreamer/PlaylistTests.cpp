#include <korvel/platform/backends/gstreamer/PlaylistInspection.h>

#include <gtest/gtest.h>

namespace korvel::tests {

using namespace platform;
using gst::Encryption;

TEST(Playlists, SayHowTheyAreEncrypted) {
    const URL address = *URL::parse("https://h/a/v.m3u8?q");
    const auto inspect = [&](std::string_view text) {
        std::optional<URL> variant;
        const Encryption found = gst::encryptionIn(text, address, variant);
        return std::pair(found, variant ? variant->absoluteString() : "");
    };
    using Found = std::pair<Encryption, std::string>;
    EXPECT_EQ(inspect(""), Found());
    EXPECT_EQ(inspect("#EXTM3U\n#EXT-X-KEY:METHOD=NONE\na.ts"), Found());
    EXPECT_EQ(
        inspect("#EXT-X-KEY:METHOD=AES-128,IV=0x1,URI=\"SKD://h/k,METHOD=SAMPLE-AES\"\r\na.ts\r\n"),
        Found({false, {"skd"}}, ""));
    EXPECT_EQ(
        inspect("#EXT-X-KEY:URI=\"k\",METHOD=AES-128\n#EXT-X-KEY:METHOD=AES-128,URI=\"x+1:k\"\n"),
        Found({false, {"https", "x+1"}}, ""));
    EXPECT_EQ(inspect("#EXT-X-SESSION-KEY:METHOD=SAMPLE-AES-CTR,URI=\"x:k\"\n"),
              Found({true, {}}, ""));
    EXPECT_EQ(inspect("#EXT-X-STREAM-INF:BANDWIDTH=1,CODECS=\"a,b\"\n\n#comment\n../b/1.m3u8\n"
                      "#EXT-X-STREAM-INF:BANDWIDTH=2\n2.m3u8"),
              Found({}, "https://h/b/1.m3u8"));
    for (const auto* text :
         {"#EXT-X-KEY:", "#EXT-X-KEY:METHOD", "#EXT-X-KEY:METHOD=", "#EXT-X-KEY:=,=,\"",
          "\"#EXT-X-KEY:URI=\"", "#EXT-X-KEY:METHOD=AES-128,URI=\"", "#EXT-X-STREAM-INF:\n"}) {
        EXPECT_EQ(inspect(text), Found()) << text;
    }
}

}  // namespace korvel::tests
