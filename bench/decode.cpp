// Decoding a page of 100 classes: into records, into the same fields with nlohmann's parser, and
// merely parsed. The three take turns; the last lines compare their medians.
#include <korvel/model/KCSDKOndemandClassResponse.h>
#include <korvel/platform/foundation/JSONDecoder.h>

#include <benchmark/benchmark.h>
#include <simdjson.h>
#include <nlohmann/json.hpp>

#include <array>
#include <chrono>
#include <cstdio>
#include <map>
#include <random>

namespace {

using korvel::KCSDKOndemandClassResponse;
using nlohmann::ordered_json;

constexpr int classCount = 100;

class ClassMaker {
public:
    explicit ClassMaker(unsigned seed) : random_(seed) {}

    ordered_json make() {
        const std::string tag = identifier();
        ordered_json made;
        made["tag"] = tag;
        made["className"] =
            pick(adjectives) + " " + pick(nouns) + " " + std::to_string(number(1, 40));
        made["classDescription"] = description();
        made["classCategories"] = pick(categories);
        made["languageTag"] = pick(languages);
        made["languageName"] = "Français";
        made["providerID"] = std::to_string(number(100, 99999));
        made["provider"] = pick(providers);
        made["intensity"] = number(1, 5);
        made["skill"] = number(1, 3);
        made["calorieBurn"] = number(80, 900);
        made["durationSecond"] = number(600, 3600);
        made["durationMinutes"] = std::to_string(number(10, 60));
        made["equipmentNames"] = ordered_json::array();
        for (int count = number(0, 3); count > 0; --count) {
            made["equipmentNames"].push_back(pick(equipment));
        }
        made["equipmentTypes"] = number(0, 1) == 1;
        made["creationDate"] = "2023-0" + std::to_string(number(1, 9)) + "-12T08:15:30.000+0000";
        made["lastModifiedDate"] =
            "2024-0" + std::to_string(number(1, 9)) + "-28T19:45:00.123+0000";
        made["favourite"] = number(0, 4) == 0;
        made["trailerLinkMobile"] =
            "https://media.example.com/ondemand/trailers/" + tag + "/mobile/playlist.m3u8";
        made["trailerName"] = "trailer_" + tag.substr(0, 8) + ".mp4";
        made["imageLink"] =
            "https://images.example.com/ondemand/classes/" + tag + "/hero_1280x720.jpg?v=3";
        made["streamingLink"] =
            "https://stream.example.com/vod/" + tag + "/manifest(format=m3u8-aapl,encryption=cbcs)";
        return made;
    }

private:
    int number(int low, int high) {
        return low + static_cast<int>(random_() % static_cast<unsigned>(high - low + 1));
    }
    template <std::size_t Size> std::string pick(const std::array<const char*, Size>& choices) {
        return choices[random_() % Size];
    }
    std::string identifier() {
        std::array<char, 40> text{};
        std::snprintf(text.data(), text.size(), "%08x-%04x-4%03x-a%03x-%04x%08x",
                      unsigned(random_()), unsigned(random_() & 0xffff),
                      unsigned(random_() & 0xfff), unsigned(random_() & 0xfff),
                      unsigned(random_() & 0xffff), unsigned(random_()));
        return text.data();
    }
    std::string description() {
        std::string text = pick(sentences);
        for (int count = number(1, 4); count > 0; --count) text.append(" ").append(pick(sentences));
        return text;
    }

