#pragma once

#include <korvel/platform/hls/Cipher.h>
#include <korvel/platform/hls/Fetcher.h>
#include <korvel/platform/hls/KeyStore.h>

#include <cstdint>
#include <memory>
#include <optional>

namespace korvel::platform::hls {

/// What is encrypted, and how.
struct Encryption {
    ContentKey key{};
    InitializationVector vector{};
};

/// The vector of a key tag, or the one that the number of the segment makes.
InitializationVector vectorOf(const KeyTag& key, std::int64_t segmentNumber);

/// Whether this method can be decrypted here.
bool isSupported(const KeyTag& key);

/// Gets segments and decrypts them. One thread.
class SegmentSource {
public:
    SegmentSource(std::shared_ptr<StreamLoader> loader, std::shared_ptr<Attention> attention)
        : attention_(std::move(attention)), fetcher_(std::move(loader), *attention_) {}

    Fetcher& fetcher() { return fetcher_; }
    /// As with `Fetcher::get`; the sink gets plain bytes, sizes are those on the line. A body that
    /// does not end as an encrypted one must is not an error: what came before it has been given.
    FetchResult get(const FetchRequest& request, const std::optional<Encryption>& encryption,
                    Attention::Generation generation, const Fetcher::Sink& sink);

private:
    const std::shared_ptr<Attention> attention_;
    Fetcher fetcher_;
};

}  // namespace korvel::platform::hls
