#include <bindings/qml/ClassDetails.h>
#include <bindings/qml/KorvelContent.h>

namespace korvel::qml {

ClassDetails::ClassDetails(QObject* parent) : QObject(parent) {
    connect(&KorvelContent::instance(), &KorvelContent::configuredChanged, this, [this] {
        if (!tag_.isEmpty()) reload();
    });
}

void ClassDetails::setTag(const QString& tag) {
    if (tag == tag_) return;
    tag_ = tag;
    class_ = {};
    Q_EMIT tagChanged();
    Q_EMIT ondemandClassChanged();
    if (tag_.isEmpty()) return request_.forget();
    if (KorvelContent::instance().configured()) reload();
}

void ClassDetails::reload() {
    request_.ask([this] {
        const auto& client = KorvelContent::instance().client();
        request_.expect(client.classDetails(tag_.toStdString()), [this](const auto& record) {
            class_ = OndemandClass(record);
            Q_EMIT ondemandClassChanged();
        });
    });
}

}  // namespace korvel::qml