    std::mt19937 random_;
    static constexpr std::array adjectives{"Morning", "Power",  "Gentle", "Intense", "Deep",
                                           "Express", "Strong", "Café",   "Über",    "Total"};
    static constexpr std::array nouns{"Flow", "HIIT",  "Cycle", "Pilates",  "Yoga",
                                      "Core", "Barre", "Boxen", "Étirement"};
    static constexpr std::array categories{"Cardio", "Strength, Conditioning", "Mind & Body",
                                           "Cycling, Cardio, Endurance"};
    static constexpr std::array languages{"en-GB", "fr-FR", "de-DE", "ja-JP"};
    static constexpr std::array providers{"Studio Nord", "Fit & Fröhlich GmbH",
                                          "Atelier du Mouvement"};
    static constexpr std::array equipment{"Mat", "Dumbbells", "Resistance band", "Stationary bike",
                                          "Kettlebell 8 kg"};
    static constexpr std::array sentences{
        "A progressive workout that builds strength and stamina with simple, repeatable moves.",
        "Bring a mat, a towel and some water; the coach shows low-impact options throughout.",
        "Für Anfänger und Fortgeschrittene geeignet – keine Vorkenntnisse nötig.",
        "Respirez, étirez et relâchez : une séance douce pour la fin de journée.",
        "You'll move from \"warm-up\" to peak effort\nand back again in well under an hour.",
        "初心者向けのゆっくりとしたクラスです。",
        "Great before a long run \U0001F3C3 or after a day at the desk.",
        "The intervals get shorter as the class goes on, so pace yourself in the first half."};
};

/// As the service writes pages, except that every fourth class has its letters as \u escapes.
std::string makePage() {
    ClassMaker maker(7);
    std::string page = R"({"totalItems":300,"itemsRemaining":200,"items":[)";
    for (int index = 0; index < classCount; ++index) {
        if (index != 0) page += ',';
        page += maker.make().dump(-1, ' ', index % 4 == 3);
    }
    return page + "]}";
}

const std::string& page() {
    static const std::string text = makePage();
    return text;
}

struct PlainClass {
    std::string tag, className, classDescription;
    std::optional<std::string> classCategories, languageTag, languageName, providerID, provider;
    std::int64_t intensity = 0, skill = 0;
    std::optional<std::int64_t> calorieBurn;
    std::int64_t durationSecond = 0;
    std::string durationMinutes;
    std::optional<std::vector<std::string>> equipmentNames;
    bool equipmentTypes = false;
    std::string creationDate, lastModifiedDate;
    bool favourite = false;
    std::optional<std::string> trailerLinkMobile, trailerName, imageLink, streamingLink;
};

struct PlainPage {
    std::int64_t totalItems = 0, itemsRemaining = 0;
    std::vector<std::shared_ptr<PlainClass>> items;
};

template <class T> void get(const nlohmann::json& object, const char* key, T& member) {
    object.at(key).get_to(member);
}
template <class T>
void get(const nlohmann::json& object, const char* key, std::optional<T>& member) {
    const auto found = object.find(key);
    if (found != object.end() && !found->is_null()) found->get_to(member.emplace());
}

std::shared_ptr<PlainClass> plainClass(const nlohmann::json& object) {
    auto made = std::make_shared<PlainClass>();
    get(object, "tag", made->tag);
    get(object, "className", made->className);
    get(object, "classDescription", made->classDescription);
    get(object, "classCategories", made->classCategories);
    get(object, "languageTag", made->languageTag);
    get(object, "languageName", made->languageName);
    get(object, "providerID", made->providerID);
    get(object, "provider", made->provider);
    get(object, "intensity", made->intensity);
    get(object, "skill", made->skill);
    get(object, "calorieBurn", made->calorieBurn);
    get(object, "durationSecond", made->durationSecond);
    get(object, "durationMinutes", made->durationMinutes);
    get(object, "equipmentNames", made->equipmentNames);
    get(object, "equipmentTypes", made->equipmentTypes);
    get(object, "creationDate", made->creationDate);
    get(object, "lastModifiedDate", made->lastModifiedDate);
    get(object, "favourite", made->favourite);
    get(object, "trailerLinkMobile", made->trailerLinkMobile);
    get(object, "trailerName", made->trailerName);
    get(object, "imageLink", made->imageLink);
    get(object, "streamingLink", made->streamingLink);
    return made;
}

PlainPage plainPage(const std::string& text) {
    const auto object = nlohmann::json::parse(text);
    PlainPage made;
    get(object, "totalItems", made.totalItems);
    get(object, "itemsRemaining", made.itemsRemaining);
    for (const auto& item : object.at("items")) made.items.push_back(plainClass(item));
    return made;
}

auto recordPage(korvel::platform::Data body) {
    return korvel::platform::decodeJSON<std::shared_ptr<KCSDKOndemandClassResponse>>(
        std::move(body));
}

/// Both ways lead to the same texts, else there is nothing to compare.
bool sameResult() {
    const auto records = recordPage(korvel::platform::bytesOf(page()));
    const PlainPage plain = plainPage(page());
    return records && std::ranges::equal((*records)->items, plain.items, [](auto& a, auto& b) {
               return a->tag == b->tag && a->classDescription == b->classDescription &&
                      a->equipmentNames == b->equipmentNames &&
                      a->durationSecond == b->durationSecond &&
                      a->streamingLink == b->streamingLink;
           });
}

/// Times `work` alone: what it is given and what becomes of its result is not its cost.
template <class Prepare, class Work>
void measure(benchmark::State& state, Prepare prepare, Work work) {
    for ([[maybe_unused]] auto _ : state) {
        auto input = prepare();
        const auto start = std::chrono::steady_clock::now();
        auto result = work(std::move(input));
        const auto end = std::chrono::steady_clock::now();
        benchmark::DoNotOptimize(result);
        state.SetIterationTime(std::chrono::duration<double>(end - start).count());
    }
    state.SetItemsProcessed(state.iterations() * classCount);
}

void records(benchmark::State& state) {
    // As the transport delivers a body: with room behind it.
    const auto body = [] {
        korvel::platform::Data bytes;
        bytes.reserve(page().size() + simdjson::SIMDJSON_PADDING);
        bytes.assign(page().begin(), page().end());
        return bytes;
    };
    measure(state, body, [](korvel::platform::Data bytes) { return recordPage(std::move(bytes)); });
}

void nlohmannFields(benchmark::State& state) {
    measure(
        state, [] { return &page(); }, [](const std::string* text) { return plainPage(*text); });
}

void bareParse(benchmark::State& state) {
    const simdjson::padded_string text(page());
    simdjson::dom::parser parser;
    measure(
        state, [] { return 0; }, [&](int) { return parser.parse(text).error(); });
}

class MedianReporter : public benchmark::ConsoleReporter {
public:
    MedianReporter() : ConsoleReporter(OO_Tabular) {}

