#include <bindings/qml/CollectionsModel.h>
#include <bindings/qml/KorvelContent.h>
#include <bindings/qml/OndemandClass.h>
#include <korvel/model/KCSDKOndemandCollection.h>

#include <utility>

namespace korvel::qml {

namespace {

enum Role { nameRole = Qt::UserRole + 1, tagRole, typeRole, dateRole, itemCountRole, classesRole };

QVariantList classesOf(const KCSDKOndemandCollection& collection) {
    QVariantList list;
    if (!collection.collectionItems) return list;
    for (const auto& item : *collection.collectionItems) {
        list.append(QVariant::fromValue(OndemandClass(item)));
    }
    return list;
}

}  // namespace

CollectionsModel::CollectionsModel(QObject* parent) : QAbstractListModel(parent) {
    connect(&KorvelContent::instance(), &KorvelContent::configuredChanged, this, [this] {
        if (complete_) reload();
    });
}

void CollectionsModel::componentComplete() {
    complete_ = true;
    if (KorvelContent::instance().configured()) reload();
}

void CollectionsModel::setCollectionId(const QString& id) {
    if (std::exchange(collectionId_, id) != id) changed();
}

void CollectionsModel::setMaxResults(int most) {
    if (std::exchange(maxResults_, most) != most) changed();
}

void CollectionsModel::changed() {
    Q_EMIT whichChanged();
    if (complete_) reload();
}

void CollectionsModel::reload() {
    request_.ask([this] {
        const auto& client = KorvelContent::instance().client();
        request_.expect(client.collections(criterion(collectionId_), maxResults_),
                        [this](const auto& list) {
                            beginResetModel();
                            collections_ = list;
                            endResetModel();
                            Q_EMIT countChanged();
                        });
    });
}

QVariantList CollectionsModel::classesAt(int row) const {
    if (row < 0 || row >= count()) return {};
    return classesOf(*collections_[static_cast<std::size_t>(row)]);
}

int CollectionsModel::rowCount(const QModelIndex& parent) const {
    return parent.isValid() ? 0 : count();
}

QVariant CollectionsModel::data(const QModelIndex& index, int role) const {
    if (!index.isValid() || index.row() >= count()) return {};
    const auto& collection = *collections_[static_cast<std::size_t>(index.row())];
    switch (role) {
        case Qt::DisplayRole:
        case nameRole:
            return text(collection.collectionName);
        case tagRole:
            return text(collection.collectionTag);
        case typeRole:
            return text(collection.collectionType);
        case dateRole:
            return text(collection.creationDate);
        case itemCountRole:
            return static_cast<int>(collection.itemCount);
        case classesRole:
            return classesOf(collection);
        default:
            return {};
    }
}

QHash<int, QByteArray> CollectionsModel::roleNames() const {
    return {{nameRole, "collectionName"}, {tagRole, "collectionTag"},
            {typeRole, "collectionType"}, {dateRole, "creationDate"},
            {itemCountRole, "itemCount"}, {classesRole, "classes"}};
}

}  // namespace korvel::qml
