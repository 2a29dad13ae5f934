#pragma once

#include <bindings/qml/Text.h>
#include <korvel/model/KCSDKConsent.h>

#include <QtQml/qqmlregistration.h>
#include <QObject>
#include <QVariantList>
#include <QVariantMap>
#include <memory>
#include <utility>

namespace korvel::qml {

/// A document that the user must, or may, accept; a value.
class Consent {
    Q_GADGET
    QML_VALUE_TYPE(consent)
    /// Whether this is a document at all; everything else is empty if not.
    Q_PROPERTY(bool valid READ valid CONSTANT)
    /// What `KorvelContent.acceptConsent` takes.
    Q_PROPERTY(QString consentTag READ consentTag CONSTANT)
    /// For display.
    Q_PROPERTY(QString title READ title CONSTANT)
    /// The document as plain text.
    Q_PROPERTY(QString policy READ policy CONSTANT)
    /// The document as HTML.
    Q_PROPERTY(QString policyHtml READ policyHtml CONSTANT)
    /// Whether the user can act on it.
    Q_PROPERTY(bool actionable READ actionable CONSTANT)
    /// Whether classes are refused without it.
    Q_PROPERTY(bool isMandatory READ isMandatory CONSTANT)
    /// Edition.
    Q_PROPERTY(int version READ version CONSTANT)
    /// Timestamp as the service's text.
    Q_PROPERTY(QString publishedDate READ publishedDate CONSTANT)
    /// Objects with the texts `linkText` and `linkUrl`.
    Q_PROPERTY(QVariantList urls READ urls CONSTANT)

public:
    Consent() = default;
    explicit Consent(std::shared_ptr<KCSDKConsent> record) : record_(std::move(record)) {}

    bool valid() const { return record_ != nullptr; }
    QString consentTag() const { return record_ ? text(record_->consentTag) : QString(); }
    QString title() const { return record_ ? text(record_->title) : QString(); }
    QString policy() const { return record_ ? text(record_->policy) : QString(); }
    QString policyHtml() const { return record_ ? text(record_->policyHtml) : QString(); }
    bool actionable() const { return record_ && record_->actionable; }
    bool isMandatory() const { return record_ && record_->isMandatory; }
    int version() const { return record_ ? static_cast<int>(record_->version) : 0; }
    QString publishedDate() const { return record_ ? text(record_->publishedDate) : QString(); }
    QVariantList urls() const {
        QVariantList list;
        if (!record_) return list;
        for (const auto& link : record_->urls) {
            list.append(QVariantMap{{QStringLiteral("linkText"), text(link->linkText)},
                                    {QStringLiteral("linkUrl"), text(link->linkUrl)}});
        }
        return list;
    }

private:
    std::shared_ptr<KCSDKConsent> record_;
};

}  // namespace korvel::qml
