#pragma once

#include <bindings/qml/ServiceRequest.h>

#include <QAbstractListModel>
#include <QQmlParserStatus>
#include <QVariantList>
#include <memory>
#include <vector>

namespace korvel {

class KCSDKOndemandCollection;

namespace qml {

/// The service's collections of classes. Asks by itself. The roles: `collectionName`,
/// `collectionTag`, `collectionType`, `creationDate` (texts), `itemCount` (as the service counts),
/// and `classes`, a list of type `ondemandClass`.
class CollectionsModel : public QAbstractListModel, public QQmlParserStatus {
    Q_OBJECT
    QML_ELEMENT
    Q_INTERFACES(QQmlParserStatus)
    /// How the question stands.
    Q_PROPERTY(korvel::qml::ServiceRequest* request READ request CONSTANT)
    /// Only the collection of that tag; empty: all. A change asks anew.
    Q_PROPERTY(QString collectionId READ collectionId WRITE setCollectionId NOTIFY whichChanged)
    /// At most so many; below 1: as many as the service likes. A change asks anew.
    Q_PROPERTY(int maxResults READ maxResults WRITE setMaxResults NOTIFY whichChanged)
    /// Collections in the model.
    Q_PROPERTY(int count READ count NOTIFY countChanged)

public:
    explicit CollectionsModel(QObject* parent = nullptr);

    /// Asks anew; the collections stay until the answer has come.
    Q_INVOKABLE void reload();
    /// The classes of the collection in that row, of type `ondemandClass`.
    Q_INVOKABLE QVariantList classesAt(int row) const;

    ServiceRequest* request() { return &request_; }
    const QString& collectionId() const { return collectionId_; }
    void setCollectionId(const QString& id);
    int maxResults() const { return maxResults_; }
    void setMaxResults(int most);
    int count() const { return static_cast<int>(collections_.size()); }

    int rowCount(const QModelIndex& parent = {}) const override;
    QVariant data(const QModelIndex& index, int role) const override;
    QHash<int, QByteArray> roleNames() const override;
    void classBegin() override {}
    void componentComplete() override;

Q_SIGNALS:
    void whichChanged();
    void countChanged();

private:
    using Collections = std::vector<std::shared_ptr<KCSDKOndemandCollection>>;
    void changed();

    Collections collections_;
    QString collectionId_;
    int maxResults_ = 0;
    bool complete_ = false;
    ServiceRequest request_;
};

}  // namespace qml
}  // namespace korvel
