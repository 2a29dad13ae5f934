#pragma once

#include <bindings/qml/Consent.h>
#include <bindings/qml/OndemandClass.h>
#include <bindings/qml/PlayerLook.h>
#include <bindings/qml/PlayerSubtitles.h>
#include <bindings/qml/ServiceRequest.h>
#include <korvel/client/Playback.h>

#include <QBasicTimer>
#include <QPointer>
#include <QQuickItem>
#include <memory>
#include <optional>

namespace korvel {

class KCSDKPlayerEvents;
class KCSDKPlayerOverlay;
class KCSDKPlayerView;

namespace qml {

class PlayerListener;

/// Plays a class in its own area, or over the whole window. Empty until `start` and after the
/// player has closed. Destroying it, or taking it out of its window, closes the player and so
/// records what was performed.
///
/// The SDK's own commands flip states; those here set them: `play` on a playing class does nothing.
class PlayerItem : public QQuickItem {
    Q_OBJECT
    QML_ELEMENT
    /// The class to start. A change counts from the next start on.
    Q_PROPERTY(korvel::qml::OndemandClass ondemandClass READ ondemandClass WRITE setOndemandClass
                   NOTIFY ondemandClassChanged)
    /// Whether `start` shows the player over the whole window instead of in this item.
    Q_PROPERTY(bool startFullScreen MEMBER startFullScreen_ NOTIFY startFullScreenChanged)
    /// Whether `start` also plays (true).
    Q_PROPERTY(bool autoPlay MEMBER autoPlay_ NOTIFY autoPlayChanged)
    /// The host's own controls, put over the picture in place of the SDK's, full screen too; null:
    /// the SDK's. Counts from the next start on. The item returns to its place afterwards.
    Q_PROPERTY(QQuickItem* overlay READ overlay WRITE setOverlay NOTIFY overlayChanged)
    /// How the picture fills the item: cut off at its edges (`Crop`, the default), whole with
    /// empty margins (`Fit`), or distorted (`Stretch`).
    Q_PROPERTY(FillMode fillMode READ fillMode WRITE setFillMode NOTIFY fillModeChanged)
    /// Colours, pictures and font of the SDK's controls, from the next start on.
    Q_PROPERTY(korvel::qml::PlayerLook* look READ look CONSTANT)
    Q_PROPERTY(korvel::qml::PlayerSubtitles* subtitles READ subtitles CONSTANT)

    /// How the start stands: from the question to the service until the player is shown.
    Q_PROPERTY(korvel::qml::ServiceRequest* request READ request CONSTANT)
    /// Whether there is a player.
    Q_PROPERTY(bool active READ active NOTIFY activeChanged)
    /// Whether it is to play: also while it waits for its buffer.
    Q_PROPERTY(bool playing READ playing NOTIFY playingChanged)
    /// Whether it waits for the stream.
    Q_PROPERTY(bool buffering READ buffering NOTIFY bufferingChanged)
    /// Whether the player covers the window.
    Q_PROPERTY(bool fullScreen READ fullScreen NOTIFY fullScreenChanged)
    /// Seconds, 30 times a second at most.
    Q_PROPERTY(qreal position READ position NOTIFY positionChanged)
    /// Seconds; 0: not known yet.
    Q_PROPERTY(qreal duration READ duration NOTIFY durationChanged)
    /// Seconds performed: so far, or in all once it has ended.
    Q_PROPERTY(int performedSeconds READ performedSeconds NOTIFY performedSecondsChanged)
    /// All that a host has to show beside the picture.
    Q_PROPERTY(Condition condition READ condition NOTIFY conditionChanged)
    /// What is wrong, for people to read, while `condition` is `Stalled` or `Failed`; else empty.
    /// `start()` is to try again.
    Q_PROPERTY(QString message READ message NOTIFY conditionChanged)
    /// What became of the record of the performance that has ended.
    Q_PROPERTY(Record record READ record NOTIFY recordChanged)
    /// 0 to 1, of this and further starts.
    Q_PROPERTY(qreal volume READ volume WRITE setVolume NOTIFY volumeChanged)
    /// No sound, whatever the volume.
    Q_PROPERTY(bool muted READ muted WRITE setMuted NOTIFY mutedChanged)

public:
    enum FillMode { Crop, Fit, Stretch };
    Q_ENUM(FillMode)
    enum Condition {
        Idle,      ///< nothing was started
        Starting,  ///< until the first picture
        Playing,
        Paused,
        Waiting,  ///< is to play, and waits for the stream
        Stalled,  ///< has been starting, or waiting, for longer than one would like
        Failed,   ///< did not start, or broke off
        Ended
    };
    Q_ENUM(Condition)
    enum Record {
        NoRecord,  ///< nothing has ended since the last start
        Sending,
        Saved,  ///< the service has it
        Kept,   ///< on disk, and sent again until the service has it
        Lost    ///< refused, or it could not be kept
    };
    Q_ENUM(Record)

    explicit PlayerItem(QQuickItem* parent = nullptr);
    ~PlayerItem() override;

