#include "CommandLine.h"

#include "Outline.h"
#include "Output.h"
#include "Profile.h"
#include "Suggestion.h"
#include "Text.h"
#include "Values.h"

#include <CLI/CLI.hpp>
#include <iostream>
#include <vector>

namespace cli {

namespace {

std::string footer() {
    std::string text =
        "\"korvel help COMMAND\" tells what a command takes, \"man korvel\" tells all.\n\n"
        "Examples:\n"
        "  korvel collections\n"
        "  korvel search --keywords yoga --duration 10-40\n"
        "  korvel play 50102 --user anna\n"
        "  korvel classes --page 2 --json | jq -r '.items[].className'\n\n"
        "Exit codes:\n";
    for (const auto& [code, meaning] : exitCodes()) {
        const auto number = std::to_string(static_cast<int>(code));
        text += "  " + number + std::string(5 - number.size(), ' ') + meaning + '\n';
    }
    return text;
}

std::vector<const CLI::App*> commandsOf(const CLI::App& app) {
    return app.get_subcommands([](const CLI::App*) { return true; });
}

ExitCode show(const std::string& text) { return writeOut(text) ? ExitCode::ok : ExitCode::failed; }

ExitCode refused(const std::string& complaint, const std::string& moreIn) {
    std::cerr << "korvel: " << printable(complaint) << "\n\"" << moreIn << "\" tells more\n";
    return ExitCode::usage;
}

std::string unknown(const std::string& kind, const std::string& word,
                    const std::vector<std::string>& known) {
    const auto meant = suggestion(word, known);
    return "there is no " + kind + " '" + word + "'" +
           (meant.empty() ? "" : ", did you mean '" + meant + "'?");
}

}  // namespace

CommandLine::CommandLine()
    : app_(std::make_unique<CLI::App>("On-demand fitness classes at the command line", "korvel")) {
    app_->fallthrough();
    app_->require_subcommand(0, 1);
    app_->set_help_flag("-h,--help", "Show what there is, or what a command takes");
    app_->set_version_flag("--version", "korvel " KORVEL_VERSION, "Show the version");
    app_->footer(footer());
    addOptions(*app_, options_);
    addAccountCommands(*app_, chosen_);
    addCatalogueCommands(*app_, chosen_);
#ifdef KORVEL_HAS_PLAYER
    addPlayCommand(*app_, chosen_, options_);
#endif
    addHelp();
    addDocumentation();
    app_->get_formatter()->label("SUBCOMMAND", "COMMAND");
    for (auto* command : app_->get_subcommands([](CLI::App*) { return true; })) {
        command->group("Commands");
    }
}

void CommandLine::addHelp() {
    const auto topic = std::make_shared<std::string>();
    auto* command = app_->add_subcommand("help", "Show what a command takes");
    command->add_option("COMMAND", *topic, "All commands if left out")->type_name("");
    command->callback([this, topic] { helpTopic_ = *topic; });
    setExamples(command, "help search");
}

/// For the build, which installs what they print.
void CommandLine::addDocumentation() {
    app_->add_flag("--print-manual", printsManual_)->group("");
    takesOneOf(app_->add_option("--print-completion", completedShell_)->group(""),
               {"bash", "zsh", "fish"});
}

std::optional<ExitCode> CommandLine::parse(int argc, const char* const* argv) {
    const auto complaint = readProfile(*app_);
    try {
        app_->parse(argc, argv);
    } catch (const CLI::Success& wish) {  // help or version
        const bool isVersion = wish.get_name() == "CallForVersion";
        return show(isVersion ? std::string(wish.what()) + '\n' : app_->help());
    } catch (const CLI::ParseError& error) {
        return refuse(error);
    }
    if (const auto end = act()) return end;
    if (!complaint.empty()) return refused(complaint, "man korvel");
    return std::nullopt;
}

std::optional<ExitCode> CommandLine::act() {
    if (printsManual_) return show(manual(outlineOf(*app_)));
    if (!completedShell_.empty()) return show(completion(outlineOf(*app_), completedShell_));
    if (helpTopic_ && helpTopic_->empty()) return show(wholeHelp());
    if (helpTopic_) {
        if (const auto* command = named(*helpTopic_)) return show(command->help("korvel"));
        std::vector<std::string> names;
        for (const auto* command : commandsOf(*app_)) names.push_back(command->get_name());
        return refused(unknown("command", *helpTopic_, names), "korvel help");
    }
    if (chosen_) return std::nullopt;
    std::cerr << wholeHelp();
    return ExitCode::usage;
}

ExitCode CommandLine::refuse(const CLI::ParseError& error) const {
    const auto asked = app_->get_subcommands();
    const auto more = "korvel help" + (asked.empty() ? "" : ' ' + asked.front()->get_name());
    const bool isUnknown = dynamic_cast<const CLI::ExtrasError*>(&error) != nullptr;
    return refused(isUnknown ? unknownWord() : error.what(), more);
}

std::string CommandLine::unknownWord() const {
    const auto asked = app_->get_subcommands();
    const auto words = app_->remaining(true);
    const auto word = words.empty() ? std::string() : words.front();
    std::vector<std::string> known;
    if (word.starts_with('-')) {
        const auto addFrom = [&](const CLI::App& app) {
            for (const auto* option : app.get_options()) {
                const bool isHidden = option->get_group().empty();
                for (const auto& name : option->get_lnames())
                    if (!isHidden) known.push_back("--" + name);
            }
        };
        if (!asked.empty()) addFrom(*asked.front());
        addFrom(*app_);
        return unknown("option", word.substr(0, word.find('=')), known);
    }
    if (!asked.empty()) {
        return '\'' + word + "' is more than \"" + asked.front()->get_name() + "\" takes";
    }
    for (const auto* command : commandsOf(*app_)) known.push_back(command->get_name());
    return unknown("command", word, known);
}

/// The parser's own help is the chosen command's, and "help" is one.
std::string CommandLine::wholeHelp() const {
    return app_->get_formatter()->make_help(app_.get(), "korvel", CLI::AppFormatMode::Normal);
}

const CLI::App* CommandLine::named(const std::string& command) const {
    for (const auto* each : commandsOf(*app_)) {
        if (each->get_name() == command) return each;
    }
    return nullptr;
}

}  // namespace cli
