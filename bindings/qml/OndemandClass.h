#pragma once

#include <bindings/qml/Text.h>
#include <korvel/model/KCSDKOndemandClass.h>

#include <QtQml/qqmlregistration.h>
#include <QObject>
#include <QUrl>
#include <memory>
#include <utility>

namespace korvel::qml {

/// One class of the catalogue, a value. Texts that the service left out are empty.
class OndemandClass {
    Q_GADGET
    QML_VALUE_TYPE(ondemandClass)
    /// Whether this is a class at all; everything else is empty if not.
    Q_PROPERTY(bool valid READ valid CONSTANT)
    /// The class identifier.
    Q_PROPERTY(QString tag READ tag CONSTANT)
    /// The title.
    Q_PROPERTY(QString className READ className CONSTANT)
    /// The long description.
    Q_PROPERTY(QString classDescription READ classDescription CONSTANT)
    /// One text as the service words it, not a list.
    Q_PROPERTY(QString classCategories READ classCategories CONSTANT)
    /// Such as "de-DE".
    Q_PROPERTY(QString languageTag READ languageTag CONSTANT)
    /// The language for display.
    Q_PROPERTY(QString languageName READ languageName CONSTANT)
    /// Identifier of the provider.
    Q_PROPERTY(QString providerID READ providerID CONSTANT)
    /// The provider for display.
    Q_PROPERTY(QString provider READ provider CONSTANT)
    /// How hard it is, on the service's own scale.
    Q_PROPERTY(int intensity READ intensity CONSTANT)
    /// How much skill it wants, on the service's own scale.
    Q_PROPERTY(int skill READ skill CONSTANT)
    /// Kilocalories, estimated; -1: not known.
    Q_PROPERTY(int calorieBurn READ calorieBurn CONSTANT)
    /// Length in seconds.
    Q_PROPERTY(int durationSecond READ durationSecond CONSTANT)
    /// The service's own text, not derived from `durationSecond`.
    Q_PROPERTY(QString durationMinutes READ durationMinutes CONSTANT)
    /// What one needs for it, for display.
    Q_PROPERTY(QStringList equipmentNames READ equipmentNames CONSTANT)
    /// Whether it needs equipment.
    Q_PROPERTY(bool equipmentTypes READ equipmentTypes CONSTANT)
    /// Timestamp as the service's text.
    Q_PROPERTY(QString creationDate READ creationDate CONSTANT)
    /// Timestamp as the service's text.
    Q_PROPERTY(QString lastModifiedDate READ lastModifiedDate CONSTANT)
    /// Whether this user marked it.
    Q_PROPERTY(bool favourite READ favourite CONSTANT)
    /// Address of a trailer.
    Q_PROPERTY(QUrl trailerLinkMobile READ trailerLinkMobile CONSTANT)
    /// The trailer's title.
    Q_PROPERTY(QString trailerName READ trailerName CONSTANT)
    /// Address of a picture, for an `Image`.
    Q_PROPERTY(QUrl imageLink READ imageLink CONSTANT)

public:
    using Record = std::shared_ptr<KCSDKOndemandClass>;

    OndemandClass() = default;
    explicit OndemandClass(Record record) : record_(std::move(record)) {}

    const Record& record() const { return record_; }  ///< null if not valid

    bool valid() const { return record_ != nullptr; }
    QString tag() const { return textOf(&KCSDKOndemandClass::tag); }
    QString className() const { return textOf(&KCSDKOndemandClass::className); }
    QString classDescription() const { return textOf(&KCSDKOndemandClass::classDescription); }
    QString classCategories() const { return textOf(&KCSDKOndemandClass::classCategories); }
    QString languageTag() const { return textOf(&KCSDKOndemandClass::languageTag); }
    QString languageName() const { return textOf(&KCSDKOndemandClass::languageName); }
    QString providerID() const { return textOf(&KCSDKOndemandClass::providerID); }
    QString provider() const { return textOf(&KCSDKOndemandClass::provider); }
    int intensity() const { return numberOf(&KCSDKOndemandClass::intensity); }
    int skill() const { return numberOf(&KCSDKOndemandClass::skill); }
    int calorieBurn() const {
        return record_ && record_->calorieBurn ? static_cast<int>(*record_->calorieBurn) : -1;
    }
    int durationSecond() const { return numberOf(&KCSDKOndemandClass::durationSecond); }
    QString durationMinutes() const { return textOf(&KCSDKOndemandClass::durationMinutes); }
    QStringList equipmentNames() const {
        return record_ && record_->equipmentNames ? texts(*record_->equipmentNames) : QStringList();
    }
    bool equipmentTypes() const { return record_ && record_->equipmentTypes; }
    QString creationDate() const { return textOf(&KCSDKOndemandClass::creationDate); }
    QString lastModifiedDate() const { return textOf(&KCSDKOndemandClass::lastModifiedDate); }
    bool favourite() const { return record_ && record_->favourite; }
    QUrl trailerLinkMobile() const { return {textOf(&KCSDKOndemandClass::trailerLinkMobile)}; }
    QString trailerName() const { return textOf(&KCSDKOndemandClass::trailerName); }
    QUrl imageLink() const { return {textOf(&KCSDKOndemandClass::imageLink)}; }

private:
    template <class Member> QString textOf(Member member) const {
        return record_ ? text((*record_).*member) : QString();
    }
    int numberOf(std::int64_t KCSDKOndemandClass::*member) const {
        return record_ ? static_cast<int>((*record_).*member) : 0;
    }

    Record record_;
};

}  // namespace korvel::qml
