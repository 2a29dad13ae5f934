#include <bindings/qml/SearchModel.h>
#include <korvel/model/KCSDKOndemandFilterRequest.h>
#include <korvel/model/KCSDKOndemandSearchResult.h>
#include <korvel/sdk/KCSDK.h>

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
    const auto filter = std::make_shared<KCSDKOndemandFilterRequest>();
    filter->keywords = criterion(keywords_);
    filter->query = criterion(query_);
    filter->type = criterion(type_);
    filter->classLanguage = criterion(classLanguage_);
    filter->provider = criterion(provider_);
    filter->equipment = criterion(equipment_);
    filter->duration = criterion(duration_);
    filter->intensity = criterion(intensity_);
    filter->level = criterion(level_);
    filter->sort = criterion(sort_);
    filter->dir = criterion(dir_);
    filter->skip = skip;
    filter->take = pageSize();
    using Result = std::shared_ptr<KCSDKOndemandSearchResult>;
    KCSDK::getOndemandClassesForCriteria(filter,
                                         request_.expect<Result>([this](const Result& result) {
                                             if (!result)
                                                 return request_.fail(tr("There is no result."));
                                             std::vector<OndemandClass> classes;
                                             for (const auto& item : result->items)
                                                 classes.emplace_back(item->virtualClass);
                                             add(std::move(classes), result->total);
                                         }));
}

}  // namespace korvel::qml
