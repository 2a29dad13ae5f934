#include <korvel/platform/avfoundation/AVError.h>
#include <korvel/platform/foundation/DispatchQueue.h>
#include <korvel/platform/hls/Conductor.h>

#include <algorithm>
#include <array>
#include <string_view>
#include <utility>

namespace korvel::platform::hls {

using std::chrono::nanoseconds;

namespace {

/// Loaders look at the levels again after so many samples have left the queues, or at their end.
constexpr unsigned samplesToLook = 8;

bool isVideoCodec(std::string_view codecs) {
    constexpr std::array<std::string_view, 10> names{"avc1", "avc3", "hvc1", "hev1", "dvh1",
                                                     "dvhe", "vp09", "vp08", "av01", "mp4v"};
    return std::any_of(names.begin(), names.end(),
                       [&](auto name) { return codecs.find(name) != codecs.npos; });
}

bool hasPicture(const VariantTag& tag) {
    return tag.width > 0 || tag.codecs.empty() || isVideoCodec(tag.codecs);
}

}  // namespace

Presentation::~Presentation() = default;

std::shared_ptr<Presentation> Presentation::open(const URL& url, PresentationParts parts,
                                                 VariantBounds bounds) {
    auto conductor = std::make_shared<Conductor>(std::move(parts), bounds);
    conductor->open(url);
    return conductor;
}

Conductor::Conductor(PresentationParts parts, VariantBounds bounds)
    : stage_(std::make_shared<Stage>(std::move(parts))), bounds_(bounds) {}

Conductor::~Conductor() { close(); }

void Conductor::open(const URL& url) {
    DispatchQueue::serial("korvel stream")->async([stage = stage_, url, weak = weak_from_this()] {
        load(stage, url, weak);
    });
}

/// Whatever is sought meanwhile: what is loaded here holds for all of it.
void Conductor::load(const std::shared_ptr<Stage>& stage, const URL& url,
                     const std::weak_ptr<Conductor>& weak) {
    if (!isWebScheme(url)) {
        return stage->failPlaylist(
            makeAVError(AVError::serverIncorrectlyConfigured,
                        "Only http and https are loaded: " + url.absoluteString()));
    }
    Fetcher fetcher(stage->loader(), stage->attention());
    Attention& attention = stage->attention();
    while (!attention.isClosed()) {
        Data body;
        const auto result = fetcher.get(
            {.url = url, .limit = longestPlaylist, .endurance = std::chrono::seconds(2)},
            attention.current(), [&](Fetcher::Bytes bytes, const FetchResult&, auto) {
                body.insert(body.end(), bytes.begin(), bytes.end());
                constexpr std::size_t enough = 10;
                return body.size() < enough || isPlaylist(viewOf(body));
            });
        if (result.end == FetchResult::End::stale) continue;
        if (result.end == FetchResult::End::failed) return stage->failPlaylist(result.error);
        if (!isPlaylist(viewOf(body))) {
            NSError error = makeAVError(AVError::fileFormatNotRecognized,
                                        "This is no playlist: " + result.address.absoluteString());
            error.userInfo["notAPlaylist"] = std::string("yes");
            return stage->failPlaylist(error);
        }
        const auto conductor = weak.lock();
        if (conductor) {
            conductor->begin(result.address, readPlaylist(viewOf(body), result.address));
        }
        return;
    }
}

void Conductor::begin(const URL& address, Playlist playlist) {
    if (const auto* error = std::get_if<NSError>(&playlist)) return stage_->failPlaylist(*error);
    if (auto* media = std::get_if<MediaPlaylist>(&playlist))
        return begin(address, std::move(*media));
    begin(address, std::get<MasterPlaylist>(playlist));
}

void Conductor::begin(const URL& address, MediaPlaylist playlist) {
    if (!playlist.isEnded) stage_->setReference(std::make_shared<const MediaPlaylist>(playlist));
    const VariantTag alone;
    start(makeLadder({{.address = address.absoluteString()}}),
          {.playlists = {address},
           .first = std::move(playlist),
           .sound = makeSoundChoice({}, address, {&alone})});
}

void Conductor::begin(const URL& address, const MasterPlaylist& playlist) {
    const auto& keys = playlist.sessionKeys;
    const bool isClosed =
        !keys.empty() && std::none_of(keys.begin(), keys.end(), [&](const auto& key) {
            return stage_->keys().opens(key) || key.method == "NONE";
        });
    if (isClosed) {
        return stage_->failPlaylist(makeAVError(
            AVError::contentIsProtected, "The stream is encrypted by " + keys.front().method +
                                             ", which cannot be opened here."));
    }
    for (const auto& key : keys) stage_->preload(address, key);
    const auto& tags = playlist.variants;
    const bool anyPicture = std::any_of(tags.begin(), tags.end(), hasPicture);
    std::vector<Variant> variants;
    Rendition::Source source{.definitions = playlist.definitions};
    std::vector<const VariantTag*> chosen;
    for (const VariantTag& tag : tags) {
        const auto url = resolved(address, tag.uri);
        if (!url || !mayLead(address, *url) || (anyPicture && !hasPicture(tag))) continue;
        variants.push_back({tag.bandwidth, tag.width, tag.height, tag.frameRate, tag.codecs,
                            url->absoluteString()});
        source.playlists.push_back(*url);
        chosen.push_back(&tag);
    }
    if (variants.empty()) {
        return stage_->failPlaylist(
            makeAVError(AVError::serverIncorrectlyConfigured,
                        "No variant that may be loaded: " + address.absoluteString()));
    }
    auto ladder = makeLadder(std::move(variants));
    const auto first = ladder->choice(std::nullopt, {}, stage_->attention().clock().now());
    source.isSoundAlone = !anyPicture;
    source.sound = makeSoundChoice(playlist, address, chosen);
    source.sound->follow(first);
    subtitles_.offer({playlist, address, chosen}, playlist.definitions);
    start(std::move(ladder), std::move(source));
}

/// A wish counts that was made before anybody knew what there is.
std::shared_ptr<SoundChoice> Conductor::makeSoundChoice(
    const MasterPlaylist& playlist, const URL& address,
    const std::vector<const VariantTag*>& variants) {
    auto sound = std::make_shared<SoundChoice>(playlist, address, variants, stage_->languages());
    const std::lock_guard lock(mutex_);
    if (wish_) sound->select(*wish_);
    return sound_ = std::move(sound);
}

std::shared_ptr<Ladder> Conductor::makeLadder(std::vector<Variant> variants) const {
    const auto remembered = stage_->line().recall(stage_->attention().clock().now());
    const std::lock_guard lock(mutex_);
    return std::make_shared<Ladder>(std::move(variants), bounds_, remembered);
}

void Conductor::start(std::shared_ptr<Ladder> ladder, Rendition::Source source) {
    {
        const std::lock_guard lock(mutex_);
        ladder_ = ladder;
        ladder->setBounds(bounds_);
    }
    if (!source.isSoundAlone && !source.sound->playlists().empty()) {
        const auto& playlists = source.sound->playlists();
        Rendition::Source other{.isMain = false,
                                .playlists = playlists,
                                .definitions = source.definitions,
                                .sound = source.sound};
        std::make_shared<Rendition>(
            stage_, std::make_shared<Ladder>(std::vector<Variant>(playlists.size())), statistics_,
            std::move(other))
            ->start();
    }
    std::make_shared<Rendition>(stage_, std::move(ladder), statistics_, std::move(source))->start();
}

void Conductor::close() {
    subtitles_.close();
    stage_->close();
}

void Conductor::seek(nanoseconds to) {
    constexpr nanoseconds farthest =
        std::chrono::hours(24 * 365 * 200);  // with which can be reckoned
    to = std::clamp(to, nanoseconds::zero(), stage_->duration().value_or(farthest));
    stage_->seek(to);
    subtitles_.sought(to);
}

void Conductor::setRate(double rate) {
    stage_->levels().setRate(rate);
    stage_->attention().notify();
}

void Conductor::setBounds(VariantBounds bounds) {
    const std::lock_guard lock(mutex_);
    bounds_ = bounds;
    if (ladder_) ladder_->setBounds(bounds);
}

AVMediaSelectionGroup Conductor::sounds() const {
    const std::lock_guard lock(mutex_);
    return sound_ ? sound_->group() : AVMediaSelectionGroup();
}

bool Conductor::selectSound(const AVMediaSelectionOption& option) {
    const std::lock_guard lock(mutex_);
    wish_ = option;
    return sound_ && sound_->select(option);
}

AVMediaSelectionGroup Conductor::subtitles() const { return subtitles_.group(); }

void Conductor::selectSubtitles(const AVSubtitleSelection& selection) {
    subtitles_.select(selection);
}

std::vector<AVSubtitleCue> Conductor::cues(nanoseconds from) const { return subtitles_.cues(from); }

void Conductor::taken(Kind kind, std::size_t bytes) {
    stage_->levels().taken(kind, bytes);
    if (++samplesTaken_ % samplesToLook == 0) stage_->attention().notify();
}

void Conductor::starved(Kind kind) {
    stage_->levels().starved(kind);
    stage_->attention().notify();
    stage_->look();
}

std::optional<nanoseconds> Conductor::duration() const { return stage_->duration(); }

std::vector<MediaTimeRange> Conductor::buffered() const {
    const auto position = stage_->position();
    const auto level = stage_->levels().level(position);
    const auto end = level ? position + *level : stage_->duration().value_or(position);
    return end > position ? std::vector<MediaTimeRange>{{position, end}}
                          : std::vector<MediaTimeRange>();
}

std::vector<Variant> Conductor::variants() const {
    const std::lock_guard lock(mutex_);
    return ladder_ ? ladder_->variants() : std::vector<Variant>();
}

std::vector<AVPlayerItemAccessLogEvent> Conductor::accessLog() const {
    return statistics_->accesses(variants(), stage_->levels().stalls());
}

std::vector<AVPlayerItemErrorLogEvent> Conductor::errorLog() const { return statistics_->errors(); }

}  // namespace korvel::platform::hls
