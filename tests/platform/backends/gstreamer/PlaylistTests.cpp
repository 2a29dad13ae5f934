#include <korvel/platform/backends/gstreamer/Playlist.h>

#include <gtest/gtest.h>

namespace korvel::tests {

using namespace platform;

TEST(Playlists, AreLedToOurSourceWithCompleteAddresses) {
    const URL address = *URL::parse("HTTPS://h:1/a/v.m3u8?q");
    const std::pair<std::string, std::string> lines[] = {
        {"", ""},
        {"#EXTM3U", "#EXTM3U"},
        {"#EXT-X-KEY:METHOD=NONE", "#EXT-X-KEY:METHOD=NONE"},
        {"1.ts?x=1\r", "korvel+https://h:1/a/1.ts?x=1"},
        {"../b/1.ts", "korvel+https://h:1/b/1.ts"},
        {"//other/1.ts", "korvel+https://other/1.ts"},
        {"HTTP://other/1.ts", "korvel+http://other/1.ts"},
        {"ftp://other/1.ts", "ftp://other/1.ts"},
        {"no address.ts", "no address.ts"},
        {"#EXT-X-KEY:METHOD=AES-128,IV=0x1,URI=\"SKD://h/k?kid=1,URI=2\",X=\"a\"",
         "#EXT-X-KEY:METHOD=AES-128,IV=0x1,URI=\"korvel-key:SKD://h/k?kid=1,URI=2\",X=\"a\""},
        {"#EXT-X-KEY:URI=\"k\",METHOD=AES-128",
         "#EXT-X-KEY:URI=\"korvel+https://h:1/a/k\",METHOD=AES-128"},
        {"#EXT-X-SESSION-KEY:METHOD=AES-128,URI=\"x+1:k\"",
         "#EXT-X-SESSION-KEY:METHOD=AES-128,URI=\"korvel-key:x+1:k\""},
        {"#EXT-X-MEDIA:TYPE=AUDIO,NAME=\"URI=\",URI=\"en.m3u8\"",
         "#EXT-X-MEDIA:TYPE=AUDIO,NAME=\"URI=\",URI=\"korvel+https://h:1/a/en.m3u8\""},
        {"#EXT-X-KEY:", "#EXT-X-KEY:"},
        {"#EXT-X-KEY:=,=,\"", "#EXT-X-KEY:=,=,\""},
        {"#EXT-X-KEY:METHOD=AES-128,URI=\"", "#EXT-X-KEY:METHOD=AES-128,URI=\""},
    };
    for (const auto& [line, routed] : lines) {
        const auto playlist = gst::routedPlaylist("\xEF\xBB\xBF#EXTM3U\n" + line + "\n", address);
        EXPECT_EQ(playlist.text, "#EXTM3U\n" + routed + "\n");
        EXPECT_FALSE(playlist.sampleAES) << line;
    }
    EXPECT_TRUE(
        gst::routedPlaylist("#EXT-X-KEY:URI=\"k\",METHOD=SAMPLE-AES-CTR", address).sampleAES);
    EXPECT_EQ(gst::originalAddress("korvel+http://h/1")->absoluteString(), "http://h/1");
    EXPECT_EQ(gst::originalAddress("korvel-key:SKD://h/k")->absoluteString(), "SKD://h/k");
    EXPECT_FALSE(gst::routedAddress(*URL::parse("file:///1.mp4")));
}

}  // namespace korvel::tests
