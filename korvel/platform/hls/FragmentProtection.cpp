#include <korvel/platform/hls/FragmentProtection.h>

#include <algorithm>

namespace korvel::platform::hls {

namespace {

using Bytes = Fields::Bytes;
using Range = std::span<std::uint8_t>;

constexpr std::size_t partSize = 6;
constexpr std::size_t leastDefaults = 24;
constexpr std::size_t mostRecords = 100'000;

std::string nameIn(Bytes content, std::size_t at) {
    return at + 4 <= content.size() ? std::string(reinterpret_cast<const char*>(&content[at]), 4)
                                    : std::string();
}

/// The boxes behind the fields of a sample entry.
Bytes boxesOf(const Box& entry, Kind kind) {
    std::size_t head = 78;
    if (kind == Kind::sound) {
        const bool isLong = entry.content.size() > 9 && entry.content[9] == 1;
        head = isLong ? 28 + 16 : 28;
    }
    return entry.content.size() > head ? entry.content.subspan(head) : Bytes();
}

/// Of "tenc".
void readDefaults(Bytes content, Protection& protection) {
    Fields fields(content);
    const auto version = fields.byte();
    fields.skip(4);
    const auto pattern = fields.byte();
    protection.isPlain = fields.byte() == 0;
    protection.vectorSize = fields.byte();
    fields.skip(16);  // the key's name: the playlist tells which one it is
    protection.group.assign(content.begin() + 4, content.end());
    if (version > 0) {
        protection.encryptedBlocks = pattern >> 4U;
        protection.plainBlocks = pattern & 15U;
    }
    if (protection.vectorSize > 0 || protection.isPlain) return;
    const std::size_t size = fields.byte();
    const Bytes vector = fields.rest();
    const bool isFit = size == cipherBlock || (size == 8 && protection.scheme == "cenc");
    if (!isFit || vector.size() < size) {
        protection.flaw =
            "The samples' encryption has a vector of " + std::to_string(size) + " bytes";
    } else {
        std::copy_n(vector.begin(), size, protection.vector.begin());
    }
}

/// Why samples of this protection are not opened, apart from what it says itself.
std::string flawOf(const Protection& protection, const std::optional<Encryption>& encryption) {
    if (!protection.flaw.empty() || protection.isPlain) return protection.flaw;
    if (!encryption) return "Samples are encrypted without a key in the playlist";
    const bool isCBC = encryption->scheme == SampleCipher::Scheme::cbc;
    if (protection.scheme != (isCBC ? "cbcs" : "cenc"))
        return "Samples are encrypted by \"" + protection.scheme + "\", the playlist says " +
               (isCBC ? "SAMPLE-AES" : "SAMPLE-AES-CTR");
    const auto size = protection.vectorSize;
    if (size != 0 && size != cipherBlock && (size != 8 || isCBC))
        return "The samples' encryption has vectors of " + std::to_string(size) + " bytes";
    return {};
}

/// Whether some samples of the track may be encrypted in another way than the rest.
bool hasOtherGroups(Bytes track, const Data& usual) {
    bool isDescribed = false;
    bool isGrouped = false;
    Boxes boxes(track);
    while (const auto box = boxes.next()) {
        if (nameIn(box->content, 4) != "seig") continue;
        isGrouped |= box->type == "sbgp";
        if (box->type != "sgpd") continue;
        isDescribed = true;
        Fields fields(box->content);
        const auto version = fields.byte();
        fields.skip(7);
        const std::size_t size = version > 0 ? fields.word() : usual.size();
        if (version > 1) fields.skip(4);
        const auto count = fields.word();
        const Bytes entries = fields.rest();
        const bool isUsual = count == 1 && size == usual.size() && entries.size() == size &&
                             std::equal(usual.begin(), usual.end(), entries.begin());
        if (count > 0 && !isUsual) return true;
    }
    return isGrouped && !isDescribed;
}

/// What the pattern encrypts of `part`; what lies behind its last whole block is plain.
void addEncrypted(const Protection& protection, Range part, std::vector<Range>& found) {
    const std::size_t whole = part.size() / cipherBlock * cipherBlock;
    const std::size_t run = protection.encryptedBlocks * cipherBlock;
    const std::size_t gap = protection.plainBlocks * cipherBlock;
    part = part.first(whole);
    if (run == 0 || gap == 0) {
        if (!part.empty()) found.push_back(part);
        return;
    }
    while (!part.empty()) {
        const auto encrypted = part.first(std::min(run, part.size()));
        found.push_back(encrypted);
        part = part.subspan(std::min(run + gap, part.size()));
    }
}

}  // namespace

std::shared_ptr<const Protection> protectionOf(const Box& sampleEntry, Kind kind) {
    if (sampleEntry.type != "encv" && sampleEntry.type != "enca") return nullptr;
    const Bytes boxes = boxesOf(sampleEntry, kind);
    const auto information = boxIn(boxes, "sinf");
    const Bytes content = information ? information->content : Bytes();
    const auto original = boxIn(content, "frma");
    const auto scheme = boxIn(content, "schm");
    const auto details = boxIn(content, "schi");
    const auto defaults = details ? boxIn(details->content, "tenc") : std::nullopt;
    Protection protection{.type = original ? nameIn(original->content, 0) : std::string()};
    if (scheme) protection.scheme = nameIn(scheme->content, 4);
    if (scheme && defaults && defaults->content.size() >= leastDefaults) {
        readDefaults(defaults->content, protection);
    } else {
        protection.flaw = "The samples' encryption is not described";
    }
    return std::make_shared<const Protection>(std::move(protection));
}

std::variant<std::shared_ptr<const FragmentProtection>, std::string> FragmentProtection::read(
    const std::shared_ptr<const Protection>& protection,
    const std::optional<Encryption>& encryption, Bytes track, Bytes moof) {
    if (auto flaw = flawOf(*protection, encryption); !flaw.empty()) return flaw;
    if (hasOtherGroups(track, protection->group))
        return "Groups of samples (\"seig\") are encrypted in another way than the rest";
    if (protection->isPlain) return std::shared_ptr<const FragmentProtection>();
    const std::shared_ptr<FragmentProtection> made(new FragmentProtection(protection, *encryption));
    if (auto flaw = made->readRecords(track, moof); !flaw.empty()) return flaw;
    return made;
}

std::string FragmentProtection::readRecords(Bytes track, Bytes moof) {
    if (const auto list = boxIn(track, "senc")) return readList(list->content);
    const auto sizes = boxIn(track, "saiz");
    const auto places = boxIn(track, "saio");
    if (sizes && places) return readSizes(sizes->content, places->content, moof);
    return protection_->vectorSize == 0 ? "" : "The samples' encryption has no vectors";
}

/// Of "senc": one record behind the other.
std::string FragmentProtection::readList(Bytes list) {
    Fields fields(list);
    const bool hasParts = (fields.word() & 2U) != 0;
    const std::size_t count = fields.word();
    const Bytes records = fields.rest();
    if (protection_->vectorSize == 0 && !hasParts) return {};
    if (count > mostRecords) return "The samples' encryption has too many vectors";
    records_.assign(records.begin(), records.end());
    std::size_t at = 0;
    for (std::size_t i = 0; i < count; ++i) {
        begins_.push_back(at);
        at += protection_->vectorSize;
        if (hasParts) {
            Fields record(records.subspan(std::min(at, records.size())));
            at += 2 + partSize * record.half();
        }
        if (at > records.size()) return "The samples' encryption has too few vectors";
    }
    begins_.push_back(at);
    return {};
}

/// Of "saiz" and "saio": records of these sizes lie at that place.
std::string FragmentProtection::readSizes(Bytes sizes, Bytes places, Bytes moof) {
    Fields place(places);
    const bool isLong = place.byte() == 1;
    place.skip(2);
    if ((place.byte() & 1U) != 0) place.skip(8);
    const auto pieces = place.word();
    const std::uint64_t begin = isLong ? place.number64() : place.word();
    Fields fields(sizes);
    fields.skip(3);
    if ((fields.byte() & 1U) != 0) fields.skip(8);
    const std::size_t usual = fields.byte();
    const std::size_t count = fields.word();
    if (pieces != 1 || begin > moof.size())
        return "The samples' vectors lie apart from their fragment's description";
    if (count > mostRecords) return "The samples' encryption has too many vectors";
    const Bytes records = moof.subspan(static_cast<std::size_t>(begin));
    std::size_t at = 0;
    for (std::size_t i = 0; i < count; ++i) {
        begins_.push_back(at);
        at += usual != 0 ? usual : fields.byte();
        if (at > records.size()) return "The samples' encryption has too few vectors";
    }
    begins_.push_back(at);
    records_.assign(records.begin(), records.begin() + static_cast<std::ptrdiff_t>(at));
    return {};
}

std::optional<std::string> FragmentProtection::decrypt(std::size_t number, Data& sample) const {
    InitializationVector vector = protection_->vector;
    std::vector<Range> parts;
    Bytes record;
    if (!begins_.empty()) {
        if (number + 1 >= begins_.size()) return "The samples' encryption has too few vectors";
        record = Bytes(records_).subspan(begins_[number], begins_[number + 1] - begins_[number]);
    }
    if (const auto size = protection_->vectorSize; size > 0) {
        if (record.size() < size) return "The samples' encryption has too few vectors";
        vector = {};
        std::copy_n(record.begin(), size, vector.begin());
        record = record.subspan(size);
    }
    Fields fields(record);
    const std::size_t count = fields.half();
    if (fields.left() != count * partSize) return "A sample's encrypted parts are not described";
    Range rest(sample);
    for (std::size_t i = 0; i < count; ++i) {
        const std::size_t plain = fields.half();
        const std::size_t encrypted = fields.word();
        if (plain > rest.size() || encrypted > rest.size() - plain)
            return "A sample's encrypted parts are longer than itself";
        parts.push_back(rest.subspan(plain, encrypted));
        rest = rest.subspan(plain + encrypted);
    }
    if (count == 0) {
        parts.push_back(rest);
    } else if (!rest.empty()) {
        return "A sample's encrypted parts are shorter than itself";
    }
    if (decrypt(vector, parts)) return std::nullopt;
    return "The device does not decrypt a sample";
}

/// With CBC each part is a message of its own, with CTR all are one.
bool FragmentProtection::decrypt(const InitializationVector& vector,
                                 const std::vector<Range>& parts) const {
    const SampleCipher& cipher = *encryption_.samples;
    if (encryption_.scheme == SampleCipher::Scheme::ctr)
        return cipher.decrypt(encryption_.key, vector, parts);
    return std::all_of(parts.begin(), parts.end(), [&](Range part) {
        std::vector<Range> encrypted;
        addEncrypted(*protection_, part, encrypted);
        return encrypted.empty() || cipher.decrypt(encryption_.key, vector, encrypted);
    });
}

}  // namespace korvel::platform::hls
