#pragma once

#include <korvel/client/ContentClient.h>
#include <korvel/platform/Device.h>

#include <QtQml/qqmlregistration.h>
#include <QObject>
#include <QString>
#include <functional>
#include <memory>
#include <optional>
#include <stop_token>
#include <type_traits>
#include <utility>

namespace korvel::qml {

/// How the one question that an element asks the service at a time stands. Every question ends:
/// with an answer, with the failure that there was, or after `KorvelContent.answerTimeout`.
class ServiceRequest : public QObject {
    Q_OBJECT
    QML_ELEMENT
    QML_UNCREATABLE("A part of the elements that ask the service")
    /// Whether an answer is being waited for.
    Q_PROPERTY(bool busy READ busy NOTIFY changed)
    /// Whether the last question was answered, and as it should be.
    Q_PROPERTY(bool succeeded READ hasSucceeded NOTIFY changed)
    /// Why the last question failed, in full, for whoever looks after the host: with statuses and
    /// the service's own words; empty if it did not.
    Q_PROPERTY(QString errorText READ errorText NOTIFY changed)
    /// The same for who uses the host, in words of no technical kind.
    Q_PROPERTY(QString message READ message NOTIFY changed)
    /// The service's HTTP status if it refused; 0 if it was not that.
    Q_PROPERTY(int errorStatus READ errorStatus NOTIFY changed)

public:
    using QObject::QObject;
    ~ServiceRequest() override;

    bool busy() const { return state_ == State::busy; }
    bool hasSucceeded() const { return state_ == State::succeeded; }
    const QString& errorText() const { return errorText_; }
    const QString& message() const { return message_; }
    int errorStatus() const { return errorStatus_; }
    /// The document that a refusal asks to accept first; null if there was none.
    const std::shared_ptr<KCSDKConsent>& consent() const { return consent_; }

    /// Asks again what was asked last. Does nothing while an answer is being waited for.
    Q_INVOKABLE void retry();

    /// Begins a question: `send` asks the client, and hands what is pending to `expect`. An earlier
    /// question ends, its answer will not count.
    void ask(std::function<void()> send);
    template <class T> using Late = std::type_identity_t<std::function<void(T&)>>;
    /// `take` runs on the GUI thread with the value, and may call `fail`; `late` instead of it if
    /// nobody waits for the value any more.
    template <class T, class Take> void expect(Pending<T> answer, Take take, Late<T> late = {}) {
        auto arrived = [this, take = std::move(take), late = std::move(late),
                        token = stop_.get_token()](Outcome<T> outcome) {
            if (!token.stop_requested()) {
                settle(outcome ? nullptr : &outcome.failure(), [&] { take(*outcome); });
            } else if (outcome && late) {
                late(*outcome);
            }
        };
        std::move(answer)
            .stoppedBy(stop_.get_token())
            .then(platform::Device::current().mainQueue, std::move(arrived));
    }

    /// Ends the wait.
    void fail(const QString& text) { fail(text, text, 0); }
    void fail(const Failure& failure);
    /// No answer counts any more.
    void forget();

    static QString wording(const Failure& failure);  ///< as `errorText`
    static QString message(const Failure& failure);  ///< as `message`

Q_SIGNALS:
    void changed();
    /// The answer came.
    void answered();
    /// It will not come, or it is a refusal.
    void failed(const QString& errorText, int errorStatus);

private:
    enum class State { idle, busy, succeeded, failed };

    void fail(const QString& text, const QString& message, int status);
    void settle(const Failure* failure, const std::function<void()>& take);

    std::function<void()> send_;
    std::stop_source stop_;  ///< of the question under way
    State state_ = State::idle;
    QString errorText_;
    QString message_;
    int errorStatus_ = 0;
    std::shared_ptr<KCSDKConsent> consent_;
};

}  // namespace korvel::qml
