#include <korvel/platform/avfoundation/AVError.h>
#include <korvel/platform/hls/Attributes.h>
#include <korvel/platform/hls/Playlist.h>

#include <algorithm>
#include <cctype>
#include <charconv>
#include <utility>

namespace korvel::platform::hls {

using std::chrono::nanoseconds;

namespace {

constexpr std::string_view byteOrderMark = "\xEF\xBB\xBF";
constexpr std::size_t mostSegments = 100'000;
constexpr std::size_t mostVariants = 500;
constexpr std::size_t mostKeysAtOnce = 8;
constexpr std::size_t mostDefinitions = 100;
constexpr auto longestStream = std::chrono::hours(24 * 365);
constexpr auto leastTargetDuration = std::chrono::milliseconds(500);

NSError broken(std::string reason, const URL& address) {
    return makeAVError(AVError::fileFormatNotRecognized,
                       std::move(reason) + ": " + address.absoluteString());
}

class Reader {
public:
    Reader(const URL& address, const Definitions& imported)
        : address_(address), imported_(imported) {}

    void line(std::string_view line) {
        std::string changed;
        if (!master_.definitions.empty() && line.find("{$") != line.npos) {
            changed = substituted(line, master_.definitions);
            line = changed;
        }
        if (!line.starts_with('#')) return address(line);
        if (!line.starts_with("#EXT")) return;
        const auto colon = std::min(line.find(':'), line.size());
        const auto name = line.substr(1, colon - 1);
        const auto value = line.substr(std::min(colon + 1, line.size()));
        if (!segmentTag(name, value) && !listTag(name, value)) masterTag(name, value);
    }

    Playlist result() && {
        if (error_) return broken(*error_, address_);
        if (!master_.variants.empty()) return std::move(master_);
        if (media_.segments.empty() && !isMedia_)
            return broken("The playlist names no segment", address_);
        return std::move(media_);
    }
    bool isOver() const { return error_.has_value(); }

private:
    bool segmentTag(std::string_view name, std::string_view value) {
        if (name == "EXTINF") {
            duration_ = std::max(secondsIn(value).value_or(nanoseconds::zero()), {});
        } else if (name == "EXT-X-BYTERANGE") {
            range_ = std::string(value);
        } else if (name == "EXT-X-DISCONTINUITY") {
            ++discontinuity_;
            date_.reset();
        } else if (name == "EXT-X-PROGRAM-DATE-TIME") {
            date_ = dateIn(value);
        } else if (name == "EXT-X-GAP") {
            isGap_ = true;
        } else if (name == "EXT-X-KEY") {
            key(value);
        } else if (name == "EXT-X-MAP") {
            map(Attributes(value));
        } else {
            return false;
        }
        return true;
    }

    bool listTag(std::string_view name, std::string_view value) {
        if (name == "EXT-X-TARGETDURATION") {
            media_.targetDuration = std::max<nanoseconds>(
                secondsIn(value).value_or(media_.targetDuration), leastTargetDuration);
            isMedia_ = true;
        } else if (name == "EXT-X-MEDIA-SEQUENCE") {
            // Of the first segment. One amid the list would leave a hole in its numbers.
            if (media_.segments.empty()) number_ = counter(value);
        } else if (name == "EXT-X-DISCONTINUITY-SEQUENCE") {
            if (media_.segments.empty()) discontinuity_ = counter(value);
        } else if (name == "EXT-X-ENDLIST" ||
                   (name == "EXT-X-PLAYLIST-TYPE" && value.starts_with("VOD"))) {
            media_.isEnded = true;
        } else if (name == "EXT-X-START") {
            media_.startOffset = secondsIn(Attributes(value).text("TIME-OFFSET"));
        } else if (name == "EXT-X-DEFINE") {
            define(Attributes(value));
        } else {
            return false;
        }
        return true;
    }

    void masterTag(std::string_view name, std::string_view value) {
        if (name == "EXT-X-STREAM-INF") {
            variant(Attributes(value));
        } else if (name == "EXT-X-MEDIA") {
            rendition(Attributes(value));
        } else if (name == "EXT-X-SESSION-KEY" && master_.sessionKeys.size() < mostKeysAtOnce) {
            const Attributes attributes(value);
            master_.sessionKeys.push_back({attributes.text("METHOD"), attributes.text("URI"), {}});
        }
    }

