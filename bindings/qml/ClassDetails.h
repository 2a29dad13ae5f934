#pragma once

#include <bindings/qml/OndemandClass.h>
#include <bindings/qml/ServiceRequest.h>

namespace korvel::qml {

/// One class by its tag, for hosts that know no more of it: a link, a bookmark.
class ClassDetails : public QObject {
    Q_OBJECT
    QML_ELEMENT
    /// How the question stands. It fails for a tag that the service does not know.
    Q_PROPERTY(korvel::qml::ServiceRequest* request READ request CONSTANT)
    /// Which class. A change asks for it.
    Q_PROPERTY(QString tag READ tag WRITE setTag NOTIFY tagChanged)
    /// The class, of type `ondemandClass`; not a valid one until it has come.
    Q_PROPERTY(
        korvel::qml::OndemandClass ondemandClass READ ondemandClass NOTIFY ondemandClassChanged)

public:
    explicit ClassDetails(QObject* parent = nullptr);

    /// Asks anew.
    Q_INVOKABLE void reload();

    ServiceRequest* request() { return &request_; }
    const QString& tag() const { return tag_; }
    void setTag(const QString& tag);
    const OndemandClass& ondemandClass() const { return class_; }

Q_SIGNALS:
    void tagChanged();
    void ondemandClassChanged();

private:
    QString tag_;
    OndemandClass class_;
    ServiceRequest request_;
};

}  // namespace korvel::qml
