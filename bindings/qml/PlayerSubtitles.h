#pragma once

#include <korvel/platform/avfoundation/AVSubtitleCue.h>

#include <QtQml/qqmlregistration.h>
#include <QObject>
#include <QVariantList>
#include <memory>

namespace korvel {

class KCSDKPlayerView;

namespace platform {
class AVPlayerItem;
class AVPlayerLayer;
}  // namespace platform

namespace qml {

/// The subtitles of a player: off until `activeTrack` or `byLanguage` is set, which counts at once
/// and for further starts.
class PlayerSubtitles : public QObject {
    Q_OBJECT
    QML_ELEMENT
    QML_UNCREATABLE("A part of PlayerItem")
    /// What the stream offers, each with `name` and `language` ("de-AT"; empty if it does not
    /// tell), in its order. Empty until it is known.
    Q_PROPERTY(QVariantList tracks READ tracks NOTIFY tracksChanged)
    /// Which of them is chosen; -1: none. Further starts have the one of that name, else of that
    /// language, else none.
    Q_PROPERTY(int activeTrack READ activeTrack WRITE setActiveTrack NOTIFY activeTrackChanged)
    /// The one in a language of the device's user, if there is one. False once a track is chosen.
    Q_PROPERTY(bool byLanguage READ byLanguage WRITE setByLanguage NOTIFY byLanguageChanged)
    /// What they say now, for hosts that show it themselves; plain text, in lines.
    Q_PROPERTY(QString text READ text NOTIFY textChanged)
    /// Whether they are shown in the picture (true).
    Q_PROPERTY(bool visible READ visible WRITE setVisible NOTIFY visibleChanged)
    /// How much of the picture's bottom an overlay of the host's own covers: they keep clear of it,
    /// as they do of the SDK's controls.
    Q_PROPERTY(qreal inset READ inset WRITE setInset NOTIFY insetChanged)

public:
    explicit PlayerSubtitles(QObject* parent = nullptr);
    ~PlayerSubtitles() override;

    /// Those of what it plays from now on; null: of nothing.
    void follow(const std::shared_ptr<KCSDKPlayerView>& view);

    const QVariantList& tracks() const { return tracks_; }
    int activeTrack() const { return activeTrack_; }
    void setActiveTrack(int track);
    bool byLanguage() const {
        return wish_.mode == platform::AVSubtitleSelection::Mode::byLanguage;
    }
    void setByLanguage(bool byLanguage);
    const QString& text() const { return text_; }
    bool visible() const { return visible_; }
    void setVisible(bool visible);
    qreal inset() const { return inset_; }
    void setInset(qreal inset);

Q_SIGNALS:
    void tracksChanged();
    void activeTrackChanged();
    void byLanguageChanged();
    void textChanged();
    void visibleChanged();
    void insetChanged();

private:
    class Observer;
    void choose(const platform::AVSubtitleSelection& wish);
    void findLike();
    void update();
    void applyLook() const;

    const std::shared_ptr<Observer> observer_;
    std::weak_ptr<platform::AVPlayerItem> item_;
    std::weak_ptr<platform::AVPlayerLayer> layer_;
    bool ownOverlay_ = false;
    platform::AVSubtitleSelection wish_;
    QVariantList tracks_;
    int activeTrack_ = -1;
    QString text_;
    bool visible_ = true;
    qreal inset_ = 0;
};

}  // namespace qml
}  // namespace korvel