    static std::int64_t counter(std::string_view value) {
        constexpr std::int64_t largest = std::int64_t{1} << 62;
        return std::clamp<std::int64_t>(integerIn(value).value_or(0), 0, largest);
    }

    void key(std::string_view value) {
        const Attributes attributes(value);
        const std::string method = attributes.text("METHOD");
        if (method == "NONE") {
            keys_.clear();
        } else if (!method.empty() && keys_.size() < mostKeysAtOnce) {
            const auto iv = attributes["IV"];
            auto tag = std::make_shared<const KeyTag>(KeyTag{
                method, attributes.text("URI"), iv ? initializationVectorIn(*iv) : std::nullopt});
            if (iv && !tag->iv) error_ = "A key's IV is no number";
            keys_.insert_or_assign(std::string(attributes["KEYFORMAT"].value_or("identity")),
                                   std::move(tag));
        }
        // Several systems may offer the same content: the one that needs the least is taken.
        key_ = keys_.empty() ? nullptr : keys_.begin()->second;
        for (const auto& [format, each] : keys_) {
            if (each->method == "AES-128") key_ = each;
        }
    }

    void map(const Attributes& attributes) {
        auto tag = std::make_shared<MapTag>(MapTag{attributes.text("URI"), {}, key_});
        if (const auto range = attributes["BYTERANGE"]) tag->range = byteRange(*range, tag->uri);
        map_ = tag->uri.empty() ? nullptr : std::move(tag);
    }

    std::optional<ByteRange> byteRange(std::string_view text, const std::string& uri) {
        const auto range = byteRangeIn(text, uri == rangedUri_ ? nextOffset_ : 0);
        if (!range) {
            error_ = "A byte range is no range";
            return std::nullopt;
        }
        rangedUri_ = uri;
        nextOffset_ = range->offset + range->length;
        return range;
    }

    void define(const Attributes& attributes) {
        auto& all = master_.definitions;
        if (all.size() >= mostDefinitions) return;
        if (const auto name = attributes["NAME"]) {
            all.emplace(*name, attributes.text("VALUE"));
        } else if (const auto import = attributes["IMPORT"]) {
            const auto found = imported_.find(*import);
            if (found != imported_.end()) all.insert(*found);
        } else if (const auto parameter = attributes["QUERYPARAM"]) {
            for (const auto& item : address_.queryItems()) {
                if (item.name == *parameter && item.value) all.emplace(item.name, *item.value);
            }
        }
    }