    void ReportRuns(const std::vector<Run>& runs) override {
        ConsoleReporter::ReportRuns(runs);
        for (const Run& run : runs) {
            if (run.aggregate_name == "median") {
                medians_[run.run_name.function_name] = run.GetAdjustedRealTime();
            }
        }
    }
    /// Nothing if a filter left it out.
    std::optional<double> median(const std::string& name) const {
        const auto found = medians_.find(name);
        return found == medians_.end() ? std::nullopt : std::optional(found->second);
    }

private:
    std::map<std::string, double> medians_;
};

void printFigure(const char* name, double value, double goal, bool reached) {
    std::printf("%s %.2f %g %s\n", name, value, goal, reached ? "ok" : "short");
}

}  // namespace

int main(int argc, char** argv) {
    std::string interleaved = "--benchmark_enable_random_interleaving=true";
    std::vector<char*> arguments(argv, argv + argc);
    arguments.insert(arguments.begin() + 1, interleaved.data());
    int count = static_cast<int>(arguments.size());
    benchmark::Initialize(&count, arguments.data());

    if (!sameResult()) {
        std::fputs("the decoders disagree about the page\n", stderr);
        return 1;
    }
    std::printf("page of %d classes, %zu bytes\n", classCount, page().size());
    for (const auto& [name, function] : {std::pair{"records", &records},
                                         {"nlohmann", &nlohmannFields},
                                         {"bare_parse", &bareParse}}) {
        benchmark::RegisterBenchmark(name, function)
            ->UseManualTime()
            ->Unit(benchmark::kMicrosecond)
            ->MinTime(0.1)
            ->Repetitions(15)
            ->ReportAggregatesOnly();
    }
    MedianReporter reporter;
    benchmark::RunSpecifiedBenchmarks(&reporter);

    const auto own = reporter.median("records");
    const auto other = reporter.median("nlohmann");
    const auto bare = reporter.median("bare_parse");
    if (own && other) printFigure("decode_vs_nlohmann", *other / *own, 18, *other / *own >= 18);
    if (own && bare) printFigure("decode_vs_bare_parse", *own / *bare, 2.6, *own / *bare <= 2.6);
}
