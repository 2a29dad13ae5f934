#include <korvel/model/KCSDKConsent.h>
#include <korvel/network/ContractAnswer.h>

#include <utility>

namespace korvel {

namespace {

using Reason = Failure::Reason;

bool isAccepted(int status) { return status == 200 || status == 201; }

NSError consentError(const Failure& failure) {
    NSError::Value consent = std::string("na");
    if (failure.consent) consent = failure.consent;
    return {.domain = "SDK", .code = failure.status, .userInfo = {{"consent", std::move(consent)}}};
}

NSError serviceError(const Failure& failure) {
    return {.domain = "SDK",
            .code = failure.status,
            .userInfo = {{"message", failure.message}, {"data", *failure.body}}};
}

}  // namespace

ContractAnswer contractAnswer(const Failure& failure, Contract contract) {
    const auto reason = failure.reason;
    if (reason == Reason::unusableBaseURL && !failure.transport) return Answer{NSError{}};
    if (reason == Reason::missingArgument) return Answer{NSError{}};
    if (contract == Contract::logIn) return failure.body ? ContractAnswer(Answer{}) : Silence{};
    if (failure.status == 0) return Silence{};
    if (isAccepted(failure.status)) {
        return reason == Reason::noAnswer ? ContractAnswer(Silence{}) : Answer{};
    }
    if (!failure.body) return Answer{};
    if (contract == Contract::perform && reason == Reason::consentRequired) {
        return Answer{consentError(failure)};
    }
    return Answer{serviceError(failure)};
}

}  // namespace korvel
