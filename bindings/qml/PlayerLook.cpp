#include <bindings/qml/PlayerLook.h>
#include <korvel/presentation/KCSDKVideoViewBuilder.h>

#include <QFile>
#include <QQmlFile>
#include <QRegularExpression>
#include <algorithm>
#include <optional>

namespace korvel::qml {

namespace {

std::optional<UIColor> color(const QColor& from) {
    if (!from.isValid()) return std::nullopt;
    return UIColor{from.redF(), from.greenF(), from.blueF(), from.alphaF()};
}

/// As files are named everywhere: "play@2x.png" has two pixels per point.
double scaleOf(const QString& fileName) {
    static const QRegularExpression suffix(QStringLiteral("@([1-4])x\\."));
    const auto match = suffix.match(fileName);
    return match.hasMatch() ? match.captured(1).toInt() : 1;
}

std::optional<UIImage> picture(const QUrl& address) {
    if (address.isEmpty()) return std::nullopt;
    QFile file(QQmlFile::urlToLocalFileOrQrc(address));
    if (!file.open(QIODevice::ReadOnly)) return std::nullopt;
    const auto bytes = file.readAll();
    return UIImage::withData(platform::bytesOf(bytes.toStdString()), scaleOf(address.fileName()));
}

UIFont font(const QFont& from) {
    constexpr double pixelsPerPoint = 96.0 / 72;  // the SDK's points are Qt's device-free pixels
    const double size =
        from.pixelSize() > 0 ? from.pixelSize() : from.pointSizeF() * pixelsPerPoint;
    return {from.family().toStdString(), size,
            static_cast<UIFont::Weight>(std::clamp<int>(from.weight(), 300, 700) / 100 * 100)};
}

}  // namespace

void PlayerLook::setTitleFont(const QFont& font) {
    font_ = font;
    hasFont_ = true;
    Q_EMIT changed();
}

void PlayerLook::apply(KCSDKVideoViewBuilder& builder) const {
    applyPictures(builder);
    applyColors(builder);
    if (hasFont_) builder.setTitleFont(font(font_));
}

void PlayerLook::applyPictures(KCSDKVideoViewBuilder& builder) const {
    if (auto image = picture(playImage)) builder.setPlayButtonImage(*image);
    if (auto image = picture(pauseImage)) builder.setPauseButtonImage(*image);
    if (auto image = picture(exitImage)) builder.setExitButtonImage(*image);
}

void PlayerLook::applyColors(KCSDKVideoViewBuilder& builder) const {
    if (const auto theme = color(themeColor)) builder.setThemeColor(*theme);
    if (const auto own = color(playPauseButtonColor)) builder.setPlayPauseButtonColor(*own);
    if (const auto own = color(exitButtonColor)) builder.setExitButtonColor(*own);
    if (const auto own = color(titleColor)) builder.setTitleTextColor(*own);
    const auto tint = color(sliderTintColor);
    builder.setProgressSliderTintColor(color(sliderMinimumColor), color(sliderMaximumColor),
                                       color(sliderThumbColor),
                                       tint ? tint : builder.sliderTintColor);
}

}  // namespace korvel::qml
