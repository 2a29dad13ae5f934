#include <korvel/platform/backends/simdjson/NumberRange.h>
#include <korvel/platform/foundation/JSONCoding.h>

#include <pthread.h>
#include <simdjson.h>

#include <atomic>
#include <bit>
#include <cstdlib>
#include <cstring>
#include <memory>
#include <mutex>
#include <new>
#include <shared_mutex>

namespace korvel::platform {
namespace {

namespace dom = simdjson::dom;

static_assert(sizeof(dom::element) == sizeof(JSONValue));

dom::element elementOf(JSONValue value) { return std::bit_cast<dom::element>(value); }
JSONValue valueOf(dom::element element) { return std::bit_cast<JSONValue>(element); }

/// A parser borrowed from the process. One is kept for whoever comes next, unless a large document
/// has swollen it: its buffers take fifteen times the largest document it has seen, which is why
/// large documents take turns, too.
class Parser {
public:
    explicit Parser(std::size_t size) : turn_(largeDocuments, std::defer_lock) {
        if (size > keptCapacity) turn_.lock();
        parser_ = spare_.exchange(nullptr);
        if (!parser_) parser_ = std::make_unique<dom::parser>().release();
    }
    Parser(const Parser&) = delete;
    Parser& operator=(const Parser&) = delete;
    ~Parser() {
        if (parser_->capacity() <= keptCapacity) parser_ = spare_.exchange(parser_);
        delete parser_;
    }

    /// `body` must be followed by the parser's padding within its capacity.
    simdjson::error_code parse(std::span<const std::uint8_t> body, dom::element& root) {
        // Rounded up, so that a page that is a little longer than the last one needs no new
        // buffers.
        if (parser_->capacity() < body.size()) {
            const std::size_t capacity = (body.size() / granularity + 1) * granularity;
            if (const auto failure = parser_->allocate(capacity)) return failure;
        }
        return parser_->parse(body.data(), body.size(), false).get(root);
    }

private:
    static constexpr std::size_t granularity = 64UL * 1024;
    static constexpr std::size_t keptCapacity = 4 * granularity;

