#include "Commands.h"
#include "Host.h"
#include "Output.h"
#include "Values.h"
#include "Views.h"

#include <CLI/CLI.hpp>
#include <cstdint>
#include <memory>
#include <optional>
#include <string>
#include <vector>

namespace cli {

namespace {

const std::vector<std::string> sortKeys{"alpha", "date", "duration", "intensity", "calories"};
const std::vector<std::string> directions{"asc", "desc"};

void addCollections(CLI::App& app, Command& chosen) {
    struct Arguments {
        std::optional<std::string> id;
        std::int64_t most = 0;
    };
    const auto arguments = std::make_shared<Arguments>();
    auto* command = app.add_subcommand("collections", "List the collections, or one with classes");
    command->add_option("ID", arguments->id, "Tag of the collection")->type_name("");
    takesNumber(command->add_option("--max", arguments->most, "So many at most; 0: all"), 0);
    setExamples(command, "collections\ncollections yoga-mobility --max 5");
    onCommand(command, chosen, [arguments](Host& host, Output& output) {
        const auto list = host.value(host.client().collections(arguments->id, arguments->most));
        output.show(list, [&](PageWidth page) {
            return arguments->id ? withClasses(list, page) : overview(list, page);
        });
    });
}

void addClasses(CLI::App& app, Command& chosen) {
    const auto asked = std::make_shared<korvel::ClassesPage>();
    auto* command = app.add_subcommand("classes", "List one page of all classes");
    takesNumber(
        command->add_option("--page", asked->page, "Page, counted from 1")->capture_default_str(),
        1);
    takesNumber(
        command->add_option("--page-size", asked->size, "Classes on a page")->capture_default_str(),
        1);
    takesOneOf(command->add_option("--sort", asked->sort, "What to sort by; alpha if left out"),
               sortKeys);
    takesOneOf(command->add_option("--order", asked->order, "Direction; asc if left out"),
               directions);
    setExamples(command, "classes\nclasses --page 2 --page-size 10 --sort duration --order desc");
    onCommand(command, chosen, [asked](Host& host, Output& output) {
        const auto response = host.value(host.client().classes(*asked));
        output.show(response, [&](PageWidth width) { return asText(*response, width); });
    });
}

void addClass(CLI::App& app, Command& chosen) {
    const auto tag = std::make_shared<std::string>();
    auto* command = app.add_subcommand("class", "Show a class");
    takesName(command->add_option("TAG", *tag, "Tag of the class"));
    setExamples(command, "class 50102");
    onCommand(command, chosen, [tag](Host& host, Output& output) {
        const auto found =
            host.value(host.client().classDetails(*tag), "there is no class '" + *tag + "'");
        output.show(found, [&](PageWidth page) { return asText(*found, page); });
    });
}

void addMetadata(CLI::App& app, Command& chosen) {
    auto* command =
        app.add_subcommand("metadata", "Show what classes can be searched by; needs a user");
    setExamples(command, "metadata --user anna");
    onCommand(command, chosen, [](Host& host, Output& output) {
        host.logIn();
        const auto metadata = host.value(host.client().metaData());
        output.show(metadata, [&](PageWidth page) { return asText(*metadata, page); });
    });
}

void addSearch(CLI::App& app, Command& chosen) {
    const auto filter = std::make_shared<korvel::KCSDKOndemandFilterRequest>();
    auto* command = app.add_subcommand("search", "Find classes; \"metadata\" shows the values");
    const auto text = [&](const char* name, auto& value, const char* description) {
        return command->add_option(name, value, description)->type_name("TEXT");
    };
    text("--keywords", filter->keywords, "Words to find");
    text("--query", filter->query, "Text to find as it stands");
    text("--type", filter->type, "Class type");
    text("--language", filter->classLanguage, "Language");
    text("--provider", filter->provider, "Provider");
    takesRange(text("--duration", filter->duration, "Minutes, such as 20-40"));
    takesRange(text("--intensity", filter->intensity, "Intensity, such as 2-3"));
    text("--equipment", filter->equipment, "Equipment");
    takesRange(text("--level", filter->level, "Level, such as 1"));
    takesOneOf(text("--sort", filter->sort, "What to sort by"), sortKeys);
    takesOneOf(text("--dir", filter->dir, "Direction"), directions);
    takesNumber(
        text("--skip", filter->skip, "Matches to leave out before the page")->capture_default_str(),
        0);
    takesNumber(text("--take", filter->take, "Matches on the page")->capture_default_str(), 1);
    setExamples(command,
                "search --keywords yoga --duration 10-40 --sort duration\n"
                "search --language ja --take 3 --json");
    onCommand(command, chosen, [filter](Host& host, Output& output) {
        const auto result = host.value(host.client().search(*filter));
        output.show(result, [&](PageWidth page) { return asText(*result, page); });
    });
}

}  // namespace

void addCatalogueCommands(CLI::App& app, Command& chosen) {
    addCollections(app, chosen);
    addClasses(app, chosen);
    addClass(app, chosen);
    addMetadata(app, chosen);
    addSearch(app, chosen);
}

}  // namespace cli
