#pragma once

#include <korvel/platform/foundation/Data.h>
#include <korvel/platform/hls/Encryption.h>
#include <korvel/platform/hls/Media.h>

#include <cstdint>
#include <functional>
#include <memory>
#include <optional>
#include <span>
#include <string>
#include <string_view>
#include <vector>

namespace korvel::platform::hls {

/// Whom a container reader tells what it finds. On the reader's thread, from within its calls.
class ContainerListener {
public:
    virtual ~ContainerListener();
    /// Which of these sounds is given, all that can be read, in the container's order; there is at
    /// least one. Asked before any format comes; by default the first.
    virtual std::size_t chooseSound(const std::vector<SoundTrack>& sounds);
    /// Of the samples of that kind from here on.
    virtual void format(std::shared_ptr<const Format> format) = 0;
    /// Which kinds there are is known: no others come in this segment.
    virtual void formatsAreComplete() = 0;
    /// Times are the container's own, and count on beyond the numbers in which it keeps them.
    virtual void sample(Kind kind, Sample sample) = 0;
    /// Samples are encrypted in a way that cannot be opened, or say so wrongly; they are left out.
    /// `reason` is a sentence without its end.
    virtual void locked(const std::string& reason);
};

/// Takes one media segment apart. One thread; nothing of one segment is known in the next. Of
/// several pictures the first counts. Bytes may be anything: what makes no sense is passed over.
class ContainerReader {
public:
    using Bytes = std::span<const std::uint8_t>;
    virtual ~ContainerReader();
    virtual void push(Bytes bytes) = 0;
    /// Gives out what is left.
    virtual void finish() = 0;
};

enum class Container { unknown, transportStream, fragments, packedAudio, playlist, text };

/// What begins so; nothing while more bytes are needed to tell. `isWhole`: there are no more.
std::optional<Container> recognised(ContainerReader::Bytes beginning, bool isWhole);

/// `initialization`: the bytes of the segment's map, which only fragments need. `samples`: what
/// opens encrypted ones; nothing if the segment has none.
std::unique_ptr<ContainerReader> makeContainerReader(Container container,
                                                     ContainerReader::Bytes initialization,
                                                     ContainerListener& listener,
                                                     std::optional<Encryption> samples = {});

/// The period after which the container's times begin again at zero; nothing if they do not.
std::optional<std::chrono::nanoseconds> wrapPeriod(Container container);

}  // namespace korvel::platform::hls
