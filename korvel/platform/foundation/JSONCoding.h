#pragma once

#include <korvel/platform/foundation/Data.h>
#include <korvel/platform/foundation/Export.h>
#include <korvel/platform/foundation/JSONRecord.h>

#include <algorithm>
#include <cstdint>
#include <memory>
#include <optional>
#include <span>
#include <string>
#include <string_view>
#include <vector>

namespace korvel::platform {

/// Where and why a body is not the record that was expected.
struct DecodingError {
    std::string path;  ///< "items[3].durationSecond"; empty: the body itself
    std::string reason;
};

/// A place in a parsed document; only the parser's backend looks inside.
struct JSONValue {
    const void* document;
    std::size_t index;
};

/// The engine behind `decodeJSON` and `JSONEncoder`. A record or list type contributes one constant
/// table; all work is done by plain functions that walk it, so a record costs no code of its own.
class JSONCoding {
public:
    template <class R> static constexpr bool isRecord = requires { typename R::JSON; };

    using Reader = bool (*)(JSONValue, void* into, DecodingError&);
    using Writer = bool (*)(Data&, const void* value);  ///< false: holds nothing, nothing written

    /// Parses `body` and has `reader` fill `into`. False, for want of memory, too: `into` is to be
    /// thrown away.
    KORVEL_API static bool decode(Data body, Reader reader, void* into, DecodingError* error);

    template <class T> static bool readInto(JSONValue value, void* into, DecodingError& error) {
        return read(value, *static_cast<T*>(into), error);
    }
    template <class T> static bool writeFrom(Data& out, const void* value) {
        return write(out, *static_cast<const T*>(value));
    }

private:
    struct Member {
        std::string_view name;
        Reader read;  ///< takes the record, not the member
        Writer write;
    };
    struct RecordTable {
        std::span<const Member> members;
        std::uint64_t required;  ///< a bit for each member
    };

    struct ListTable {
        /// Empties the list.
        void (*clear)(void* list);
        /// A new last element, with room for `expected` of them if they are not many.
        void* (*append)(void* list, std::size_t expected);
        std::size_t (*count)(const void* list, const void** first);
        Reader read;
        Writer write;
        std::size_t stride;
    };
    /// Elements that a list has room for before the first is read; beyond, its room follows what
    /// was read, so that a list of what are no elements takes next to nothing.
    static constexpr std::size_t firstRoom = 1024;

    static bool parse(Data body, Reader reader, void* into, DecodingError& failure);
    KORVEL_API static bool isNull(JSONValue value);
    KORVEL_API static bool read(JSONValue, std::string& text, DecodingError&);
    KORVEL_API static bool read(JSONValue, std::optional<std::string>& text, DecodingError&);
    KORVEL_API static bool read(JSONValue, std::int64_t& number, DecodingError&);
    KORVEL_API static bool read(JSONValue, bool& flag, DecodingError&);
    KORVEL_API static bool readList(JSONValue, const ListTable&, void* list, DecodingError&);
    KORVEL_API static bool readRecord(JSONValue, const RecordTable&, void* record, DecodingError&);

    KORVEL_API static bool write(Data& out, const std::string& text);
    KORVEL_API static bool write(Data& out, std::int64_t number);
    KORVEL_API static bool write(Data& out, bool flag);
    KORVEL_API static bool writeNull(Data& out);
    KORVEL_API static bool writeList(Data& out, const ListTable&, const void* list);
    KORVEL_API static bool writeRecord(Data& out, const RecordTable&, const void* record);

    template <class T>
    static bool read(JSONValue value, std::optional<T>& member, DecodingError& error) {
        member.reset();
        return isNull(value) || read(value, member.emplace(), error);
    }
    template <class T>
    static bool read(JSONValue value, std::vector<T>& list, DecodingError& error) {
        return readList(value, listTable<T>, &list, error);
    }
    template <class R>
    static bool read(JSONValue value, std::shared_ptr<R>& record, DecodingError& error) {
        record = make<R>();
        return read(value, *record, error);
    }
    template <class R>
    requires(isRecord<R>) static bool read(JSONValue value, R& record, DecodingError& error) {
        return readRecord(value, recordTable<R>, &record, error);
    }

    template <class T> static bool write(Data& out, const std::optional<T>& member) {
        return member && write(out, *member);
    }
    template <class T> static bool write(Data& out, const std::vector<T>& list) {
        return writeList(out, listTable<T>, &list);
    }
    template <class R> static bool write(Data& out, const std::shared_ptr<R>& record) {
        return record ? write(out, *record) : writeNull(out);
    }
    template <class R>
    requires(isRecord<R>) static bool write(Data& out, const R& record) {
        return writeRecord(out, recordTable<R>, &record);
    }

    template <class R> static std::shared_ptr<R> make() {
        if constexpr (std::is_constructible_v<R, DecodingKey>) {
            return std::make_shared<R>(DecodingKey{});
        } else {
            return std::make_shared<R>();
        }
    }

    template <class R, class Entry>
    static bool readMember(JSONValue value, void* record, DecodingError& error) {
        return read(value, static_cast<R*>(record)->*Entry::pointer, error);
    }
    template <class R, class Entry> static bool writeMember(Data& out, const void* record) {
        return write(out, static_cast<const R*>(record)->*Entry::pointer);
    }
    template <class R, class Entry>
    static constexpr bool isRequired =
        !isOptionalMember<std::remove_cvref_t<decltype(std::declval<R&>().*Entry::pointer)>>;

    template <class R, class List> struct Table;
    template <class R, auto... Entries> struct Table<R, Members<Entries...>> {
        static constexpr std::array<Member, sizeof...(Entries)> members{
            Member{MemberEntry<Entries>::name, &readMember<R, MemberEntry<Entries>>,
                   &writeMember<R, MemberEntry<Entries>>}...};
        static constexpr std::uint64_t required = [] {
            std::uint64_t bits = 0;
            std::uint64_t bit = 1;
            ((bits |= isRequired<R, MemberEntry<Entries>> ? bit : 0, bit <<= 1), ...);
            return bits;
        }();
    };
    template <class R>
    static constexpr RecordTable recordTable{Table<R, typename R::JSON>::members,
                                             Table<R, typename R::JSON>::required};

    template <class T> static void clearList(void* list) {
        static_cast<std::vector<T>*>(list)->clear();
    }
    template <class T> static void* appendTo(void* list, std::size_t expected) {
        auto& elements = *static_cast<std::vector<T>*>(list);
        const std::size_t room = elements.capacity();
        if (elements.size() == room) {
            elements.reserve(std::min(expected, std::max(firstRoom, 2 * room)));
        }
        return &elements.emplace_back();
    }
    template <class T> static std::size_t countList(const void* list, const void** first) {
        const auto& elements = *static_cast<const std::vector<T>*>(list);
        *first = elements.data();
        return elements.size();
    }
    template <class T>
    static constexpr ListTable listTable{&clearList<T>, &appendTo<T>,  &countList<T>,
                                         &readInto<T>,  &writeFrom<T>, sizeof(T)};
};

}  // namespace korvel::platform
