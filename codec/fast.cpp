#include "codec/fast.h"

#include <json/value.h>
#include <net/ethernet.h>
#include <netinet/ether.h>
// RapidJSON's parse stack starts without memory and is first measured as a null pointer plus
// the size wanted, before it allocates; clang's pointer-overflow check flags that arithmetic
// in its header, which is RapidJSON's own and harmless, so the check is off for that header.
#if defined(__clang__)
#pragma clang attribute push(__attribute__((no_sanitize("pointer-overflow"))), apply_to = function)
#endif
#include <rapidjson/reader.h>
#if defined(__clang__)
#pragma clang attribute pop
#endif

#include <algorithm>
#include <climits>
#include <cstdlib>
#include <string>

#include "codec/value.h"

namespace zolt {
namespace fast {

namespace {

// --- JsonCpp's number tests, on integers ---------------------------------------------------------
// The parser reports every integer that JsonCpp would also hold as an integer (it makes a real of
// anything with a fraction, an exponent or more digits than 64 bits hold, and so does JsonCpp), so
// the tests depend on the value alone. "-0" is JsonCpp's integer 0.

constexpr std::uint64_t kTwoTo31 = std::uint64_t{1} << 31;
constexpr std::uint64_t kTwoTo63 = std::uint64_t{1} << 63;

bool is_int(const Scalar& json) {
    return json.kind == Scalar::Kind::integer &&
           json.magnitude <= (json.negative ? kTwoTo31 : kTwoTo31 - 1);
}

bool is_uint(const Scalar& json) {
    return json.kind == Scalar::Kind::integer && (!json.negative || json.magnitude == 0) &&
           json.magnitude <= UINT_MAX;
}

bool is_uint64(const Scalar& json) {
    return json.kind == Scalar::Kind::integer && (!json.negative || json.magnitude == 0);
}

bool is_int64(const Scalar& json) {
    return json.kind == Scalar::Kind::integer &&
           json.magnitude <= (json.negative ? kTwoTo63 : kTwoTo63 - 1);
}

// Two's complement of the magnitude: exact for every value is_int64 admits.
long long signed_value(const Scalar& json) {
    const std::uint64_t bits = json.negative ? std::uint64_t{0} - json.magnitude : json.magnitude;
    return static_cast<long long>(bits);
}

template <class T>
T& as(void* target) {
    return *static_cast<T*>(target);
}

// --- plain values: each mirrors its tree-based parse, cuts to width included ---------------------

bool read_bool(const Type&, const Scalar& json, void* target) {
    if (json.kind != Scalar::Kind::boolean) return false;
    as<bool>(target) = json.truth;
    return true;
}

template <class T>
bool read_signed(const Type&, const Scalar& json, void* target) {
    if (!is_int(json)) return false;
    as<T>(target) = static_cast<T>(signed_value(json));
    return true;
}

template <class T>
bool read_unsigned(const Type&, const Scalar& json, void* target) {
    if (!is_uint(json)) return false;
    as<T>(target) = static_cast<T>(json.magnitude);
    return true;
}

bool read_uint64(const Type&, const Scalar& json, void* target) {
    if (!is_uint64(json)) return false;
    as<unsigned long long>(target) = json.magnitude;
    return true;
}

bool read_int64(const Type&, const Scalar& json, void* target) {
    if (!is_int64(json)) return false;
    as<long long>(target) = signed_value(json);
    return true;
}

bool read_string(const Type&, const Scalar& json, void* target) {
    if (json.kind != Scalar::Kind::text) return false;
    as<std::string>(target).assign(json.data, json.size);
    return true;
}

// The same C library call as the tree-based reader, on the same text: the parser ends every
// text it reports with a NUL, so the call stops at the first NUL just as it does on c_str().
bool read_mac(const Type&, const Scalar& json, void* target) {
    if (json.kind != Scalar::Kind::text) return false;
    struct ether_addr bytes;
    if (ether_aton_r(json.data, &bytes) == nullptr) return false;
    std::memcpy(as<zolt_mac_t>(target).addr, bytes.ether_addr_octet, sizeof bytes.ether_addr_octet);
    return true;
}

int hex_digit(char c) {
    if (c >= '0' && c <= '9') return c - '0';
    if (c >= 'a' && c <= 'f') return c - 'a' + 10;
    if (c >= 'A' && c <= 'F') return c - 'A' + 10;
    return -1;
}

// Pairs of hex digits only: the pieces that std::stoi would read in some other way (signs,
// blanks, "0x", stray letters) are left to the tree-based reader.
bool read_bytes(const Type&, const Scalar& json, void* target) {
    if (json.kind != Scalar::Kind::text || json.size % 2 != 0) return false;
    auto& bytes = as<std::vector<unsigned char>>(target);
    const std::size_t before = bytes.size();
    for (std::size_t i = 0; i < json.size; i += 2) {
        const int high = hex_digit(json.data[i]);
        const int low = hex_digit(json.data[i + 1]);
        if (high < 0 || low < 0) {
            bytes.resize(before);
            return false;
        }
        bytes.push_back(static_cast<unsigned char>(high * 16 + low));
    }
    return true;
}

// Rare enough to go through the tree-based reader itself, on a one-value tree.
bool read_timestamp(const Type&, const Scalar& json, void* target) {
    if (json.kind != Scalar::Kind::text) return false;
    zolt::parse_timestamp(Json::Value(json.data, json.data + json.size), as<zolt_time32_t>(target));
    return true;
}

bool read_null(const Type&, const Scalar& json, void*) { return json.kind == Scalar::Kind::null; }

bool read_anything(const Type&, const Scalar&, void*) { return true; }

constexpr Type scalar_type(bool (*read)(const Type&, const Scalar&, void*)) {
    return Type{read, false, false, nullptr, nullptr, nullptr, nullptr};
}

const Type kBool = scalar_type(&read_bool);
const Type kInt = scalar_type(&read_signed<int>);
const Type kShort = scalar_type(&read_signed<short>);
const Type kU8 = scalar_type(&read_unsigned<unsigned char>);
const Type kU16 = scalar_type(&read_unsigned<unsigned short>);
const Type kU32 = scalar_type(&read_unsigned<unsigned int>);
const Type kU64 = scalar_type(&read_uint64);
const Type kI64 = scalar_type(&read_int64);
const Type kString = scalar_type(&read_string);
const Type kMac = scalar_type(&read_mac);
const Type kBytes = scalar_type(&read_bytes);
const Type kTimestamp = scalar_type(&read_timestamp);
const Type kNull = scalar_type(&read_null);
const Type kNever{nullptr, false, false, nullptr, nullptr, nullptr, nullptr};

// --- skipping ------------------------------------------------------------------------------------

bool any_key(Frame& frame, const char*, std::size_t) {
    frame.member = -1;
    return true;
}

Slot skip(Frame&) { return skip_slot(); }

const Type kAny{&read_anything, true, true, &any_key, &skip, &always, nullptr};

// --- lists: elements appended in order -----------------------------------------------------------

template <class T>
Slot element_slot(Frame& frame) {
    auto& list = as<std::vector<T>>(frame.target);
    list.emplace_back();
    return Slot{&type_of<T>(), &list.back()};
}

const Type kStrings{nullptr, false, true, nullptr, &element_slot<std::string>, &always, nullptr};
const Type kU16s{nullptr, false, true, nullptr, &element_slot<unsigned short>, &always, nullptr};
const Type kU32s{nullptr, false, true, nullptr, &element_slot<unsigned int>, &always, nullptr};

// --- records -------------------------------------------------------------------------------------

int compare_key(const char* a, std::size_t a_size, const char* b, std::size_t b_size) {
    const int bytes = std::memcmp(a, b, std::min(a_size, b_size));
    if (bytes != 0) return bytes;
    return a_size < b_size ? -1 : a_size > b_size ? 1 : 0;
}

// A member seen twice would be read from its last occurrence by the tree: never certain here.
bool mark(Frame& frame, std::size_t index) {
    std::uint64_t& word = frame.seen[index / 64];
    const std::uint64_t bit = std::uint64_t{1} << (index % 64);
    if ((word & bit) != 0) return false;
    word |= bit;
    ++frame.count;
    frame.member = static_cast<int>(index);
    return true;
}

// The key at `position` in key order against `name`.
int compare_at(const Record& record, std::size_t position, const char* name, std::size_t size) {
    const Field& field = record.fields[record.order[position]];
    return compare_key(field.key, field.size, name, size);
}

bool record_key(Frame& frame, const char* name, std::size_t size) {
    const Record& record = *static_cast<const Record*>(frame.type->info);
    // Writers usually list members in key order, so the one after the last match comes first.
    std::size_t position = frame.cursor;
    if (position >= record.count || compare_at(record, position, name, size) != 0) {
        std::size_t low = 0;
        std::size_t high = record.count;
        while (low < high) {
            const std::size_t middle = (low + high) / 2;
            if (compare_at(record, middle, name, size) < 0) {
                low = middle + 1;
            } else {
                high = middle;
            }
        }
        position = low;
        if (position == record.count || compare_at(record, position, name, size) != 0) {
            frame.member = -1;  // unknown members are ignored
            return true;
        }
    }
    frame.cursor = position + 1;
    return mark(frame, record.order[position]);
}

Slot record_slot(Frame& frame) {
    if (frame.member < 0) return skip_slot();
    const Record& record = *static_cast<const Record*>(frame.type->info);
    return record.fields[frame.member].slot(frame.target);
}

// Every member is mandatory.
bool record_close(Frame& frame) {
    const Record& record = *static_cast<const Record*>(frame.type->info);
    return frame.count == record.count;
}

// --- the MAC table's key -------------------------------------------------------------------------

// Element 0 is read without a type test: integers in the unsigned range and null (0) are certain.
bool read_vlan(const Type& self, const Scalar& json, void* target) {
    if (json.kind == Scalar::Kind::null) {
        as<unsigned short>(target) = 0;
        return true;
    }
    return read_unsigned<unsigned short>(self, json, target);
}

// Element 1: the text up to its first NUL, split at ':' the way std::getline splits it, each
// piece through strtol base 16; pieces past the sixth are read and dropped. strtol runs on the
// text in place: nothing it takes (blanks, a sign, "0x", hex digits) is a ':', so it stops
// within the piece and reads what it reads of the piece alone.
bool read_split_mac(const Type&, const Scalar& json, void* target) {
    if (json.kind != Scalar::Kind::text) return false;
    const char* const end = json.data + strnlen(json.data, json.size);
    zolt_mac_t& mac = as<zolt_mac_t>(target);
    const char* piece = json.data;
    for (std::size_t i = 0; piece < end; ++i) {
        const long byte = std::strtol(piece, nullptr, 16);
        if (i < sizeof mac.addr) mac.addr[i] = static_cast<unsigned char>(byte);
        const void* colon = std::memchr(piece, ':', static_cast<std::size_t>(end - piece));
        piece = colon != nullptr ? static_cast<const char*>(colon) + 1 : end;
    }
    return true;
}

const Type kVlan = scalar_type(&read_vlan);
const Type kSplitMac = scalar_type(&read_split_mac);

Slot vlan_mac_slot(Frame& frame) {
    auto& key = as<std::tuple<unsigned short, zolt_mac_t>>(frame.target);
    const std::size_t index = frame.count++;
    if (index == 0) return Slot{&kVlan, &std::get<0>(key)};
    if (index == 1) return Slot{&kSplitMac, &std::get<1>(key)};
    return skip_slot();
}

const Type kVlanMac{nullptr, false, true, nullptr, &vlan_mac_slot, &two_elements, nullptr};

// --- the answer ----------------------------------------------------------------------------------

// Member 0 is "error", member 1 "result"; the frame's target is the result's slot.
bool answer_key(Frame& frame, const char* name, std::size_t size) {
    if (size == 5 && std::memcmp(name, "error", 5) == 0) return mark(frame, 0);
    if (size == 6 && std::memcmp(name, "result", 6) == 0) return mark(frame, 1);
    frame.member = -1;
    return true;
}

Slot answer_slot(Frame& frame) {
    if (frame.member == 0) return Slot{&kNull, nullptr};  // a non-null "error" is never certain
    if (frame.member == 1) return as<Slot>(frame.target);
    return skip_slot();
}

bool answer_close(Frame& frame) { return frame.seen[0] == 3; }

const Type kAnswer{nullptr, true, false, &answer_key, &answer_slot, &answer_close, nullptr};

// --- the parser's events -------------------------------------------------------------------------

// Deeper than any answer of the schema, and far below the tree parser's own nesting limit, which
// would otherwise throw where this path would not.
constexpr std::size_t kMaxDepth = 64;

// Receives the parser's events (the handler interface of rapidjson::Reader) and routes each to
// the frame on top. Returning false stops the parse: the answer is then not certain.
struct Router {
    Slot root;
    std::size_t depth = 0;
    Frame stack[kMaxDepth];

