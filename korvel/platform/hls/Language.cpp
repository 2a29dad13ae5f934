#include <korvel/platform/hls/Language.h>

#include <algorithm>
#include <array>
#include <cctype>

namespace korvel::platform::hls {

namespace {

/// Names of three letters, in both of their spellings where there are two, and those of two
/// letters that tags have instead of them.
constexpr std::string_view shortNames =
    "aaraa abkab afraf akaak albsq amham araar argan armhy asmas avaav aveae aymay azeaz bakba "
    "bambm baqeu belbe benbn bihbh bisbi bodbo bosbs brebr bulbg burmy catca cescs chach chece "
    "chizh chucu chvcv corkw cosco crecr cymcy czecs danda deude divdv dutnl dzodz ellel engen "
    "epoeo estet euseu eweee faofo fasfa fijfj finfi frafr frefr fryfy fulff geoka gerde glagd "
    "glega glggl glvgv greel grngn gujgu hatht hauha hebhe herhz hinhi hmoho hrvhr hunhu hyehy "
    "iboig iceis idoio iiiii ikuiu ileie inaia indid ipkik islis itait javjv jpnja kalkl kankn "
    "kasks katka kaukr kazkk khmkm kikki kinrw kirky komkv konkg korko kuakj kurku laolo latla "
    "lavlv limli linln litlt ltzlb lublu luglg macmk mahmh malml maomi marmr mayms mkdmk mlgmg "
    "mltmt monmn mrimi msams myamy nauna navnv nblnr ndend ndong nepne nldnl nnonn nobnb norno "
    "nyany ocioc ojioj orior ormom ossos panpa perfa plipi polpl porpt pusps quequ rohrm ronro "
    "rumro runrn rusru sagsg sansa sinsi slksk slosk slvsl smese smosm snasn sndsd somso sotst "
    "spaes sqisq srdsc srpsr sswss sunsu swasw swesv tahty tamta tattt telte tgktg tgltl thath "
    "tibbo tirti tonto tsntn tsots tuktk turtr twitw uigug ukruk urdur uzbuz venve vievi volvo "
    "welcy wlnwa wolwo xhoxh yidyi yoryo zhaza zhozh zulzu ";

constexpr std::array<std::string_view, 4> noLanguage{"und", "mul", "mis", "zxx"};

char lower(char letter) {
    return static_cast<char>(std::tolower(static_cast<unsigned char>(letter)));
}

std::string lowered(std::string_view text) {
    std::string all(text);
    std::transform(all.begin(), all.end(), all.begin(), lower);
    return all;
}

/// The language of a tag, in two letters where it has so few.
std::string languageOf(std::string_view tag) {
    constexpr std::size_t width = 6;
    auto name = lowered(tag.substr(0, tag.find('-')));
    if (name.size() != 3) return name;
    for (std::size_t at = 0; at + width <= shortNames.size(); at += width) {
        if (shortNames.substr(at, 3) == name) return std::string(shortNames.substr(at + 3, 2));
    }
    return name;
}

std::string regionOf(std::string_view tag) {
    const auto hyphen = tag.find('-');
    return hyphen == tag.npos ? std::string() : std::string(tag.substr(hyphen));
}

}  // namespace

int likeness(std::string_view one, std::string_view other) {
    if (one.empty() || other.empty() || languageOf(one) != languageOf(other)) return 0;
    return lowered(regionOf(one)) == lowered(regionOf(other)) ? 2 : 1;
}

std::string languageTag(std::string_view told) {
    constexpr std::size_t longest = 35;
    const auto isLetter = [](unsigned char each) { return each < 128 && std::isalpha(each) != 0; };
    const auto isInTag = [](unsigned char each) {
        return each < 128 && (std::isalnum(each) != 0 || each == '-');
    };
    const auto name = languageOf(told);
    if (name.size() < 2 || name.size() > 8 || told.size() > longest ||
        !std::all_of(name.begin(), name.end(), isLetter) ||
        !std::all_of(told.begin(), told.end(), isInTag) ||
        std::find(noLanguage.begin(), noLanguage.end(), name) != noLanguage.end())
        return {};
    return name + regionOf(told);
}

std::optional<std::size_t> bestOf(const std::vector<Spoken>& all,
                                  const std::vector<std::string>& languages) {
    for (const std::string& language : languages) {
        std::optional<std::size_t> best;
        int most = 0;
        for (std::size_t i = 0; i < all.size(); ++i) {
            const int found = likeness(all[i].language, language);
            if (!all[i].isAutoselect || found == 0) continue;
            const int worth = 2 * found + (all[i].isDefault ? 1 : 0);
            if (worth > most) best = i;
            most = std::max(most, worth);
        }
        if (best) return best;
    }
    return std::nullopt;
}

}  // namespace korvel::platform::hls
