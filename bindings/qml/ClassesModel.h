#pragma once

#include <bindings/qml/ClassList.h>

namespace korvel::qml {

/// All classes of the service. Asks for the first page by itself, for more as a view scrolls.
class ClassesModel : public korvel::qml::ClassList {  // in full, for the type registrar
    Q_OBJECT
    QML_ELEMENT
    /// The service's sort key; empty means its usual one, "alpha". A change starts afresh.
    Q_PROPERTY(QString sort MEMBER sort_ WRITE setSort NOTIFY orderChanged)
    /// "asc" or "desc"; empty means "asc". A change starts afresh.
    Q_PROPERTY(QString order READ order WRITE setOrder NOTIFY orderChanged)

public:
    using ClassList::ClassList;

    void setSort(const QString& sort) { change(sort_, sort); }
    const QString& order() const { return order_; }
    void setOrder(const QString& order) { change(order_, order); }

Q_SIGNALS:
    void orderChanged();

protected:
    void askFor(int skip) override;

private:
    void change(QString& member, const QString& value);

    QString sort_;
    QString order_;
};

}  // namespace korvel::qml
