#include "Commands.h"
#include "Host.h"
#include "Output.h"
#include "Views.h"

#include <CLI/CLI.hpp>
#include <cstdint>
#include <memory>
#include <optional>

namespace cli {

namespace {

void addCollections(CLI::App& app, Command& chosen) {
    struct Arguments {
        std::optional<std::string> id;
        std::int64_t most = 0;
    };
    const auto arguments = std::make_shared<Arguments>();
    auto* command = app.add_subcommand("collections", "List the collections, or one with classes");
    command->add_option("ID", arguments->id, "Tag of the collection");
    command->add_option("--max", arguments->most, "So many at most; below 1: all");
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
    command->add_option("--page", asked->page, "Page, counted from 1")->capture_default_str();
    command->add_option("--page-size", asked->size, "Classes on a page")->capture_default_str();
    command->add_option("--sort", asked->sort, "Sort key; the service's usual is \"alpha\"");
    command->add_option("--order", asked->order, "\"asc\" or \"desc\"");
    onCommand(command, chosen, [asked](Host& host, Output& output) {
        const auto response = host.value(host.client().classes(*asked));
        output.show(response, [&](PageWidth width) { return asText(*response, width); });
    });
}

void addClass(CLI::App& app, Command& chosen) {
    const auto tag = std::make_shared<std::string>();
    auto* command = app.add_subcommand("class", "Show a class");
    command->add_option("TAG", *tag, "Tag of the class")->required()->check(complaintIfEmpty);
    onCommand(command, chosen, [tag](Host& host, Output& output) {
        const auto found =
            host.value(host.client().classDetails(*tag), "there is no class '" + *tag + "'");
        output.show(found, [&](PageWidth page) { return asText(*found, page); });
    });
}

void addMetadata(CLI::App& app, Command& chosen) {
    auto* command =
        app.add_subcommand("metadata", "Show what classes can be searched by; needs a user");
    onCommand(command, chosen, [](Host& host, Output& output) {
        host.logIn();
        const auto metadata = host.value(host.client().metaData());
        output.show(metadata, [&](PageWidth page) { return asText(*metadata, page); });
    });
}

void addSearch(CLI::App& app, Command& chosen) {
    const auto filter = std::make_shared<korvel::KCSDKOndemandFilterRequest>();
    auto* command = app.add_subcommand("search", "Find classes; \"metadata\" shows the values");
    command->add_option("--keywords", filter->keywords, "Words to find");
    command->add_option("--query", filter->query, "Text to find as it stands");
    command->add_option("--type", filter->type, "Class type");
    command->add_option("--language", filter->classLanguage, "Language");
    command->add_option("--provider", filter->provider, "Provider");
    command->add_option("--duration", filter->duration, "Minutes, such as 20-40");
    command->add_option("--intensity", filter->intensity, "Intensity, such as 2-3");
    command->add_option("--equipment", filter->equipment, "Equipment");
    command->add_option("--level", filter->level, "Level");
    command->add_option("--sort", filter->sort, "Sort key");
    command->add_option("--dir", filter->dir, "\"asc\" or \"desc\"");
    command->add_option("--skip", filter->skip, "Matches to leave out before the page")
        ->capture_default_str();
    command->add_option("--take", filter->take, "Matches on the page")->capture_default_str();
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
