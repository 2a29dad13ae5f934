#include <service/Catalogue.h>

#include <algorithm>
#include <fstream>
#include <nlohmann/json.hpp>
#include <stdexcept>
#include <utility>

namespace korvel::service {

namespace {

using Json = nlohmann::ordered_json;

Json readJson(const std::filesystem::path& path) {
    std::ifstream stream(path);
    if (!stream) throw std::runtime_error("cannot open the catalogue " + path.string());
    return Json::parse(stream);
}

std::string joined(const std::vector<std::string>& texts) {
    std::string all;
    for (const std::string& text : texts) (all += all.empty() ? "" : ",") += text;
    return all;
}

std::string pageText(std::string_view totalName, std::size_t total, std::size_t remaining,
                     const std::vector<std::string>& items) {
    std::string text = "{\"";
    text.append(totalName).append("\":").append(std::to_string(total));
    text.append(",\"itemsRemaining\":").append(std::to_string(remaining));
    return text.append(",\"items\":[").append(joined(items)).append("]}");
}

/// Where a page lies in a list of `total`, whatever the client asked for.
std::pair<std::size_t, std::size_t> bounds(std::size_t total, std::int64_t skip,
                                           std::int64_t take) {
    const auto size = static_cast<std::int64_t>(total);
    const std::int64_t first = std::clamp<std::int64_t>(skip, 0, size);
    const std::int64_t last = first + std::clamp<std::int64_t>(take, 0, size - first);
    return {static_cast<std::size_t>(first), static_cast<std::size_t>(last)};
}

void addOnce(Json& list, const Json& value) {
    if (std::find(list.begin(), list.end(), value) == list.end()) list.push_back(value);
}

}  // namespace

Catalogue::Catalogue(const std::filesystem::path& path, const std::string& baseURL) {
    try {
        const Json file = readJson(path);
        for (const Json& record : file.at("classes")) addClass(record, file, baseURL);
        for (const Json& record : file.at("collections")) addCollection(record);
        addConsents(file);
        makeMetadata(file);
    } catch (const Json::exception& error) {
        throw std::runtime_error("the catalogue " + path.string() + " is no good: " + error.what());
    }
}

void Catalogue::addClass(Json record, const Json& file, const std::string& baseURL) {
    for (const char* link : {"trailerLinkMobile", "imageLink", "streamingLink"}) {
        if (record.contains(link)) record[link] = baseURL + record[link].get<std::string>();
    }
    Class added;
    added.tag = record.at("tag");
    ClassTraits& traits = added.traits;
    traits.name = folded(record.at("className").get<std::string>());
    traits.category = folded(record.value("classCategories", ""));
    traits.provider = folded(record.value("provider", ""));
    traits.text = traits.name + '\n' + folded(record.at("classDescription").get<std::string>()) +
                  '\n' + traits.category + '\n' + traits.provider;
    traits.languages = {folded(record.value("languageTag", "")),
                        folded(record.value("languageName", ""))};
    traits.creationDate = record.at("creationDate");
    traits.intensity = record.at("intensity");
    traits.skill = record.at("skill");
    traits.minutes = record.at("durationSecond").get<std::int64_t>() / 60;
    traits.calories = record.value("calorieBurn", std::int64_t{0});
    for (const Json& name : record.value("equipmentNames", Json::array())) {
        traits.equipments.push_back(folded(name.get<std::string>()));
        for (const Json& equipment : file.at("equipments")) {
            if (equipment.at("text") != name) continue;
            const auto value = equipment.at("value").get<std::string>();
            (added.equipments += added.equipments.empty() ? "" : ",") += value;
            traits.equipments.push_back(folded(value));
        }
    }
    // The same text has two spellings in JSON, plain and escaped. Clients must read both, so every
    // third class goes out escaped.
    const bool escaped = classes_.size() % 3 == 2;
    added.performed = record.dump(-1, ' ', escaped);
    record.erase("streamingLink");
    added.listed = record.dump(-1, ' ', escaped);
    indexOfTag_.emplace(added.tag, classes_.size());
    classes_.push_back(std::move(added));
}

void Catalogue::addCollection(Json record) {
    Collection collection;
    collection.tag = record.at("collectionTag");
    for (const Json& tag : record.at("classes")) {
        const auto found = indexOfTag_.find(tag.get<std::string>());
        if (found == indexOfTag_.end())
            throw std::runtime_error("collection " + collection.tag + " names class " +
                                     tag.get<std::string>() + ", which does not exist");
        collection.classes.push_back(found->second);
    }
    record.erase("classes");
    record["itemCount"] = collection.classes.size();
    collection.members = record.dump();
    collection.members.pop_back();
    collections_.push_back(std::move(collection));
}

void Catalogue::addConsents(const Json& file) {
    const Json& documents = file.at("consents");
    consents_ = documents.dump();
    for (const Json& document : documents) {
        consentDocuments_.push_back({.tag = document.at("consentTag"),
                                     .json = document.dump(),
                                     .mandatory = document.at("isMandatory")});
    }
}

void Catalogue::makeMetadata(const Json& file) {
    Json types = Json::array();
    Json providers = Json::array();
    for (const Json& record : file.at("classes")) {
        if (record.contains("classCategories")) addOnce(types, record["classCategories"]);
        if (record.contains("provider")) addOnce(providers, record["provider"]);
    }
    const auto range = [&](std::int64_t ClassTraits::*trait) {
        Json result = {{"min", 0}, {"max", 0}};
        if (classes_.empty()) return result;
        const auto [least, most] = std::minmax_element(
            classes_.begin(), classes_.end(), [&](const Class& left, const Class& right) {
                return left.traits.*trait < right.traits.*trait;
            });
        result["min"] = least->traits.*trait;
        result["max"] = most->traits.*trait;
        return result;
    };
    metadata_ = Json{{"classTypes", types},
                     {"equipments", file.at("equipments")},
                     {"language", file.at("languages")},
                     {"providers", providers},
                     {"duration", range(&ClassTraits::minutes)},
                     {"intensity", range(&ClassTraits::intensity)}}
                    .dump();
}

const Catalogue::Class* Catalogue::find(std::string_view tag) const {
    const auto found = indexOfTag_.find(std::string(tag));
    return found == indexOfTag_.end() ? nullptr : &classes_[found->second];
}

template <class Wanted>
std::vector<const Catalogue::Class*> Catalogue::sorted(Order order, Wanted wanted) const {
    std::vector<const Class*> result;
    result.reserve(classes_.size());
    for (const Class& each : classes_) {
        if (wanted(each)) result.push_back(&each);
    }
    std::stable_sort(result.begin(), result.end(), [&](const Class* left, const Class* right) {
        return order.before(left->traits, right->traits);
    });
    return result;
}

std::string Catalogue::text(const Collection& collection, std::size_t mostClasses) const {
    std::vector<std::string> items;
    for (const std::size_t index : collection.classes) {
        if (items.size() == mostClasses) break;
        items.push_back(classes_[index].listed);
    }
    return collection.members + ",\"collectionItems\":[" + joined(items) + "]}";
}

std::string Catalogue::collections(std::size_t most) const {
    std::vector<std::string> texts;
    for (const Collection& each : collections_) {
        if (texts.size() == most) break;
        texts.push_back(text(each, each.classes.size()));
    }
    return '[' + joined(texts) + ']';
}

std::optional<std::string> Catalogue::collection(std::string_view tag,
                                                 std::size_t mostClasses) const {
    for (const Collection& each : collections_) {
        if (each.tag == tag) return '[' + text(each, mostClasses) + ']';
    }
    return std::nullopt;
}

std::string Catalogue::page(Order order, std::int64_t pageSize, std::int64_t pageNumber) const {
    const auto all = sorted(order, [](const Class&) { return true; });
    const auto size = std::clamp<std::int64_t>(pageSize, 0, static_cast<std::int64_t>(all.size()));
    const auto before =
        std::clamp<std::int64_t>(pageNumber - 1, 0, static_cast<std::int64_t>(all.size()));
    const auto [first, last] = bounds(all.size(), before * size, size);
    std::vector<std::string> items;
    for (std::size_t index = first; index < last; ++index) items.push_back(all[index]->listed);
    return pageText("totalItems", all.size(), all.size() - last, items);
}

std::string Catalogue::details(std::string_view classTag) const {
    const Class* found = find(classTag);
    if (found == nullptr) return pageText("totalItems", 0, 0, {});
    return pageText("totalItems", 1, 0, {found->listed});
}

std::string Catalogue::search(const ClassFilter& filter, std::int64_t skip,
                              std::int64_t take) const {
    const auto all =
        sorted(filter.order(), [&](const Class& each) { return filter.matches(each.traits); });
    const auto [first, last] = bounds(all.size(), skip, take);
    std::vector<std::string> items;
    for (std::size_t index = first; index < last; ++index) {
        const Class& found = *all[index];
        items.push_back("{\"equipmentTypes\":" + Json(found.equipments).dump() + ",\"classTag\":" +
                        Json(found.tag).dump() + ",\"virtualClass\":" + found.listed + '}');
    }
    return pageText("total", all.size(), all.size() - last, items);
}

std::optional<std::string> Catalogue::performing(std::string_view classTag) const {
    const Class* found = find(classTag);
    if (found == nullptr) return std::nullopt;
    return '[' + found->performed + ']';
}

bool Catalogue::holds(std::string_view classTag) const { return find(classTag) != nullptr; }

bool Catalogue::knowsConsent(const std::string& tag) const {
    return std::any_of(consentDocuments_.begin(), consentDocuments_.end(),
                       [&](const Consent& each) { return each.tag == tag; });
}

std::optional<std::string> Catalogue::missingConsent(const std::set<std::string>& accepted) const {
    for (const Consent& each : consentDocuments_) {
        if (each.mandatory && !accepted.contains(each.tag)) return each.json;
    }
    return std::nullopt;
}

}  // namespace korvel::service
