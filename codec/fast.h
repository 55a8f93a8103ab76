#pragma once

// Decoding an answer straight from its text into the typed output, without a JSON tree.
// Internal: not installed.
//
// simdjson's On-Demand parser indexes the text and then hands out each value once, in document
// order; a walk over the answer routes every value to the place it belongs to. Each C++ type
// that can appear in an answer has a `Type`: how a scalar is read into it, and, for objects and
// arrays, how the members or elements find their places (a `Frame` is one open object or
// array). Generated code supplies the Types of records and enumerations (`fast_type(const R*)`,
// next to their `parse`); the scalars, lists, tuple keys and tables are here.
//
// This path is an accelerator, never a second set of rules: it says yes only when it is certain
// that the tree-based decoders would produce the same output and return 0. Anything else (a
// comment, a duplicate member, a real number, a type that does not fit, a non-null "error", text
// that is not UTF-8, an unusual form of any kind) makes it say no, and the caller then runs the
// tree-based path on the same text, which gives the result or exception the rules require. Every
// value is read and checked, skipped members included, since the tree refuses a text for a fault
// in any of them. It decodes into fresh values that reach the caller's output only when the
// whole answer decoded.
//
// A long answer whose result is an array is read a window of elements at a time, so that the
// parser's index covers one window rather than the whole text.

#include <cstddef>
#include <cstdint>
#include <cstring>
#include <map>
#include <string>
#include <tuple>
#include <type_traits>
#include <utility>
#include <vector>

#include "codec/record.h"
#include "codec/scalar.h"

