#include <bindings/qml/ClassList.h>
#include <bindings/qml/KorvelContent.h>

#include <algorithm>
#include <iterator>
#include <utility>

namespace korvel::qml {

ClassList::ClassList(QObject* parent) : QAbstractListModel(parent) {
    connect(&KorvelContent::instance(), &KorvelContent::configuredChanged, this, [this] {
        if (complete_) reload();
    });
    connect(&request_, &ServiceRequest::failed, this, [this] {
        if (!afresh_ || classes_.empty()) return;
        beginResetModel();  // they would not be what was asked for
        classes_.clear();
        total_ = -1;
        endResetModel();
        Q_EMIT countChanged();
    });
}

void ClassList::componentComplete() {
    complete_ = true;
    if (KorvelContent::instance().configured()) reload();
}

void ClassList::setPageSize(int size) {
    if (size < 1 || size == pageSize_) return;
    pageSize_ = size;
    Q_EMIT pageSizeChanged();
    if (complete_) reload();
}

void ClassList::reload() {
    afresh_ = true;
    fetch();
}

void ClassList::fetch() {
    request_.ask([this] { askFor(afresh_ ? 0 : count()); });
}

bool ClassList::canFetchMore(const QModelIndex& parent) const {
    // Not after a failure: a view would ask on and on. `request.retry` goes on from there.
    return !parent.isValid() && request_.hasSucceeded() && count() < total_;
}

void ClassList::fetchMore(const QModelIndex& parent) {
    if (canFetchMore(parent)) fetch();
}

void ClassList::add(std::vector<OndemandClass> page, std::int64_t total) {
    total_ = static_cast<int>(total);
    if (page.empty() && !afresh_) total_ = count();  // the service counted more than it has
    if (std::exchange(afresh_, false)) {
        beginResetModel();
        classes_ = std::move(page);
        endResetModel();
    } else if (!page.empty()) {
        beginInsertRows({}, count(), count() + static_cast<int>(page.size()) - 1);
        std::move(page.begin(), page.end(), std::back_inserter(classes_));
        endInsertRows();
    }
    Q_EMIT countChanged();
}

OndemandClass ClassList::classAt(int row) const {
    return row >= 0 && row < count() ? classes_[static_cast<std::size_t>(row)] : OndemandClass();
}

int ClassList::rowCount(const QModelIndex& parent) const { return parent.isValid() ? 0 : count(); }

QVariant ClassList::data(const QModelIndex& index, int role) const {
    if (!index.isValid() || index.row() >= count()) return {};
    const auto& shown = classes_[static_cast<std::size_t>(index.row())];
    if (role == classRole) return QVariant::fromValue(shown);
    return role == Qt::DisplayRole ? QVariant(shown.className()) : QVariant();
}

QHash<int, QByteArray> ClassList::roleNames() const {
    return {{classRole, "ondemandClass"}, {Qt::DisplayRole, "display"}};
}

}  // namespace korvel::qml
