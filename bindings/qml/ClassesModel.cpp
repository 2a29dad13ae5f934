#include <bindings/qml/ClassesModel.h>
#include <bindings/qml/KorvelContent.h>
#include <korvel/model/KCSDKOndemandClassResponse.h>

namespace korvel::qml {

void ClassesModel::change(QString& member, const QString& value) {
    if (member == value) return;
    member = value;
    Q_EMIT orderChanged();
    if (complete_) reload();
}

void ClassesModel::askFor(int skip) {
    const ClassesPage page{.page = skip / pageSize() + 1,
                           .size = pageSize(),
                           .sort = criterion(sort_),
                           .order = criterion(order_)};
    request_.expect(KorvelContent::instance().client().classes(page), [this](const auto& answer) {
        add({answer->items.begin(), answer->items.end()}, answer->totalItems);
    });
}

}  // namespace korvel::qml
