#include <korvel/platform/backends/curl/CurlTurns.h>

#include <utility>

namespace korvel::platform {

namespace {
constexpr std::size_t mostIdleServices = 32;
}

void CurlTurns::enter(Transfer transfer) {
    auto& queue = services_[transfer->service()].queue;
    queue.push_back({entered_++, std::move(transfer)});
    ++waiting_;
}

CurlTurns::Transfer CurlTurns::next() {
    if (waiting_ == 0 || underWay_ == mostInAll) return nullptr;
    Service* first = nullptr;
    for (auto& [name, service] : services_) {
        if (!service.hasNext()) continue;
        if (!first || service.queue.front().number < first->queue.front().number) first = &service;
    }
    if (!first) return nullptr;
    Transfer transfer = std::move(first->queue.front().transfer);
    first->queue.pop_front();
    first->connects = transfer->isConnection();
    ++first->underWay;
    ++underWay_;
    --waiting_;
    return transfer;
}

void CurlTurns::leave(const CurlTransfer& transfer) {
    const auto found = services_.find(transfer.service());
    --underWay_;
    if (transfer.isConnection()) found->second.connects = false;
    const bool isIdle = --found->second.underWay == 0 && found->second.queue.empty();
    if (isIdle && services_.size() > mostIdleServices) services_.erase(found);
}

bool CurlTurns::withdraw(const Transfer& transfer) {
    const auto found = services_.find(transfer->service());
    if (found == services_.end()) return false;
    const auto gone = std::erase_if(
        found->second.queue, [&](const Waiting& waiting) { return waiting.transfer == transfer; });
    waiting_ -= gone;
    return gone > 0;
}

void CurlTurns::clear() {
    // Destroying a transfer runs the host's code, which must find nothing half done.
    const auto dropped = std::exchange(services_, {});
    waiting_ = underWay_ = 0;
}

}  // namespace korvel::platform
