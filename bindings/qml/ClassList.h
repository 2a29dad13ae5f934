#pragma once

#include <bindings/qml/OndemandClass.h>
#include <bindings/qml/ServiceRequest.h>

#include <QAbstractListModel>
#include <QQmlParserStatus>
#include <vector>

namespace korvel::qml {

/// Classes that are fetched page by page, as views ask for more. The roles are `ondemandClass`, the
/// class itself, and `display`, its name.
class ClassList : public QAbstractListModel, public QQmlParserStatus {
    Q_OBJECT
    QML_ANONYMOUS
    Q_INTERFACES(QQmlParserStatus)
    /// How the page asked for last stands.
    Q_PROPERTY(korvel::qml::ServiceRequest* request READ request CONSTANT)
    /// Classes fetched so far.
    Q_PROPERTY(int count READ count NOTIFY countChanged)
    /// Classes that the service has; -1 before the first answer.
    Q_PROPERTY(int total READ total NOTIFY countChanged)
    /// Classes per request (20).
    Q_PROPERTY(int pageSize READ pageSize WRITE setPageSize NOTIFY pageSizeChanged)

public:
    enum Role { classRole = Qt::UserRole + 1 };

    explicit ClassList(QObject* parent = nullptr);

    /// Starts afresh with the first page; the classes stay until that has come or failed.
    Q_INVOKABLE void reload();
    /// The class in that row; not a valid one if there is no such row.
    Q_INVOKABLE korvel::qml::OndemandClass classAt(int row) const;

    ServiceRequest* request() { return &request_; }
    int count() const { return static_cast<int>(classes_.size()); }
    int total() const { return total_; }
    int pageSize() const { return pageSize_; }
    void setPageSize(int size);

    int rowCount(const QModelIndex& parent = {}) const override;
    QVariant data(const QModelIndex& index, int role) const override;
    QHash<int, QByteArray> roleNames() const override;
    bool canFetchMore(const QModelIndex& parent) const override;
    void fetchMore(const QModelIndex& parent) override;
    void classBegin() override {}
    void componentComplete() override;

Q_SIGNALS:
    void countChanged();
    void pageSizeChanged();

protected:
    /// Asks for the classes after the first `skip` ones; the answer goes to `add`.
    virtual void askFor(int skip) = 0;
    void add(std::vector<OndemandClass> page, std::int64_t total);
    ServiceRequest request_;
    bool complete_ = false;

private:
    void fetch();

    std::vector<OndemandClass> classes_;
    int total_ = -1;
    int pageSize_ = 20;
    bool afresh_ = true;
};

}  // namespace korvel::qml