    /// Asks the service to perform the class, then shows it. A player that is there is closed
    /// first. Comes out as `started` or `failed`.
    Q_INVOKABLE void start();
    Q_INVOKABLE void play();
    Q_INVOKABLE void pause();
    Q_INVOKABLE void toggle();
    /// Exactly there.
    Q_INVOKABLE void seek(qreal seconds);
    /// Closes the player and records the performance.
    Q_INVOKABLE void stop();
    Q_INVOKABLE void enterFullScreen();
    /// Returns into this item. A player that was started full screen has no place to return to and
    /// is closed.
    Q_INVOKABLE void exitFullScreen();
    /// These two do nothing over an overlay of the host's own.
    Q_INVOKABLE void showOverlay();
    Q_INVOKABLE void hideOverlay();

    const OndemandClass& ondemandClass() const { return class_; }
    void setOndemandClass(const OndemandClass& ondemandClass);
    QQuickItem* overlay() const { return overlay_; }
    void setOverlay(QQuickItem* overlay);
    FillMode fillMode() const { return fillMode_; }
    void setFillMode(FillMode mode);
    PlayerLook* look() { return &look_; }
    PlayerSubtitles* subtitles() { return &subtitles_; }
    ServiceRequest* request() { return &request_; }
    bool active() const { return playback_ != nullptr; }
    bool playing() const { return playing_; }
    bool buffering() const { return buffering_; }
    bool fullScreen() const { return fullScreen_; }
    /// Whether leaving full screen brings it back here, and does not close it.
    bool hasPlace() const;
    qreal position() const { return position_; }
    qreal duration() const { return duration_; }
    int performedSeconds() const { return performedSeconds_; }
    Condition condition() const { return condition_; }
    const QString& message() const { return message_; }
    Record record() const { return record_; }
    qreal volume() const { return volume_; }
    void setVolume(qreal volume);
    bool muted() const { return muted_; }
    void setMuted(bool muted);

Q_SIGNALS:
    /// The player is shown.
    void started();
    /// The user must accept `consent` first; not a valid one if the service sent none.
    void consentRequired(const korvel::qml::Consent& consent);
    /// It did not start: no connection, a refusal, no such class. `request` has it, too. Told, with
    /// the status 601, before `consentRequired` as well.
    void failed(const QString& errorText, int errorStatus);
    /// The stream cannot be played, or has brought nothing for half a minute; its content key for
    /// a quarter. The player closes.
    void streamFailed(const QString& errorText);
    /// The user or a command flipped between playing and paused; the automatic start tells nothing.
    void statusChanged(bool playing);
    /// The player was closed, came to its end, or left full screen.
    void exited(int performedSeconds);
    /// The player has gone.
    void closed();
    void bufferEmpty();
    void likelyToKeepUp();

    void ondemandClassChanged();
    void startFullScreenChanged();
    void autoPlayChanged();
    void overlayChanged();
    void fillModeChanged();
    void activeChanged();
    void playingChanged();
    void bufferingChanged();
    void fullScreenChanged();
    void positionChanged();
    void durationChanged();
    void performedSecondsChanged();
    void conditionChanged();
    void recordChanged();
    void volumeChanged();
    void mutedChanged();

protected:
    void timerEvent(QTimerEvent* event) override;
    void itemChange(ItemChange change, const ItemChangeData& data) override;

private:
    friend PlayerListener;
    void send();
    void adopt(std::shared_ptr<Playback> playback);
    void follow(const Playback::Status& status);
    void exit(int seconds);
    Condition conditionNow() const;
    void updateCondition();
    void updatePerformed();
    void follow(const std::optional<Outcome<Done>>& recorded);
    void setRecord(Record record);
    void applySound() const;
    // False if a handler of the signal has ended the player, or this item.
    using Signal = void (PlayerItem::*)();
    bool tell(Signal signal);
    bool set(bool& member, bool value, Signal signal);
    bool setTime(qreal& member, qreal seconds, Signal signal);
    std::shared_ptr<KCSDKPlayerEvents> events() const;
    std::shared_ptr<KCSDKPlayerView> view() const;
    /// The SDK's controls; null over an overlay of the host's own.
    std::shared_ptr<KCSDKPlayerOverlay> controls() const;
    float rate() const;

    OndemandClass class_;
    FillMode fillMode_ = Crop;
    QPointer<QQuickItem> overlay_;
    PlayerLook look_;
    PlayerSubtitles subtitles_;
    ServiceRequest request_;
    std::shared_ptr<Playback> playback_;
    std::shared_ptr<Playback> ended_;  ///< the last one, until the next start
    std::shared_ptr<PlayerListener> listener_;
    bool startFullScreen_ = false;
    bool autoPlay_ = true;
    bool playing_ = false;
    bool buffering_ = false;
    bool fullScreen_ = false;
    bool returning_ = false;  ///< an exit is told that closes nothing
    qreal position_ = 0;
    qreal duration_ = 0;
    int performedSeconds_ = 0;
    QBasicTimer patience_;     ///< with the start
    bool takesLong_ = false;   ///< the start
    bool hasPicture_ = false;  ///< the playback
    Playback::State state_ = Playback::State::preparing;
    Condition condition_ = Idle;
    QString message_;
    QString streamMessage_;  ///< why the last playback failed
    Record record_ = NoRecord;
    qreal volume_ = 1;
    bool muted_ = false;
};

}  // namespace qml
}  // namespace korvel
