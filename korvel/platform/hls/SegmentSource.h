#pragma once

#include <korvel/platform/hls/Cipher.h>
#include <korvel/platform/hls/Encryption.h>
#include <korvel/platform/hls/Fetcher.h>
#include <korvel/platform/hls/KeyStore.h>

#include <cstddef>
#include <cstdint>
#include <functional>
#include <memory>
#include <optional>

namespace korvel::platform::hls {

/// How what is encrypted is opened, once the key is there: `waits` until then, and nothing comes of
/// that if it never will be.
using Opening = std::function<std::optional<Encryption>(bool waits)>;

/// Gets segments and decrypts them. One thread.
class SegmentSource {
public:
    SegmentSource(std::shared_ptr<StreamLoader> loader, std::shared_ptr<Attention> attention)
        : attention_(std::move(attention)), fetcher_(std::move(loader), *attention_) {}

    Fetcher& fetcher() { return fetcher_; }
    /// As with `Fetcher::get`; the sink gets plain bytes, sizes are those on the line. While the
    /// key is on its way it gets none of what comes, which is kept. A body that does not end as an
    /// encrypted one must is not an error: what came before it has been given. Where samples are
    /// encrypted, not bodies, the sink gets all as it is, and none before the key is there.
    FetchResult get(const FetchRequest& request, const Opening& opening,
                    Attention::Generation generation, const Fetcher::Sink& sink);

    /// With so much kept nothing more is loaded before the key comes.
    static constexpr std::size_t mostUnopened = std::size_t{4} << 20U;

private:
    struct Unopened;

    const std::shared_ptr<Attention> attention_;
    Fetcher fetcher_;
};

}  // namespace korvel::platform::hls
