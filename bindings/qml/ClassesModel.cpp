#include <bindings/qml/ClassesModel.h>
#include <korvel/model/KCSDKOndemandClassResponse.h>
#include <korvel/sdk/KCSDK.h>

namespace korvel::qml {

void ClassesModel::change(QString& member, const QString& value) {
    if (member == value) return;
    member = value;
    Q_EMIT orderChanged();
    if (complete_) reload();
}

void ClassesModel::askFor(int skip) {
    using Page = std::shared_ptr<KCSDKOndemandClassResponse>;
    KCSDK::getOndemandClasses(skip / pageSize() + 1, pageSize(), criterion(sort_),
                              criterion(order_), request_.expect<Page>([this](const Page& page) {
                                  if (!page) return request_.fail(tr("There are no classes."));
                                  std::vector<OndemandClass> classes;
                                  for (const auto& item : page->items) classes.emplace_back(item);
                                  add(std::move(classes), page->totalItems);
                              }));
}

}  // namespace korvel::qml