    Slot next() {
        if (depth == 0) return root;
        Frame& top = stack[depth - 1];
        return top.type->slot(top);
    }

    bool scalar(const Scalar& json) {
        const Slot slot = next();
        return slot.type->scalar != nullptr && slot.type->scalar(*slot.type, json, slot.target);
    }

    bool integer(bool negative, std::uint64_t magnitude) {
        return scalar(Scalar{Scalar::Kind::integer, false, negative, magnitude, nullptr, 0});
    }

    bool open(bool object) {
        const Slot slot = next();
        if (!(object ? slot.type->objects : slot.type->arrays) || depth == kMaxDepth) return false;
        stack[depth++] = Frame{slot.type, slot.target, -1, 0, 0, {0, 0}};
        return true;
    }

    bool close() {
        Frame& top = stack[--depth];
        return top.type->close(top);
    }

    bool Null() { return scalar(Scalar{Scalar::Kind::null, false, false, 0, nullptr, 0}); }
    bool Bool(bool b) { return scalar(Scalar{Scalar::Kind::boolean, b, false, 0, nullptr, 0}); }
    bool Int(int i) { return Int64(i); }
    bool Uint(unsigned u) { return Uint64(u); }
    bool Int64(std::int64_t i) {
        return integer(i < 0, i < 0 ? std::uint64_t{0} - static_cast<std::uint64_t>(i)
                                    : static_cast<std::uint64_t>(i));
    }
    bool Uint64(std::uint64_t u) { return integer(false, u); }
    // Reals are judged by JsonCpp's own rules on its own conversion: left to the tree.
    bool Double(double) { return false; }
    bool RawNumber(const char*, rapidjson::SizeType, bool) { return false; }
    bool String(const char* text, rapidjson::SizeType size, bool) {
        return scalar(Scalar{Scalar::Kind::text, false, false, 0, text, size});
    }
    bool StartObject() { return open(true); }
    bool Key(const char* name, rapidjson::SizeType size, bool) {
        Frame& top = stack[depth - 1];
        return top.type->key(top, name, size);
    }
    bool EndObject(rapidjson::SizeType) { return close(); }
    bool StartArray() { return open(false); }
    bool EndArray(rapidjson::SizeType) { return close(); }
};

}  // namespace

// --- shared pieces of the header's templates -----------------------------------------------------

Slot skip_slot() { return Slot{&kAny, nullptr}; }

bool always(Frame&) { return true; }

// A missing element reads as null in the tree, which no element type takes.
bool two_elements(Frame& frame) { return frame.count >= 2; }

bool row_key(Frame& frame, const char* name, std::size_t size) {
    if (size == 3 && std::memcmp(name, "key", 3) == 0) return mark(frame, 0);
    if (size == 3 && std::memcmp(name, "val", 3) == 0) return mark(frame, 1);
    frame.member = -1;
    return true;
}

Record::Record(const Field* fields_, std::size_t count_)
    : type{nullptr, true, false, &record_key, &record_slot, &record_close, this},
      fields(fields_),
      count(count_),
      order(count_) {
    for (std::size_t i = 0; i < count; ++i) order[i] = static_cast<unsigned short>(i);
    std::sort(order.begin(), order.end(), [this](unsigned short a, unsigned short b) {
        return compare_key(fields[a].key, fields[a].size, fields[b].key, fields[b].size) < 0;
    });
    // The seen-set holds 128 members; a larger record always takes the tree-based way.
    if (count > 128) type.objects = false;
}

const Type& any_value() { return kAny; }
const Type& never() { return kNever; }
const Type& timestamp() { return kTimestamp; }

const Type& fast_type(const bool*) { return kBool; }
const Type& fast_type(const int*) { return kInt; }
const Type& fast_type(const short*) { return kShort; }
const Type& fast_type(const unsigned char*) { return kU8; }
const Type& fast_type(const unsigned short*) { return kU16; }
const Type& fast_type(const unsigned int*) { return kU32; }
const Type& fast_type(const unsigned long long*) { return kU64; }
const Type& fast_type(const long long*) { return kI64; }
const Type& fast_type(const std::string*) { return kString; }
const Type& fast_type(const zolt_mac_t*) { return kMac; }
const Type& fast_type(const std::vector<unsigned char>*) { return kBytes; }
const Type& fast_type(const std::vector<std::string>*) { return kStrings; }
const Type& fast_type(const std::vector<unsigned short>*) { return kU16s; }
const Type& fast_type(const std::vector<unsigned int>*) { return kU32s; }
const Type& fast_type(const std::tuple<unsigned short, zolt_mac_t>*) { return kVlanMac; }

bool decode_answer(const char* text, std::size_t size, const Type& result_type, void* result) {
    Slot result_slot{&result_type, result};
    Router router;
    router.root = Slot{&kAnswer, &result_slot};
    // Strict JSON only: no comments, no trailing commas, one value and nothing but blanks after
    // it. Every text accepted so is read by the tree parser to the same values.
    (void)size;  // text[size] is the NUL that ends the stream
    rapidjson::StringStream stream(text);
    // One reader per thread keeps its parse stack from answer to answer.
    thread_local rapidjson::Reader reader;
    return !reader.Parse<rapidjson::kParseDefaultFlags>(stream, router).IsError();
}

}  // namespace fast
}  // namespace zolt
