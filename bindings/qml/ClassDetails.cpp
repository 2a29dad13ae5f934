#include <bindings/qml/ClassDetails.h>
#include <bindings/qml/KorvelContent.h>
#include <korvel/sdk/KCSDK.h>

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
    using Record = std::shared_ptr<KCSDKOndemandClass>;
    request_.ask([this] {
        KCSDK::getOndemandClassDetails(
            tag_.toStdString(), request_.expect<Record>([this](const Record& record) {
                if (!record) return request_.fail(tr("The service knows no such class."));
                class_ = OndemandClass(record);
                Q_EMIT ondemandClassChanged();
            }));
    });
}

}  // namespace korvel::qml
