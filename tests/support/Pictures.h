#pragma once

#include <korvel/platform/avfoundation/MediaEngine.h>
#include <service/streams/TestPicture.h>

namespace korvel::tests {

/// The number that the service burnt into the picture; -1 without one.
inline int numberOn(const std::shared_ptr<const platform::VideoFrame>& frame) {
    if (!frame) return -1;
    return service::TestPicture::numberOn(frame->width, frame->height, [&](auto x, auto y) {
        return frame->planes[0].data[y * frame->planes[0].stride + x] > 128;
    });
}

}  // namespace korvel::tests
