#include "Views.h"

#include "Fields.h"
#include "Moment.h"
#include "Text.h"

#include <optional>

namespace cli {

namespace {

using korvel::KCSDKOndemandClass;

std::string yesOrNo(bool value) { return value ? "yes" : "no"; }

/// The day of a timestamp in the service's own form, which starts with it.
std::string day(const std::string& timestamp) { return timestamp.substr(0, timestamp.find('T')); }

std::string joined(const std::vector<std::string>& texts) {
    std::string result;
    for (const auto& text : texts) result += (result.empty() ? "" : ", ") + text;
    return result;
}

std::string joined(const std::vector<korvel::ValueType>& choices) {
    std::string result;
    for (const auto& [text, value] : choices) {
        if (!result.empty()) result += ", ";
        result.append(text).append(" (").append(value).append(")");
    }
    return result;
}

std::string range(const korvel::MinMaxType& range) {
    return std::to_string(range.min) + " to " + std::to_string(range.max);
}

Table classTable() {
    using enum Table::Cells;
    return Table({{"TAG", words},
                  {"CLASS", prose},
                  {"MIN", numbers},
                  {"INTENSITY", numbers},
                  {"CATEGORY", prose},
                  {"LANGUAGE", prose},
                  {"PROVIDER", prose}});
}

void add(Table& table, const std::string& tag, const KCSDKOndemandClass& each) {
    table.add({tag, each.className, each.durationMinutes, std::to_string(each.intensity),
               each.classCategories.value_or(""),
               each.languageName ? *each.languageName : each.languageTag.value_or(""),
               each.provider.value_or("")});
}

std::string share(std::size_t shown, std::int64_t total, std::int64_t remaining) {
    return std::to_string(shown) + " of " + std::to_string(total) + " classes, " +
           std::to_string(remaining) + " after these\n";
}

}  // namespace

std::string overview(const Collections& collections, PageWidth page) {
    if (collections.empty()) return "no collections\n";
    using enum Table::Cells;
    Table table({{"TAG", words},
                 {"COLLECTION", prose},
                 {"TYPE", prose},
                 {"CLASSES", numbers},
                 {"CREATED", words}});
    for (const auto& each : collections) {
        table.add({each->collectionTag, each->collectionName, each->collectionType,
                   std::to_string(each->itemCount), day(each->creationDate)});
    }
    return table.text(page);
}

std::string withClasses(const Collections& collections, PageWidth page) {
    std::string result = overview(collections, page);
    for (const auto& each : collections) {
        auto table = classTable();
        if (each->collectionItems) {
            for (const auto& member : *each->collectionItems) add(table, member->tag, *member);
        }
        result += '\n' + (table.empty() ? "no classes\n" : table.text(page));
    }
    return result;
}

std::string asText(const korvel::KCSDKOndemandClassResponse& response, PageWidth page) {
    auto table = classTable();
    for (const auto& each : response.items) add(table, each->tag, *each);
    return (table.empty() ? "" : table.text(page)) +
           share(response.items.size(), response.totalItems, response.itemsRemaining);
}

std::string asText(const korvel::KCSDKOndemandSearchResult& result, PageWidth page) {
    auto table = classTable();
    for (const auto& each : result.items) add(table, each->classTag, *each->virtualClass);
    return (table.empty() ? "" : table.text(page)) +
           share(result.items.size(), result.total, result.itemsRemaining);
}

std::string asText(const KCSDKOndemandClass& ondemandClass, PageWidth page) {
    const auto& it = ondemandClass;
    auto language = it.languageName;
    if (it.languageTag) {
        language = language ? *language + " (" + *it.languageTag + ")" : *it.languageTag;
    }
    Fields fields;
    fields.add("tag", it.tag);
    fields.add("class", it.className);
    fields.add("description", it.classDescription);
    fields.add("category", it.classCategories);
    fields.add("language", language);
    fields.add("provider", it.provider);
    fields.add("duration", lengthOf(it.durationSecond));
    fields.add("intensity", std::to_string(it.intensity));
    fields.add("skill", std::to_string(it.skill));
    if (it.calorieBurn) fields.add("calories", std::to_string(*it.calorieBurn) + " kcal");
    if (it.equipmentNames) fields.add("equipment", joined(*it.equipmentNames));
    fields.add("favourite", yesOrNo(it.favourite));
    fields.add("created", dateAndTime(it.creationDate));
    fields.add("changed", dateAndTime(it.lastModifiedDate));
    fields.add("trailer", it.trailerLinkMobile);
    fields.add("image", it.imageLink);
    fields.add("stream", it.streamingLink);
    return fields.text(page);
}

std::string asText(const korvel::KCSDKOndemandMetaData& metadata, PageWidth page) {
    Fields fields;
    fields.add("class types", joined(metadata.classTypes));
    fields.add("equipment", joined(metadata.equipments));
    fields.add("languages", joined(metadata.language));
    fields.add("providers", joined(metadata.providers));
    fields.add("duration", range(metadata.duration) + " min");
    fields.add("intensity", range(metadata.intensity));
    return fields.text(page);
}

std::string asText(const Consents& consents, PageWidth page) {
    if (consents.empty()) return "no consent documents\n";
    std::string result;
    for (const auto& each : consents) {
        Fields fields;
        fields.add("tag", each->consentTag);
        fields.add("title", each->title);
        fields.add("version", std::to_string(each->version) + " of " + day(each->publishedDate));
        fields.add("mandatory", yesOrNo(each->isMandatory));
        fields.add("policy", each->policy);
        for (const auto& link : each->urls) {
            fields.add("link", link->linkText + ": " + link->linkUrl);
        }
        result += (result.empty() ? "" : "\n") + fields.text(page);
    }
    return result;
}

std::string asText(const korvel::KCSDKOndemandResultRequest& performance, PageWidth page) {
    Fields fields;
    fields.add("Recorded", dateAndTime(performance.performDate));
    fields.add("Class", performance.contentID + "  " + performance.contentName);
    fields.add("Provider", performance.providerName);
    fields.add("Performed", lengthOf(performance.actualDurationSecond));
    fields.add("Length", lengthOf(performance.playedDurationSecond));
    fields.add("User", performance.userId);
    fields.add("Record", performance.ID);
    return fields.text(page);
}

}  // namespace cli
