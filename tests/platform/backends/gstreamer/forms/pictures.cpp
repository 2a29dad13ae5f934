// pictures WIDTH HEIGHT RATE FIRST COUNT: numbered pictures as YUV4MPEG2 on standard output.
#include <service/streams/TestPicture.h>

#include <cstdio>
#include <cstdlib>
#include <vector>

int main(int count, char** arguments) {
    if (count != 6) return 2;
    const auto number = [&](int index) { return std::atoi(arguments[index]); };
    const korvel::service::TestPicture picture{number(1), number(2), number(3)};
    std::printf("YUV4MPEG2 W%d H%d F%d:1 Ip A1:1 C420jpeg\n", picture.width, picture.height,
                picture.perSecond);
    std::vector<std::uint8_t> pixels(picture.size());
    for (int i = number(4); i < number(4) + number(5); ++i) {
        picture.draw(i, pixels);
        std::fputs("FRAME\n", stdout);
        if (std::fwrite(pixels.data(), 1, pixels.size(), stdout) != pixels.size()) return 1;
    }
    return 0;
}
