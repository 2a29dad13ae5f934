#include <bindings/qml/KorvelContent.h>
#include <bindings/qml/SearchModel.h>
#include <korvel/model/KCSDKOndemandFilterRequest.h>
#include <korvel/model/KCSDKOndemandSearchResult.h>

#include <QMetaObject>
#include <utility>

namespace korvel::qml {

void SearchModel::change(QString& member, const QString& value) {
    if (member == value) return;
    member = value;
    Q_EMIT criteriaChanged();
    if (!complete_ || std::exchange(searchScheduled_, true)) return;
    QMetaObject::invokeMethod(this, "search", Qt::QueuedConnection);
}

void SearchModel::search() {
    searchScheduled_ = false;
    reload();
}

void SearchModel::askFor(int skip) {
    KCSDKOndemandFilterRequest filter;
    filter.keywords = criterion(keywords_);
    filter.query = criterion(query_);
    filter.type = criterion(type_);
    filter.classLanguage = criterion(classLanguage_);
    filter.provider = criterion(provider_);
    filter.equipment = criterion(equipment_);
    filter.duration = criterion(duration_);
    filter.intensity = criterion(intensity_);
    filter.level = criterion(level_);
    filter.sort = criterion(sort_);
    filter.dir = criterion(dir_);
    filter.skip = skip;
    filter.take = pageSize();
    request_.expect(KorvelContent::instance().client().search(filter), [this](const auto& result) {
        std::vector<OndemandClass> classes;
        for (const auto& item : result->items) classes.emplace_back(item->virtualClass);
        add(std::move(classes), result->total);
    });
}

}  // namespace korvel::qml
