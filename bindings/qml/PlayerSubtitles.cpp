#include <bindings/qml/PlayerSubtitles.h>
#include <bindings/qml/Text.h>
#include <korvel/platform/avfoundation/AVPlayer.h>
#include <korvel/platform/avfoundation/AVPlayerLayer.h>
#include <korvel/player/KCSDKPlayerView.h>

#include <QPointer>
#include <QQmlInfo>
#include <QVariantMap>
#include <algorithm>
#include <utility>

namespace korvel::qml {

using platform::AVMediaSelectionOption;
using Mode = platform::AVSubtitleSelection::Mode;

namespace {

constexpr const char* observed[] = {"status", "cues"};

std::string mainLanguage(const AVMediaSelectionOption& option) {
    const auto& tag = option.extendedLanguageTag;
    return tag.substr(0, tag.find('-'));
}

bool areSame(const AVMediaSelectionOption& one, const AVMediaSelectionOption& other) {
    return one.displayName == other.displayName &&
           one.extendedLanguageTag == other.extendedLanguageTag;
}

QVariantList listed(const std::vector<AVMediaSelectionOption>& options) {
    QVariantList list;
    for (const auto& each : options) {
        list.append(QVariantMap{{QStringLiteral("name"), text(each.displayName)},
                                {QStringLiteral("language"), text(each.extendedLanguageTag)}});
    }
    return list;
}

}  // namespace

/// What an item tells.
class PlayerSubtitles::Observer final : public platform::KeyValueObserver {
public:
    explicit Observer(PlayerSubtitles& told) : told_(told) {}
    void observeValueForKeyPath(const std::string&, platform::Object&,
                                const platform::KeyValueChange&) override {
        told_.update();
    }

private:
    PlayerSubtitles& told_;
};

PlayerSubtitles::PlayerSubtitles(QObject* parent)
    : QObject(parent), observer_(std::make_shared<Observer>(*this)) {}

PlayerSubtitles::~PlayerSubtitles() = default;

void PlayerSubtitles::follow(const std::shared_ptr<KCSDKPlayerView>& view) {
    const QPointer self(this);
    if (const auto former = item_.lock()) {
        for (const auto* path : observed) former->removeObserver(*observer_, path);
    }
    const auto player = view ? view->player() : nullptr;
    const auto item = player ? player->currentItem() : nullptr;
    item_ = item;
    layer_ = view ? view->playerLayer() : nullptr;
    ownOverlay_ = view && view->isCustomOverlayAdded;
    applyLook();
    if (item) {
        for (const auto* path : observed) item->addObserver(observer_, path);
        item->selectSubtitles(wish_);
    }
    if (self) update();
}

void PlayerSubtitles::update() {
    const QPointer self(this);
    findLike();
    if (!self) return;
    const auto item = item_.lock();
    const auto group = item ? item->legibleSelectionGroup() : platform::AVMediaSelectionGroup();
    auto tracks = listed(group.options);
    const int active = group.selected ? static_cast<int>(*group.selected) : -1;
    QStringList lines;
    if (item) {
        for (const auto& cue : item->cues()) lines.append(qml::text(cue.text()));
    }
    const auto said = lines.join(QLatin1Char('\n'));
    const bool others = std::exchange(tracks_, tracks) != tracks;
    const bool another = std::exchange(activeTrack_, active) != active;
    const bool speaks = std::exchange(text_, said) != said;
    if (others) Q_EMIT tracksChanged();
    if (self && another) Q_EMIT activeTrackChanged();
    if (self && speaks) Q_EMIT textChanged();
}

/// Another stream calls the same language by another name.
void PlayerSubtitles::findLike() {
    const auto item = item_.lock();
    if (!item || wish_.mode != Mode::option) return;
    const auto options = item->legibleSelectionGroup().options;
    const auto& chosen = item->subtitleSelection().option;
    const auto isThere = [&](const auto& one) { return areSame(one, chosen); };
    if (std::any_of(options.begin(), options.end(), isThere)) return;
    const auto language = mainLanguage(wish_.option);
    const auto found = std::find_if(options.begin(), options.end(), [&](const auto& each) {
        return !language.empty() && mainLanguage(each) == language;
    });
    if (found != options.end()) item->selectSubtitles({Mode::option, *found});
}

void PlayerSubtitles::choose(const platform::AVSubtitleSelection& wish) {
    const bool before = byLanguage();
    const QPointer self(this);  // handlers may let go of the player
    wish_ = wish;
    if (const auto item = item_.lock()) item->selectSubtitles(wish);
    if (self && before != byLanguage()) Q_EMIT byLanguageChanged();
    if (self) update();
}

void PlayerSubtitles::setActiveTrack(int track) {
    if (track < 0) return choose({});
    const auto item = item_.lock();
    const auto options =
        item ? item->legibleSelectionGroup().options : std::vector<AVMediaSelectionOption>();
    const auto index = static_cast<std::size_t>(track);
    if (index < options.size()) return choose({Mode::option, options[index]});
    qmlWarning(this) << "there is no track " << track;
}

void PlayerSubtitles::setByLanguage(bool byLanguage) {
    if (byLanguage == this->byLanguage()) return;
    choose({byLanguage ? Mode::byLanguage : Mode::none});
}

void PlayerSubtitles::setVisible(bool visible) {
    if (std::exchange(visible_, visible) == visible) return;
    applyLook();
    Q_EMIT visibleChanged();
}

void PlayerSubtitles::setInset(qreal inset) {
    if (std::exchange(inset_, inset) == inset) return;
    applyLook();
    Q_EMIT insetChanged();
}

/// Over the SDK's controls the player sees to the inset.
void PlayerSubtitles::applyLook() const {
    const auto layer = layer_.lock();
    if (!layer) return;
    layer->setShowsSubtitles(visible_);
    if (ownOverlay_) layer->setSubtitleInset(inset_);
}

}  // namespace korvel::qml
