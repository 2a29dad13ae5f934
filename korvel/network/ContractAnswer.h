#pragma once

#include <korvel/network/Boxed.h>
#include <korvel/network/Completion.h>

#include <type_traits>
#include <variant>

namespace korvel {

/// What a completion is told of an operation that came to nothing. Silence is required behaviour,
/// not an oversight: hosts treat "no answer" as "still offline", so a transport error never
/// completes.
struct Silence {};
struct Answer {
    std::optional<NSError> error;  ///< absent: the completion hears of neither record nor error
};
using ContractAnswer = std::variant<Silence, Answer>;

/// Operations whose completions hear of their failures in words of their own.
enum class Contract {
    usual,
    logIn,    ///< any answer of the service counts as a success
    perform,  ///< a missing consent is an error with the document, and nothing else of the answer
};

/// A pure function. A refusal is an error of domain "SDK" with the status as code, the body bytes
/// as "data" and their text as "message"; a base URL or argument that is none, one of empty domain
/// and code 0; what is not understood or not found is neither; all else is silence.
ContractAnswer contractAnswer(const Failure& failure, Contract contract = Contract::usual);

/// A handler that tells `completion` of the outcome what its contract tells.
template <class Record>
Handler<std::shared_ptr<Record>> completing(Completion<Record> completion,
                                            Contract contract = Contract::usual) {
    return [completion = std::move(completion),
            contract](const Outcome<std::shared_ptr<Record>>& outcome) {
        if (!completion) return;
        if (outcome) return completion(*outcome, std::nullopt);
        auto answer = contractAnswer(outcome.failure(), contract);
        if (auto* told = std::get_if<Answer>(&answer)) completion(nullptr, std::move(told->error));
    };
}

template <class Record>
Handler<std::vector<std::shared_ptr<Record>>> completing(ListCompletion<Record> completion) {
    return [completion =
                std::move(completion)](Outcome<std::vector<std::shared_ptr<Record>>> outcome) {
        if (!completion) return;
        if (outcome) return completion(std::move(*outcome), std::nullopt);
        auto answer = contractAnswer(outcome.failure());
        if (auto* told = std::get_if<Answer>(&answer)) {
            completion(std::nullopt, std::move(told->error));
        }
    };
}

template <class Value>
Handler<Value> completing(ErrorCompletion completion, Contract contract = Contract::usual) {
    return [completion = std::move(completion), contract](const Outcome<Value>& outcome) {
        if (!completion) return;
        if (outcome) return completion(std::nullopt);
        auto answer = contractAnswer(outcome.failure(), contract);
        if (auto* told = std::get_if<Answer>(&answer)) completion(std::move(told->error));
    };
}

}  // namespace korvel