namespace zolt {
namespace fast {

// Bytes after the text that the parser may read: the text must be followed by this many readable
// bytes (their content does not matter).
constexpr std::size_t kPadding = 64;

// A JSON value that is neither object nor array. Real numbers never get this far.
struct Scalar {
    enum class Kind { null, boolean, integer, text };
    Kind kind;
    bool truth;               // boolean
    bool negative;            // integer: the sign, and
    std::uint64_t magnitude;  // its absolute value (at most 2^63 when negative)
    const char* data;         // text: the unescaped bytes, valid during the call only
    std::size_t size;
};

struct Type;
struct Frame;
struct Name;  // a member name as it stands in the text (codec/fast.cpp)

// Where the next value goes: its type and the object it is read into.
struct Slot {
    const Type* type;
    void* target;
};

// How the values of one C++ type are read. A null function means that form never decodes with
// certainty (the whole answer then goes the tree-based way).
struct Type {
    bool (*scalar)(const Type& self, const Scalar& json, void* target);
    bool objects;                           // an object may stand where a value of this type is due
    bool arrays;                            // an array may
    bool (*key)(Frame& frame, Name& name);  // picks the member; false refuses the answer
    Slot (*slot)(Frame& frame);             // the place of the next member or element
    bool (*close)(Frame& frame);            // the object or array is complete
    const void* info;                       // what the functions above need to know of the type
    // Integers only (with `scalar` taking no other form): the walk asks the parser for one
    // straight away, of this sign.
    enum class Number { any, unsigned_integer, signed_integer } number = Number::any;
};

// One open object or array.
struct Frame {
    const Type* type;
    void* target;
    int member;             // records and rows: the member being read, -1 for an unknown one
    std::size_t count;      // members read (objects) or elements seen (arrays)
    std::size_t cursor;     // records: position in key order of the last member found
    std::uint64_t seen[2];  // records and rows: one bit per member already read
};

// Decodes the whole answer: true when it is an object with a null "error" and a "result" that
// decoded into `result` by `result_type`, and nothing in the text leaves room for doubt. `text`
// is followed by kPadding readable bytes; bytes of it are changed while it is read in windows
// and put back before the call returns or throws. On false, `result` may hold part of the answer.
bool decode_answer(char* text, std::size_t size, const Type& result_type, void* result);

// The size of a window (about 256 KiB unless set). Tests make it small to put window edges
// everywhere; not for use while another thread decodes.
void set_window(std::size_t bytes);

// Types that skip any value, and that never decode.
const Type& any_value();
const Type& never();

// The plain values.
const Type& fast_type(const bool*);
const Type& fast_type(const int*);
const Type& fast_type(const short*);
const Type& fast_type(const unsigned char*);
const Type& fast_type(const unsigned short*);
const Type& fast_type(const unsigned int*);
const Type& fast_type(const unsigned long long*);
const Type& fast_type(const long long*);
const Type& fast_type(const std::string*);
const Type& fast_type(const zolt_mac_t*);
const Type& fast_type(const std::vector<unsigned char>*);
const Type& fast_type(const std::vector<std::string>*);
const Type& fast_type(const std::vector<unsigned short>*);
const Type& fast_type(const std::vector<unsigned int>*);
// The MAC table's key keeps its own lax rules.
const Type& fast_type(const std::tuple<unsigned short, zolt_mac_t>*);
// The local-time text of a time stamp field.
const Type& timestamp();

// Keys of three or four members and the empty value never decode.
template <class A, class B, class C, class... More>
const Type& fast_type(const std::tuple<A, B, C, More...>*) {
    return never();
}
inline const Type& fast_type(const std::tuple<>*) { return never(); }

template <class A, class B>
const Type& fast_type(const std::tuple<A, B>*);

// Generated records and enumerations are found by argument-dependent lookup.
template <class T>
const Type& type_of() {
    return fast_type(static_cast<const T*>(nullptr));
}

// --- records -------------------------------------------------------------------------------------

// One member of a record: its JSON key and where its value goes.
struct Field {
    const char* key;
    std::size_t size;
    Slot (*slot)(void* record);
};

template <class M>
struct member_traits;
template <class R, class T>
struct member_traits<T R::*> {
    using record = R;
    using value = T;
};

template <auto M>
Slot member_slot(void* record) {
    using traits = member_traits<decltype(M)>;
    auto& value = static_cast<typename traits::record*>(record)->*M;
    return Slot{&type_of<typename traits::value>(), &value};
}

template <auto M>
Slot timestamp_slot(void* record) {
    using traits = member_traits<decltype(M)>;
    // The reader behind timestamp() writes exactly this type.
    static_assert(std::is_same<typename traits::value, zolt_time32_t>::value,
                  "a time stamp field is a zolt_time32_t");
    return Slot{&timestamp(), &(static_cast<typename traits::record*>(record)->*M)};
}

template <auto M>
Field field(const char* key) {
    return Field{key, std::strlen(key), &member_slot<M>};
}

// The time stamp field is read from text although it is written as a number.
template <auto M>
Field timestamp_field(const char* key) {
    return Field{key, std::strlen(key), &timestamp_slot<M>};
}

// A key followed by its closing quote, in 8-byte words, to be compared with the bytes of a member
// name where it stands in the text. Keys up to kQuotedKeyBytes - 1 bytes without a quote or
// backslash; a match then cannot be an escaped spelling, since the key's bytes end at the quote.
constexpr std::size_t kQuotedKeyBytes = 48;
struct QuotedKey {
    QuotedKey() = default;
    QuotedKey(const char* key, std::size_t size);  // `usable` tells whether the key fits

    std::uint64_t words[kQuotedKeyBytes / 8] = {};
    std::uint64_t last_mask = 0;  // the bytes of the last word that belong to the key
    unsigned count = 0;           // words used
    bool usable = false;
};

// A record's members and their key order; `type` is what its fast_type returns. Lives in static
// storage, built once.
struct Record {
    Record(const Field* fields, std::size_t count);
    Record(const Record&) = delete;
    Record& operator=(const Record&) = delete;

