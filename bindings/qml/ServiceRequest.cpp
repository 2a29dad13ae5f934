#include <bindings/qml/KorvelContent.h>
#include <bindings/qml/Reasons.h>
#include <bindings/qml/RequestWatch.h>
#include <bindings/qml/ServiceRequest.h>
#include <korvel/platform/Device.h>

namespace korvel::qml {

ServiceRequest::ServiceRequest(QObject* parent) : QObject(parent) {
    limit_.setSingleShot(true);
    connect(&limit_, &QTimer::timeout, this, [this] { fail(reasonOfSilence(limit_.interval())); });
}

ServiceRequest::~ServiceRequest() { forget(); }

void ServiceRequest::forget() {
    if (ticket_) ticket_->asker = nullptr;
    ticket_.reset();
    limit_.stop();
    if (state_ == State::busy) state_ = State::idle;
}

void ServiceRequest::ask(std::function<void()> send) {
    forget();
    send_ = std::move(send);
    state_ = State::busy;
    errorText_.clear();
    errorStatus_ = 0;
    ticket_ = std::make_shared<Ticket>(Ticket{.asker = this, .undecodable = {}, .refusal = {}});
    Q_EMIT changed();
    const auto& content = KorvelContent::instance();
    if (!content.configured()) return fail(tr("KorvelContent is not configured yet"));
    queue_ = platform::Device::current().mainQueue;
    limit_.start(content.answerTimeout());
    const RequestWatch::Asking asking(ticket_);
    const auto question = send_;  // an answer at once may ask the next one
    question();
}

void ServiceRequest::retry() {
    if (send_ && !busy()) ask(send_);
}

void ServiceRequest::settle(const std::optional<NSError>& error,
                            const std::function<void()>& take) {
    if (error) return fail(reason(*error), statusOf(*error));
    if (!ticket_->undecodable.isEmpty() && ticket_->refusal) {
        return fail(reason(*ticket_->refusal), statusOf(*ticket_->refusal));
    }
    if (!ticket_->undecodable.isEmpty()) return fail(reasonUndecodable(ticket_->undecodable));
    state_ = State::busy;
    const auto ticket = ticket_;
    take();
    if (ticket == ticket_ && state_ == State::busy) succeed();
}

void ServiceRequest::fail(const QString& text, int status) {
    limit_.stop();
    state_ = State::failed;
    errorText_ = text;
    errorStatus_ = status;
    Q_EMIT changed();
    Q_EMIT failed(text, status);
}

void ServiceRequest::succeed() {
    limit_.stop();
    state_ = State::succeeded;
    errorText_.clear();
    errorStatus_ = 0;
    Q_EMIT changed();
    Q_EMIT answered();
}

}  // namespace korvel::qml