    static inline std::atomic<dom::parser*> spare_ = nullptr;
    static inline std::mutex& largeDocuments = *new std::mutex;  // threads may wait when it ends
    std::unique_lock<std::mutex> turn_;
    dom::parser* parser_ = nullptr;
};

/// The library destroys its implementations at exit, which waits for no thread of the pool: those
/// that are parsing are let finish, those that come later go no further.
std::shared_mutex& exitGate() {
    static auto* const gate = [] {
        simdjson::get_active_implementation()->name();  // made before, so destroyed after the gate
        std::atexit([] { exitGate().lock(); });
        // A forked child has no threads that parse, but may exit, too.
        pthread_atfork(nullptr, nullptr, [] { std::construct_at(&exitGate()); });
        return new std::shared_mutex;
    }();
    return *gate;
}
/// Made as the program starts: the first document may come as it ends.
[[maybe_unused]] const std::shared_mutex& madeAtStart = exitGate();

std::string_view nameOf(dom::element_type type) {
    switch (type) {
        case dom::element_type::ARRAY:
            return "a list";
        case dom::element_type::OBJECT:
            return "an object";
        case dom::element_type::STRING:
            return "a text";
        case dom::element_type::BOOL:
            return "a boolean";
        case dom::element_type::NULL_VALUE:
            return "null";
        case dom::element_type::INT64:
        case dom::element_type::UINT64:
        case dom::element_type::DOUBLE:
            return "a number";
    }
    return "something else";
}

[[gnu::cold]] bool mismatch(JSONValue value, std::string_view expected, DecodingError& error) {
    error.reason.assign("expected ").append(expected).append(", found ");
    error.reason.append(nameOf(elementOf(value).type()));
    return false;
}

template <class Word> bool sameEnds(std::string_view one, std::string_view other) {
    const auto differs = [&](std::size_t offset) {
        Word left = 0;
        Word right = 0;
        std::memcpy(&left, one.data() + offset, sizeof(Word));
        std::memcpy(&right, other.data() + offset, sizeof(Word));
        return left ^ right;
    };
    return (differs(0) | differs(one.size() - sizeof(Word))) == 0;
}

/// Keys are short and nearly always the expected ones: two words that overlap beat a call of
/// `memcmp`.
bool sameKey(std::string_view one, std::string_view other) {
    if (one.size() != other.size()) return false;
    if (one.size() >= 8 && one.size() <= 16) return sameEnds<std::uint64_t>(one, other);
    if (one.size() >= 4 && one.size() < 8) return sameEnds<std::uint32_t>(one, other);
    return one == other;
}

/// The member called `key`, looked for from `expected` on and then from the start; their count if
/// none.
template <class Members>
std::size_t indexOf(std::string_view key, Members members, std::size_t expected) {
    for (std::size_t index = expected; index < members.size(); ++index) {
        if (sameKey(members[index].name, key)) return index;
    }
    for (std::size_t index = 0; index < expected; ++index) {
        if (sameKey(members[index].name, key)) return index;
    }
    return members.size();
}

/// Failures build their path from the inside out, so that success pays nothing for it.
[[gnu::cold]] bool failedIn(std::string_view member, DecodingError& error) {
    if (!error.path.empty() && error.path.front() != '[') error.path.insert(0, ".");
    error.path.insert(0, member);
    return false;
}

[[gnu::cold]] bool failedAt(std::size_t index, DecodingError& error) {
    return failedIn(std::string("[").append(std::to_string(index)).append("]"), error);
}

/// Whether `key` comes once more behind `field`: then what stands here does not count.
[[gnu::cold]] bool isOverridden(dom::object::iterator field, dom::object::iterator end) {
    const std::string_view key = field.key();
    while (++field != end) {
        if (field.key() == key) return true;
    }
    return false;
}

}  // namespace

bool JSONCoding::isNull(JSONValue value) { return elementOf(value).is_null(); }

bool JSONCoding::read(JSONValue value, std::string& text, DecodingError& error) {
    std::string_view content;
    if (elementOf(value).get(content)) return mismatch(value, "a text", error);
    text = std::string(content);  // allocates exactly, `assign` would round up
    return true;
}

bool JSONCoding::read(JSONValue value, std::optional<std::string>& text, DecodingError& error) {
    std::string_view content;
    if (!elementOf(value).get(content)) {
        text.emplace(content);
        return true;
    }
    text.reset();
    return isNull(value) || mismatch(value, "a text", error);
}

bool JSONCoding::read(JSONValue value, std::int64_t& number, DecodingError& error) {
    const dom::element element = elementOf(value);
    if (!element.get(number)) return true;
    // Whole numbers may come as 5.0 or 5e0. Both bounds are exact as doubles.
    if (double real = 0; element.type() == dom::element_type::DOUBLE && !element.get(real) &&
                         real >= -0x1p63 && real < 0x1p63) {
        number = static_cast<std::int64_t>(real);
        if (static_cast<double>(number) == real) return true;
    }
    return mismatch(value, "an integer of 64 bits", error);
}

bool JSONCoding::read(JSONValue value, bool& flag, DecodingError& error) {
    return !elementOf(value).get(flag) || mismatch(value, "a boolean", error);
}

bool JSONCoding::readList(JSONValue value, const ListTable& table, void* list,
                          DecodingError& error) {
    dom::array array;
    if (elementOf(value).get(array)) return mismatch(value, "a list", error);
    const std::size_t expected = array.size();  // saturates at 24 bits, and then is only a start
    std::size_t index = 0;
    table.clear(list);
    for (const dom::element element : array) {
        if (!table.read(valueOf(element), table.append(list, expected), error)) {
            return failedAt(index, error);
        }
        ++index;
    }
    return true;
}

bool JSONCoding::readRecord(JSONValue value, const RecordTable& table, void* record,
                            DecodingError& error) {
    dom::object object;
    if (elementOf(value).get(object)) return mismatch(value, "an object", error);

    const auto members = table.members;
    std::uint64_t seen = 0;
    std::size_t expected = 0;  // services write members in their order, so the next is tried first
    const auto end = object.end();
    for (auto field = object.begin(); field != end; ++field) {
        const std::size_t index = indexOf(field.key(), members, expected);
        if (index == members.size()) continue;
        if (!members[index].read(valueOf(field.value()), record, error)) {
            if (!isOverridden(field, end)) return failedIn(members[index].name, error);
            error = {};
        }
        seen |= std::uint64_t{1} << index;
        expected = index + 1;
    }
    const std::uint64_t missing = table.required & ~seen;
    if (missing == 0) return true;
    error.reason = "is missing";
    return failedIn(members[static_cast<std::size_t>(std::countr_zero(missing))].name, error);
}

bool JSONCoding::decode(Data body, Reader reader, void* into, DecodingError* error) {
    DecodingError ignored;
    DecodingError& failure = error ? *error : ignored;
    try {
        return parse(std::move(body), reader, into, failure);
    } catch (const std::bad_alloc&) {
        failure.path.clear();
        failure.reason = "out of memory";  // short enough to need none
        return false;
    }
}

bool JSONCoding::parse(Data body, Reader reader, void* into, DecodingError& failure) {
    constexpr std::array<std::uint8_t, 3> byteOrderMark{0xEF, 0xBB, 0xBF};
    const std::size_t start =
        std::ranges::equal(std::span(body).first(std::min<std::size_t>(3, body.size())),
                           byteOrderMark)
            ? 3
            : 0;
    const std::size_t size = body.size() - start;
    body.reserve(body.size() + simdjson::SIMDJSON_PADDING);
    const std::span text(body.data() + start, size);

    Parser parser(size);
    dom::element root;
    std::shared_lock running(exitGate());
    auto status = parser.parse(text, root);
    if (status == simdjson::NUMBER_ERROR &&
        replaceNumbersOutOfRange(reinterpret_cast<char*>(text.data()), size)) {
        status = parser.parse(text, root);
    }
    running.unlock();
    if (status) {
        failure = {.path = {}, .reason = simdjson::error_message(status)};
        return false;
    }
    failure = {};
    // The document has its texts apart. The record's go where these bytes were, still warm.
    Data().swap(body);
    return reader(valueOf(root), into, failure);
}

}  // namespace korvel::platform
