#pragma once

#include <QtQml/qqmlregistration.h>
#include <QColor>
#include <QFont>
#include <QObject>
#include <QUrl>

namespace korvel {

class KCSDKVideoViewBuilder;

namespace qml {

/// The look of the SDK's controls. What is left alone keeps the SDK's own look. Pictures are PNG
/// files, on disk or in the application's resources; "@2x" before the dot means two pixels per
/// point.
class PlayerLook : public QObject {
    Q_OBJECT
    QML_ELEMENT
    QML_UNCREATABLE("A part of PlayerItem")
    /// Buttons, slider and title, unless one of those below says otherwise.
    Q_PROPERTY(QColor themeColor MEMBER themeColor NOTIFY changed)
    /// The button that plays and pauses.
    Q_PROPERTY(QColor playPauseButtonColor MEMBER playPauseButtonColor NOTIFY changed)
    /// The button that closes.
    Q_PROPERTY(QColor exitButtonColor MEMBER exitButtonColor NOTIFY changed)
    /// The part of the slider that has been played.
    Q_PROPERTY(QColor sliderMinimumColor MEMBER sliderMinimumColor NOTIFY changed)
    /// The part that is to come.
    Q_PROPERTY(QColor sliderMaximumColor MEMBER sliderMaximumColor NOTIFY changed)
    /// The slider's knob.
    Q_PROPERTY(QColor sliderThumbColor MEMBER sliderThumbColor NOTIFY changed)
    /// The slider where none of the three says otherwise.
    Q_PROPERTY(QColor sliderTintColor MEMBER sliderTintColor NOTIFY changed)
    /// The title.
    Q_PROPERTY(QColor titleColor MEMBER titleColor NOTIFY changed)
    /// The title's font; counts once its size is set.
    Q_PROPERTY(QFont titleFont READ titleFont WRITE setTitleFont NOTIFY changed)
    /// Shown while the class is paused.
    Q_PROPERTY(QUrl playImage MEMBER playImage NOTIFY changed)
    /// Shown while it plays.
    Q_PROPERTY(QUrl pauseImage MEMBER pauseImage NOTIFY changed)
    /// Shown on the button that closes.
    Q_PROPERTY(QUrl exitImage MEMBER exitImage NOTIFY changed)

public:
    using QObject::QObject;

    QFont titleFont() const { return font_; }
    void setTitleFont(const QFont& font);
    void apply(KCSDKVideoViewBuilder& builder) const;

Q_SIGNALS:
    void changed();

private:
    void applyPictures(KCSDKVideoViewBuilder& builder) const;
    void applyColors(KCSDKVideoViewBuilder& builder) const;

    QColor themeColor, playPauseButtonColor, exitButtonColor, sliderMinimumColor,
        sliderMaximumColor, sliderThumbColor, sliderTintColor, titleColor;
    QUrl playImage, pauseImage, exitImage;
    QFont font_;
    bool hasFont_ = false;
};

}  // namespace qml
}  // namespace korvel
