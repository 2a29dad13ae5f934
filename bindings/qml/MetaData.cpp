#include <bindings/qml/KorvelContent.h>
#include <bindings/qml/MetaData.h>
#include <bindings/qml/Text.h>

#include <QVariantMap>

namespace korvel::qml {

namespace {
QVariantList choices(const std::vector<ValueType>& values) {
    QVariantList list;
    for (const auto& each : values) {
        list.append(QVariantMap{{QStringLiteral("text"), text(each.text)},
                                {QStringLiteral("value"), text(each.value)}});
    }
    return list;
}
}  // namespace

MetaData::MetaData(QObject* parent) : QObject(parent) {
    connect(&KorvelContent::instance(), &KorvelContent::loggedInChanged, this, [this] {
        if (complete_ && KorvelContent::instance().loggedIn()) reload();
    });
}

void MetaData::componentComplete() {
    complete_ = true;
    if (KorvelContent::instance().loggedIn()) reload();
}

void MetaData::reload() {
    request_.ask([this] {
        request_.expect(KorvelContent::instance().client().metaData(), [this](const auto& record) {
            record_ = record;
            Q_EMIT changed();
        });
    });
}

QStringList MetaData::classTypes() const {
    return record_ ? texts(record_->classTypes) : QStringList();
}
QStringList MetaData::providers() const {
    return record_ ? texts(record_->providers) : QStringList();
}
QVariantList MetaData::equipments() const {
    return record_ ? choices(record_->equipments) : QVariantList();
}
QVariantList MetaData::languages() const {
    return record_ ? choices(record_->language) : QVariantList();
}
int MetaData::minDuration() const { return record_ ? static_cast<int>(record_->duration.min) : 0; }
int MetaData::maxDuration() const { return record_ ? static_cast<int>(record_->duration.max) : 0; }
int MetaData::minIntensity() const {
    return record_ ? static_cast<int>(record_->intensity.min) : 0;
}
int MetaData::maxIntensity() const {
    return record_ ? static_cast<int>(record_->intensity.max) : 0;
}

}  // namespace korvel::qml
