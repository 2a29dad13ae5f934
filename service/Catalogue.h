#pragma once

#include <service/ClassFilter.h>

#include <cstdint>
#include <filesystem>
#include <nlohmann/json_fwd.hpp>
#include <optional>
#include <set>
#include <string>
#include <string_view>
#include <unordered_map>
#include <vector>

namespace korvel::service {

/// The classes, collections and consent documents, as the JSON texts that go out. Made once and
/// never changed, so any thread may read it.
class Catalogue {
public:
    /// Links in the file are relative; `baseURL` goes before them. Throws std::runtime_error,
    /// naming the file and what is wrong with it.
    Catalogue(const std::filesystem::path& file, const std::string& baseURL);

    std::string collections(std::size_t most) const;
    /// With at most so many classes; nothing if there is no such collection.
    std::optional<std::string> collection(std::string_view tag, std::size_t mostClasses) const;
    /// The first page is number 1; lower numbers mean it too.
    std::string page(Order order, std::int64_t pageSize, std::int64_t pageNumber) const;
    std::string details(std::string_view classTag) const;  ///< a page of one class, or of none
    const std::string& metadata() const { return metadata_; }
    std::string search(const ClassFilter& filter, std::int64_t skip, std::int64_t take) const;
    /// The array with the one class to be performed, its stream included.
    std::optional<std::string> performing(std::string_view classTag) const;
    bool holds(std::string_view classTag) const;

    const std::string& consents() const { return consents_; }
    bool knowsConsent(const std::string& tag) const;
    /// The first mandatory document that is not among `accepted`.
    std::optional<std::string> missingConsent(const std::set<std::string>& accepted) const;

private:
    struct Class {
        std::string tag;
        ClassTraits traits;
        std::string equipments;  ///< values, joined with commas
        std::string listed;      ///< JSON as in lists: without the stream
        std::string performed;   ///< JSON with it
    };
    struct Collection {
        std::string tag;
        std::string members;  ///< JSON of everything before the classes, the brace left open
        std::vector<std::size_t> classes;
    };
    struct Consent {
        std::string tag;
        std::string json;
        bool mandatory = false;
    };

    void addClass(nlohmann::ordered_json record, const nlohmann::ordered_json& file,
                  const std::string& baseURL);
    void addCollection(nlohmann::ordered_json record);
    void addConsents(const nlohmann::ordered_json& file);
    void makeMetadata(const nlohmann::ordered_json& file);
    const Class* find(std::string_view tag) const;
    std::string text(const Collection& collection, std::size_t mostClasses) const;
    template <class Wanted> std::vector<const Class*> sorted(Order order, Wanted wanted) const;

    std::vector<Class> classes_;
    std::unordered_map<std::string, std::size_t> indexOfTag_;
    std::vector<Collection> collections_;
    std::vector<Consent> consentDocuments_;
    std::string consents_;
    std::string metadata_;
};

}  // namespace korvel::service
