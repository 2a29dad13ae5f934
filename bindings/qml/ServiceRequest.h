#pragma once

#include <korvel/platform/foundation/MainQueue.h>
#include <korvel/platform/foundation/NSError.h>

#include <QtQml/qqmlregistration.h>
#include <QObject>
#include <QString>
#include <QTimer>
#include <functional>
#include <memory>
#include <optional>
#include <type_traits>

namespace korvel::qml {

class ServiceRequest;

/// One question on its way. Background threads hand it on; it is looked into on the main queue.
struct Ticket {
    ServiceRequest* asker = nullptr;  ///< null once nobody waits for the answer
    QString undecodable;              ///< what of the answer was not understood
    std::optional<NSError> refusal;   ///< a status that the completion may not tell
};

/// How the one question that an element asks the service at a time stands. The SDK says nothing
/// when there is no connection; here every question ends: with an answer, with the transport's
/// failure as soon as that is known, or after `KorvelContent.answerTimeout`. An answer that comes
/// after all still counts, until the next question.
class ServiceRequest : public QObject {
    Q_OBJECT
    QML_ELEMENT
    QML_UNCREATABLE("A part of the elements that ask the service")
    /// Whether an answer is being waited for.
    Q_PROPERTY(bool busy READ busy NOTIFY changed)
    /// Whether the last question was answered, and as it should be.
    Q_PROPERTY(bool succeeded READ hasSucceeded NOTIFY changed)
    /// Why the last question failed, for people to read; empty if it did not.
    Q_PROPERTY(QString errorText READ errorText NOTIFY changed)
    /// The service's HTTP status if it refused; 0 if it was not that.
    Q_PROPERTY(int errorStatus READ errorStatus NOTIFY changed)

public:
    explicit ServiceRequest(QObject* parent = nullptr);
    ~ServiceRequest() override;

    bool busy() const { return state_ == State::busy; }
    bool hasSucceeded() const { return state_ == State::succeeded; }
    const QString& errorText() const { return errorText_; }
    int errorStatus() const { return errorStatus_; }

    /// Asks again what was asked last. Does nothing while an answer is being waited for.
    Q_INVOKABLE void retry();

    /// Waits from now on for what `send` asks the SDK, with a completion made by `expect`. An
    /// earlier question is forgotten, its answer will not count.
    void ask(std::function<void()> send);
    /// A completion for the SDK. `take` runs on the main queue if the answer comes while it counts,
    /// without error; it may call `fail`. What it captures is copied to other threads.
    template <class... Values>
    std::function<void(Values..., std::optional<NSError>)> expect(
        std::type_identity_t<std::function<void(Values...)>> take) const {
        return [ticket = ticket_, queue = queue_, take](Values... values,
                                                        std::optional<NSError> error) {
            queue->async([ticket, take, values..., error = std::move(error)] {
                if (!ticket->asker) return;
                ticket->asker->settle(error, [&] { take(values...); });
            });
        };
    }

    /// What `expect` does once it has arrived on the main queue, for completions that are there.
    void settle(const std::optional<NSError>& error, const std::function<void()>& take);
    /// Ends the wait.
    void fail(const QString& text, int status = 0);
    void succeed();
    /// No answer counts any more.
    void forget();

Q_SIGNALS:
    void changed();
    /// The answer came.
    void answered();
    /// It will not come, or it is a refusal.
    void failed(const QString& errorText, int errorStatus);

private:
    enum class State { idle, busy, succeeded, failed };

    std::function<void()> send_;
    std::shared_ptr<Ticket> ticket_;
    std::shared_ptr<platform::MainQueue> queue_;
    QTimer limit_;
    State state_ = State::idle;
    QString errorText_;
    int errorStatus_ = 0;
};

}  // namespace korvel::qml
