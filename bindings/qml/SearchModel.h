#pragma once

#include <bindings/qml/ClassList.h>

namespace korvel::qml {

/// The classes that match all criteria, fetched page by page. `MetaData` names the values; nothing
/// is checked here. An empty criterion is none. Changes within one turn of the event loop make one
/// search.
class SearchModel : public korvel::qml::ClassList {  // in full, for the type registrar
    Q_OBJECT
    QML_ELEMENT
    /// Words to find.
    Q_PROPERTY(QString keywords MEMBER keywords_ WRITE setKeywords NOTIFY criteriaChanged)
    /// Text to find as it stands.
    Q_PROPERTY(QString query MEMBER query_ WRITE setQuery NOTIFY criteriaChanged)
    /// One of `MetaData.classTypes`.
    Q_PROPERTY(QString type MEMBER type_ WRITE setType NOTIFY criteriaChanged)
    /// Value of one of `MetaData.languages`.
    Q_PROPERTY(
        QString classLanguage MEMBER classLanguage_ WRITE setClassLanguage NOTIFY criteriaChanged)
    /// One of `MetaData.providers`.
    Q_PROPERTY(QString provider MEMBER provider_ WRITE setProvider NOTIFY criteriaChanged)
    /// Value of one of `MetaData.equipments`.
    Q_PROPERTY(QString equipment MEMBER equipment_ WRITE setEquipment NOTIFY criteriaChanged)
    /// As the service reads it, such as minutes "20-40".
    Q_PROPERTY(QString duration MEMBER duration_ WRITE setDuration NOTIFY criteriaChanged)
    /// As the service reads it, such as "2-3".
    Q_PROPERTY(QString intensity MEMBER intensity_ WRITE setIntensity NOTIFY criteriaChanged)
    /// As the service reads it.
    Q_PROPERTY(QString level MEMBER level_ WRITE setLevel NOTIFY criteriaChanged)
    /// The service's sort key.
    Q_PROPERTY(QString sort MEMBER sort_ WRITE setSort NOTIFY criteriaChanged)
    /// "asc" or "desc".
    Q_PROPERTY(QString dir MEMBER dir_ WRITE setDir NOTIFY criteriaChanged)

public:
    using ClassList::ClassList;

    void setKeywords(const QString& value) { change(keywords_, value); }
    void setQuery(const QString& value) { change(query_, value); }
    void setType(const QString& value) { change(type_, value); }
    void setClassLanguage(const QString& value) { change(classLanguage_, value); }
    void setProvider(const QString& value) { change(provider_, value); }
    void setEquipment(const QString& value) { change(equipment_, value); }
    void setDuration(const QString& value) { change(duration_, value); }
    void setIntensity(const QString& value) { change(intensity_, value); }
    void setLevel(const QString& value) { change(level_, value); }
    void setSort(const QString& value) { change(sort_, value); }
    void setDir(const QString& value) { change(dir_, value); }

Q_SIGNALS:
    void criteriaChanged();

protected:
    void askFor(int skip) override;

private:
    Q_INVOKABLE void search();
    void change(QString& member, const QString& value);

    QString keywords_, query_, type_, classLanguage_, provider_, equipment_, duration_, intensity_,
        level_, sort_, dir_;
    bool searchScheduled_ = false;
};

}  // namespace korvel::qml
