#pragma once

#include <bindings/qml/ServiceRequest.h>
#include <korvel/model/KCSDKOndemandMetaData.h>

#include <QQmlParserStatus>
#include <QStringList>
#include <QVariantList>
#include <memory>

namespace korvel::qml {

/// The values that `SearchModel` can filter by. Asks by itself as soon as a user is logged in.
class MetaData : public QObject, public QQmlParserStatus {
    Q_OBJECT
    QML_ELEMENT
    Q_INTERFACES(QQmlParserStatus)
    /// How the question stands.
    Q_PROPERTY(korvel::qml::ServiceRequest* request READ request CONSTANT)
    /// Values for `SearchModel.type`.
    Q_PROPERTY(QStringList classTypes READ classTypes NOTIFY changed)
    /// Values for `SearchModel.provider`.
    Q_PROPERTY(QStringList providers READ providers NOTIFY changed)
    /// Objects with `text` to show and `value` for `SearchModel.equipment`.
    Q_PROPERTY(QVariantList equipments READ equipments NOTIFY changed)
    /// Objects with `text` to show and `value` for `SearchModel.classLanguage`.
    Q_PROPERTY(QVariantList languages READ languages NOTIFY changed)
    /// Length of the shortest class.
    Q_PROPERTY(int minDuration READ minDuration NOTIFY changed)
    /// Length of the longest class.
    Q_PROPERTY(int maxDuration READ maxDuration NOTIFY changed)
    /// The least intensity of all classes.
    Q_PROPERTY(int minIntensity READ minIntensity NOTIFY changed)
    /// The greatest intensity of all classes.
    Q_PROPERTY(int maxIntensity READ maxIntensity NOTIFY changed)

public:
    explicit MetaData(QObject* parent = nullptr);

    /// Asks anew.
    Q_INVOKABLE void reload();

    ServiceRequest* request() { return &request_; }
    QStringList classTypes() const;
    QStringList providers() const;
    QVariantList equipments() const;
    QVariantList languages() const;
    int minDuration() const;
    int maxDuration() const;
    int minIntensity() const;
    int maxIntensity() const;

    void classBegin() override {}
    void componentComplete() override;

Q_SIGNALS:
    void changed();

private:
    std::shared_ptr<KCSDKOndemandMetaData> record_;
    bool complete_ = false;
    ServiceRequest request_;
};

}  // namespace korvel::qml