    void variant(const Attributes& attributes) {
        pending_ = VariantTag();
        const auto bandwidth = integerIn(attributes.text("BANDWIDTH")).value_or(0);
        pending_->bandwidth = std::clamp<std::int64_t>(bandwidth, 0, 1'000'000'000'000);
        const std::string resolution = attributes.text("RESOLUTION");
        const auto cross = std::min(resolution.find_first_of("xX"), resolution.size());
        const auto pixels = [&](std::string_view text) {
            return static_cast<int>(
                std::clamp<std::int64_t>(integerIn(text).value_or(0), 0, 65'536));
        };
        pending_->width = pixels(std::string_view(resolution).substr(0, cross));
        pending_->height =
            pixels(std::string_view(resolution).substr(std::min(cross + 1, resolution.size())));
        pending_->frameRate = decimalIn(attributes.text("FRAME-RATE")).value_or(0);
        pending_->codecs = attributes.text("CODECS");
        pending_->audio = attributes.text("AUDIO");
        pending_->subtitles = attributes.text("SUBTITLES");
    }

    void rendition(const Attributes& attributes) {
        if (master_.renditions.size() >= mostVariants) return;
        const auto type = attributes.text("TYPE");
        master_.renditions.push_back({type == "AUDIO"       ? RenditionTag::Type::audio
                                      : type == "SUBTITLES" ? RenditionTag::Type::subtitles
                                                            : RenditionTag::Type::other,
                                      attributes.text("GROUP-ID"), attributes.text("NAME"),
                                      attributes.text("LANGUAGE"), attributes.text("URI"),
                                      attributes.isYes("DEFAULT"), attributes.isYes("AUTOSELECT"),
                                      attributes.isYes("FORCED")});
    }

    void address(std::string_view uri) {
        if (pending_) {
            pending_->uri = uri;
            if (master_.variants.size() < mostVariants)
                master_.variants.push_back(*std::move(pending_));
            pending_.reset();
        } else if (duration_) {
            segment(uri);
        }
    }

    void segment(std::string_view uri) {
        Segment next;
        next.uri = uri;
        if (range_) next.range = byteRange(*range_, next.uri);
        next.number = number_++;
        next.start = at_;
        next.duration = *duration_;
        next.discontinuity = discontinuity_;
        next.key = key_;
        next.map = map_;
        next.isGap = isGap_;
        next.date = date_;
        at_ += *duration_;
        if (date_) *date_ += *duration_;
        media_.segments.push_back(std::move(next));
        if (at_ > longestStream || media_.segments.size() > mostSegments)
            error_ = "The playlist is too long";
        duration_.reset();
        range_.reset();
        isGap_ = false;
    }

    const URL& address_;
    const Definitions& imported_;
    MasterPlaylist master_;
    MediaPlaylist media_;
    std::optional<std::string> error_;
    bool isMedia_ = false;

    std::optional<VariantTag> pending_;
    std::optional<nanoseconds> duration_;
    std::optional<std::string> range_;
    bool isGap_ = false;
    std::optional<nanoseconds> date_;                            ///< of the next segment
    std::map<std::string, std::shared_ptr<const KeyTag>> keys_;  ///< by format
    std::shared_ptr<const KeyTag> key_;
    std::shared_ptr<const MapTag> map_;
    std::string rangedUri_;
    std::uint64_t nextOffset_ = 0;
    std::int64_t number_ = 0;
    std::int64_t discontinuity_ = 0;
    nanoseconds at_{};
};

}  // namespace

nanoseconds MediaPlaylist::end() const {
    return segments.empty() ? nanoseconds::zero() : segments.back().end();
}

bool isPlaylist(std::string_view beginning) {
    if (beginning.starts_with(byteOrderMark)) beginning.remove_prefix(byteOrderMark.size());
    return beginning.starts_with("#EXTM3U");
}

Playlist readPlaylist(std::string_view text, const URL& address, const Definitions& imported) {
    if (!isPlaylist(text)) return broken("This is no playlist", address);
    if (text.size() > longestPlaylist) return broken("The playlist is too long", address);
    if (text.starts_with(byteOrderMark)) text.remove_prefix(byteOrderMark.size());
    Reader reader(address, imported);
    while (!text.empty() && !reader.isOver()) {
        const auto end = std::min(text.find_first_of("\r\n"), text.size());
        auto line = text.substr(0, end);
        text.remove_prefix(std::min(end + 1, text.size()));
        line = line.substr(0, line.find_last_not_of(" \t") + 1);
        if (!line.empty()) reader.line(line);
    }
    return std::move(reader).result();
}

std::optional<URL> resolved(const URL& base, std::string_view reference) {
    constexpr std::string_view refused = " \"<>\\^`{|}";
    std::string encoded;
    for (std::size_t i = 0; i < reference.size(); ++i) {
        const auto byte = static_cast<unsigned char>(reference[i]);
        const bool isEscape = byte == '%' && i + 2 < reference.size() &&
                              std::isxdigit(static_cast<unsigned char>(reference[i + 1])) != 0 &&
                              std::isxdigit(static_cast<unsigned char>(reference[i + 2])) != 0;
        if (byte <= 0x20 || byte >= 0x7F || refused.find(reference[i]) != refused.npos ||
            (byte == '%' && !isEscape)) {
            constexpr std::string_view digits = "0123456789ABCDEF";
            encoded += {'%', digits[byte >> 4U], digits[byte & 15U]};
        } else {
            encoded += reference[i];
        }
    }
    return base.resolving(encoded);
}

bool isWebScheme(const URL& url) {
    auto scheme = url.scheme().value_or("");
    std::transform(scheme.begin(), scheme.end(), scheme.begin(),
                   [](unsigned char letter) { return static_cast<char>(std::tolower(letter)); });
    return scheme == "http" || scheme == "https";
}

bool mayLead(const URL& parent, const URL& child) {
    const auto isSecure = [](const URL& url) { return url.scheme().value_or("").size() == 5; };
    return isWebScheme(child) && !child.host().value_or("").empty() &&
           (isSecure(child) || !isSecure(parent));
}

}  // namespace korvel::platform::hls
