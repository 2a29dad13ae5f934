#include "Commands.h"
#include "Host.h"
#include "Moment.h"
#include "Output.h"
#include "Values.h"
#include "Views.h"

#include <CLI/CLI.hpp>
#include <chrono>
#include <memory>
#include <optional>

namespace cli {

namespace {

// Operations that only report an error leave nothing to show; these are this program's own words.

struct LoggedIn {
    std::string userName;
    bool loggedIn = true;
    using JSON = korvel::platform::Members<&LoggedIn::userName, &LoggedIn::loggedIn>;
};
struct Accepted {
    std::string consentTag;
    bool accepted = true;
    using JSON = korvel::platform::Members<&Accepted::consentTag, &Accepted::accepted>;
};
struct Cancelled {
    bool cancelled = true;
    using JSON = korvel::platform::Members<&Cancelled::cancelled>;
};

void addLogin(CLI::App& app, Command& chosen) {
    const auto user = std::make_shared<std::string>();
    auto* command = app.add_subcommand("login", "Log a user in, for this one run");
    takesName(command->add_option("USER", *user, "Name of the user"));
    setExamples(command, "login anna");
    onCommand(command, chosen, [user](Host& host, Output& output) {
        const LoggedIn result{.userName = host.logIn(*user)};
        output.show(result, [&](PageWidth) { return "logged in as " + result.userName + "\n"; });
    });
}

void addConsent(CLI::App& app, Command& chosen) {
    auto* command = app.add_subcommand("consent", "Show the consent documents in force");
    setExamples(command, "consent");
    onCommand(command, chosen, [](Host& host, Output& output) {
        const auto list = host.value(host.client().consents());
        output.show(list, [&](PageWidth page) { return asText(list, page); });
    });
}

void addAccept(CLI::App& app, Command& chosen) {
    const auto tag = std::make_shared<std::string>();
    auto* command = app.add_subcommand("accept", "Accept a consent document; needs a user");
    takesName(command->add_option("TAG", *tag, "Tag of the document"));
    setExamples(command, "accept privacy-2024 --user anna");
    onCommand(command, chosen, [tag](Host& host, Output& output) {
        const auto user = host.logIn();
        host.value(host.client().acceptConsent(*tag));
        output.show(Accepted{.consentTag = *tag},
                    [&](PageWidth) { return user + " accepts " + *tag + "\n"; });
    });
}

void addSubscribe(CLI::App& app, Command& chosen) {
    struct Arguments {
        std::string id;
        std::optional<std::string> start;
    };
    const auto arguments = std::make_shared<Arguments>();
    auto* command = app.add_subcommand("subscribe", "Start a subscription; needs a user");
    takesName(command->add_option("ID", arguments->id, "Identifier of the subscription"));
    setExamples(command,
                "subscribe gold-yearly --user anna\nsubscribe gold-yearly --start 2024-03-31");
    command
        ->add_option("--start", arguments->start,
                     "Start, such as 2024-03-31 or 2024-03-31T01:00:00+0100; now if left out")
        ->type_name("DATE")
        ->check([](const std::string& text) {
            return moment(text) ? ""
                                : "'" + text + "' is no date of the form YYYY-MM-DD[THH:MM:SS]";
        });
    onCommand(command, chosen, [arguments](Host& host, Output& output) {
        const auto user = host.logIn();
        const auto start = arguments->start ? moment(*arguments->start) : std::nullopt;
        const auto request = std::make_shared<korvel::KCSDKUserSubscriptionRequest>(
            start.value_or(std::chrono::system_clock::now()), arguments->id);
        host.value(host.client().activateSubscription(*request));
        output.show(request, [&](PageWidth) {
            return user + " is subscribed to " + request->subscriptionId + " from " +
                   dateAndTime(request->start) + "\n";
        });
    });
}

void addCancel(CLI::App& app, Command& chosen) {
    auto* command = app.add_subcommand("cancel", "End the subscription; needs a user");
    setExamples(command, "cancel --user anna");
    onCommand(command, chosen, [](Host& host, Output& output) {
        const auto user = host.logIn();
        host.value(host.client().cancelSubscription());
        output.show(Cancelled{},
                    [&](PageWidth) { return "the subscription of " + user + " is cancelled\n"; });
    });
}

}  // namespace

void addAccountCommands(CLI::App& app, Command& chosen) {
    addLogin(app, chosen);
    addConsent(app, chosen);
    addAccept(app, chosen);
    addSubscribe(app, chosen);
    addCancel(app, chosen);
}

}  // namespace cli