    Type type;
    const Field* fields;
    std::size_t count;
    std::vector<unsigned short> order;  // member indexes sorted by key bytes
    std::vector<QuotedKey> quoted;      // the keys in that order
};

// --- enumerations --------------------------------------------------------------------------------

template <class E, std::size_t N>
bool read_enum(const Type& self, const Scalar& json, void* target) {
    if (json.kind != Scalar::Kind::text) return false;
    const auto& table = *static_cast<const enum_text<E>(*)[N]>(self.info);
    for (const enum_text<E>& entry : table) {
        const std::size_t size = std::strlen(entry.text);
        if (size == json.size && std::memcmp(entry.text, json.data, size) == 0) {
            *static_cast<E*>(target) = entry.value;
            return true;
        }
    }
    return false;
}

template <class E, std::size_t N>
Type enum_type(const enum_text<E> (&table)[N]) {
    return Type{&read_enum<E, N>, false, false, nullptr, nullptr, nullptr, &table};
}

// --- two-member tuple keys -----------------------------------------------------------------------

Slot skip_slot();

template <class A, class B>
Slot tuple_slot(Frame& frame) {
    auto& key = *static_cast<std::tuple<A, B>*>(frame.target);
    const std::size_t index = frame.count++;
    if (index == 0) return Slot{&type_of<A>(), &std::get<0>(key)};
    if (index == 1) return Slot{&type_of<B>(), &std::get<1>(key)};
    return skip_slot();  // elements past the second are not read
}

bool two_elements(Frame& frame);

template <class A, class B>
const Type& fast_type(const std::tuple<A, B>*) {
    static const Type type{nullptr,           false,         true,   nullptr,
                           &tuple_slot<A, B>, &two_elements, nullptr};
    return type;
}

// --- tables --------------------------------------------------------------------------------------

// The rows of a get-all, read into a fresh table: the first row of a key wins.
template <class K, class V>
struct Rows {
    std::map<K, V>* table;
    K key{};
    V value{};
};

// The members of a row: 0 is "key", 1 is "val", -1 anything else.
bool row_key(Frame& frame, Name& name);

template <class K, class V>
Slot row_slot(Frame& frame) {
    auto& rows = *static_cast<Rows<K, V>*>(frame.target);
    if (frame.member == 0) return Slot{&type_of<K>(), &rows.key};
    if (frame.member == 1) return Slot{&type_of<V>(), &rows.value};
    return skip_slot();
}

template <class K, class V>
bool row_close(Frame& frame) {
    if (frame.seen[0] != 3) return false;  // "key" or "val" is missing
    auto& rows = *static_cast<Rows<K, V>*>(frame.target);
    rows.table->emplace(std::move(rows.key), std::move(rows.value));
    rows.key = K{};
    rows.value = V{};
    return true;
}

template <class K, class V>
const Type& row_type() {
    static const Type type{nullptr,          true,   false, &row_key, &row_slot<K, V>,
                           &row_close<K, V>, nullptr};
    return type;
}

template <class K, class V>
Slot rows_slot(Frame& frame) {
    return Slot{&row_type<K, V>(), frame.target};
}

bool always(Frame& frame);

template <class K, class V>
const Type& rows_type() {
    static const Type type{nullptr, false, true, nullptr, &rows_slot<K, V>, &always, nullptr};
    return type;
}

// --- the call shapes -----------------------------------------------------------------------------

// A method without output: only "error" counts.
inline bool call(char* text, std::size_t size) {
    return decode_answer(text, size, any_value(), nullptr);
}

// Gets of a record, enumeration, plain value or list. The decode starts from a copy of the
// caller's output, since lists inside it grow rather than being replaced.
template <class Out>
bool get(char* text, std::size_t size, Out& out) {
    Out fresh(out);
    if (!decode_answer(text, size, type_of<Out>(), &fresh)) return false;
    out = std::move(fresh);
    return true;
}

// Get-alls. Rows the caller's table already holds keep their values, as std::map::insert does.
template <class K, class V>
bool get_all(char* text, std::size_t size, std::map<K, V>& out) {
    std::map<K, V> fresh;
    Rows<K, V> rows{&fresh};
    if (!decode_answer(text, size, rows_type<K, V>(), &rows)) return false;
    if (out.empty()) {
        out.swap(fresh);
    } else {
        out.merge(fresh);
    }
    return true;
}

}  // namespace fast
}  // namespace zolt
