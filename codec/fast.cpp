#include "codec/fast.h"

#include <json/value.h>
#include <net/ethernet.h>
#include <netinet/ether.h>
#include <simdjson.h>

#include <algorithm>
#include <climits>
#include <cstdlib>
#include <string>
#include <string_view>
#include <utility>

#include "codec/value.h"

namespace zolt {
namespace fast {

static_assert(kPadding >= simdjson::SIMDJSON_PADDING, "the parser reads further past the text");

// A member name where it stands in the text, and the field that can unescape it.
struct Name {
    const char* raw;  // just after the opening quote
    simdjson::ondemand::field* field;
};

namespace {

namespace od = simdjson::ondemand;

// --- JsonCpp's number tests, on integers ---------------------------------------------------------
// The parser reports an integer only for JSON's own integer form within 64 bits, which JsonCpp
// also holds as that integer (it makes a real of anything with a fraction, an exponent or more
// than 64 bits, and so would this path refuse it), so the tests depend on the value alone. "-0"
// is JsonCpp's integer 0.

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

// A text as a C string, the way c_str() shows it to the C library: NUL-terminated, so that a
// call on it stops at the first NUL in it just as it does on the tree's string.
class CText {
public:
    explicit CText(const Scalar& json) {
        if (json.size < sizeof small_) {
            std::memcpy(small_, json.data, json.size);
            small_[json.size] = '\0';
            text_ = small_;
        } else {
            large_.assign(json.data, json.size);
            text_ = large_.c_str();
        }
    }
    CText(const CText&) = delete;
    CText& operator=(const CText&) = delete;

    const char* get() const { return text_; }

private:
    char small_[64];
    std::string large_;
    const char* text_;
};

// The same C library call as the tree-based reader, on the same C string.
bool read_mac(const Type&, const Scalar& json, void* target) {
    if (json.kind != Scalar::Kind::text) return false;
    const CText text(json);
    struct ether_addr bytes;
    if (ether_aton_r(text.get(), &bytes) == nullptr) return false;
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

constexpr Type scalar_type(bool (*read)(const Type&, const Scalar&, void*),
                           Type::Number number = Type::Number::any) {
    return Type{read, false, false, nullptr, nullptr, nullptr, nullptr, number};
}

constexpr Type::Number kSigned = Type::Number::signed_integer;
constexpr Type::Number kUnsigned = Type::Number::unsigned_integer;

// "-0" is left to the tree where an unsigned integer is due: the parser refuses it there.
const Type kBool = scalar_type(&read_bool);
const Type kInt = scalar_type(&read_signed<int>, kSigned);
const Type kShort = scalar_type(&read_signed<short>, kSigned);
const Type kU8 = scalar_type(&read_unsigned<unsigned char>, kUnsigned);
const Type kU16 = scalar_type(&read_unsigned<unsigned short>, kUnsigned);
const Type kU32 = scalar_type(&read_unsigned<unsigned int>, kUnsigned);
const Type kU64 = scalar_type(&read_uint64, kUnsigned);
const Type kI64 = scalar_type(&read_int64, kSigned);
const Type kString = scalar_type(&read_string);
const Type kMac = scalar_type(&read_mac);
const Type kBytes = scalar_type(&read_bytes);
const Type kTimestamp = scalar_type(&read_timestamp);
const Type kNull = scalar_type(&read_null);
const Type kNever{nullptr, false, false, nullptr, nullptr, nullptr, nullptr};

// --- member names --------------------------------------------------------------------------------

// True when the name is exactly `key`, compared with the text as it stands: the words read lie
// within the text or its padding, since the name starts inside the text.
bool names(const Name& name, const QuotedKey& key) {
    static_assert(kQuotedKeyBytes <= kPadding, "a key's words may reach past the text");
    const char* raw = name.raw;
    const unsigned last = key.count - 1;
    for (unsigned i = 0; i < last; ++i) {
        std::uint64_t word;
        std::memcpy(&word, raw + 8 * i, 8);
        if (word != key.words[i]) return false;
    }
    std::uint64_t word;
    std::memcpy(&word, raw + 8 * last, 8);
    return ((word ^ key.words[last]) & key.last_mask) == 0;
}

// The name's bytes, unescaped when it holds an escape; false when an escape is not JSON.
bool spell(Name& name, std::string_view& spelt) {
    const char* end = name.raw;
    while (*end != '"' && *end != '\\') ++end;
    if (*end == '"') {
        spelt = std::string_view(name.raw, static_cast<std::size_t>(end - name.raw));
        return true;
    }
    return name.field->unescaped_key().get(spelt) == simdjson::SUCCESS;
}

bool spelt_as(std::string_view spelt, const char* key, std::size_t size) {
    return spelt.size() == size && std::memcmp(spelt.data(), key, size) == 0;
}

// --- skipping ------------------------------------------------------------------------------------

// A name that matches nothing is still spelt out, since the tree refuses a bad escape in it.
bool any_key(Frame& frame, Name& name) {
    std::string_view spelt;
    frame.member = -1;
    return spell(name, spelt);
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

bool record_key(Frame& frame, Name& name) {
    const Record& record = *static_cast<const Record*>(frame.type->info);
    // Writers usually list members in key order, so the one after the last match comes first.
    std::size_t position = frame.cursor;
    if (position < record.count && record.quoted[position].usable) {
        if (names(name, record.quoted[position])) {
            frame.cursor = position + 1;
            return mark(frame, record.order[position]);
        }
    }
    std::string_view spelt;
    if (!spell(name, spelt)) return false;
    std::size_t low = 0;
    std::size_t high = record.count;
    while (low < high) {
        const std::size_t middle = (low + high) / 2;
        if (compare_at(record, middle, spelt.data(), spelt.size()) < 0) {
            low = middle + 1;
        } else {
            high = middle;
        }
    }
    position = low;
    if (position == record.count || compare_at(record, position, spelt.data(), spelt.size()) != 0) {
        frame.member = -1;  // unknown members are ignored
        return true;
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
// C string in place: nothing it takes (blanks, a sign, "0x", hex digits) is a ':', so it stops
// within the piece and reads what it reads of the piece alone.
bool read_split_mac(const Type&, const Scalar& json, void* target) {
    if (json.kind != Scalar::Kind::text) return false;
    const CText text(json);
    const char* const end = text.get() + strnlen(text.get(), json.size);
    zolt_mac_t& mac = as<zolt_mac_t>(target);
    const char* piece = text.get();
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

// Member 0 is "error", member 1 "result"; the frame's target is the result's slot. An escaped
// spelling of either is the same member to the tree.
const QuotedKey kErrorKey("error", 5);
const QuotedKey kResultKey("result", 6);
const QuotedKey kRowKey("key", 3);
const QuotedKey kRowValue("val", 3);

bool answer_key(Frame& frame, Name& name) {
    if (names(name, kErrorKey)) return mark(frame, 0);
    if (names(name, kResultKey)) return mark(frame, 1);
    std::string_view spelt;
    if (!spell(name, spelt)) return false;
    if (spelt_as(spelt, "error", 5)) return mark(frame, 0);
    if (spelt_as(spelt, "result", 6)) return mark(frame, 1);
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

// --- the walk over the parser's values -----------------------------------------------------------

// Deeper than any answer of the schema, and far below the tree parser's own nesting limit, which
// would otherwise throw where this path would not.
constexpr std::size_t kMaxDepth = 64;

bool read_value(od::value& value, const Slot& slot, std::size_t depth);

// A string's bytes: where they stand in the text when it holds no escape, else unescaped by the
// parser (which refuses a bad escape).
bool read_text(od::value& value, Scalar& json) {
    const std::string_view token = value.raw_json_token();
    // The token runs from the opening quote to the next structural character, past the closing
    // quote.
    const char* const begin = token.data() + 1;
    const char* const end = token.data() + token.size();
    const char* stop = begin;
    while (stop < end && *stop != '"' && *stop != '\\') ++stop;
    std::string_view text;
    if (stop < end && *stop == '"') {
        od::raw_json_string raw;
        if (value.get_raw_json_string().get(raw) != simdjson::SUCCESS) return false;
        text = std::string_view(begin, static_cast<std::size_t>(stop - begin));
    } else if (value.get_string().get(text) != simdjson::SUCCESS) {
        return false;
    }
    json.kind = Scalar::Kind::text;
    json.data = text.data();
    json.size = text.size();
    return true;
}

bool read_scalar(od::value& value, od::json_type kind, const Type& type, void* target) {
    Scalar json{Scalar::Kind::null, false, false, 0, nullptr, 0};
    switch (kind) {
        case od::json_type::number:
            // The integer getters refuse reals, numbers past 64 bits and forms that are not JSON.
            json.kind = Scalar::Kind::integer;
            if (value.is_negative()) {
                std::int64_t number = 0;
                if (value.get_int64().get(number) != simdjson::SUCCESS) return false;
                json.negative = number < 0;
                json.magnitude = json.negative
                                     ? std::uint64_t{0} - static_cast<std::uint64_t>(number)
                                     : static_cast<std::uint64_t>(number);
            } else if (value.get_uint64().get(json.magnitude) != simdjson::SUCCESS) {
                return false;
            }
            break;
        case od::json_type::string:
            if (!read_text(value, json)) return false;
            break;
        case od::json_type::boolean:
            json.kind = Scalar::Kind::boolean;
            if (value.get_bool().get(json.truth) != simdjson::SUCCESS) return false;
            break;
        case od::json_type::null: {
            bool null = false;
            if (value.is_null().get(null) != simdjson::SUCCESS || !null) return false;
            break;
        }
        default:
            return false;
    }
    return type.scalar(type, json, target);
}

bool read_members(od::object& object, Frame& frame, std::size_t depth) {
    for (auto member : object) {
        od::field field;
        if (std::move(member).get(field) != simdjson::SUCCESS) return false;
        Name name{field.key().raw(), &field};
        if (!frame.type->key(frame, name)) return false;
        if (!read_value(field.value(), frame.type->slot(frame), depth)) return false;
    }
    return true;
}

bool read_elements(od::array& array, Frame& frame, std::size_t depth, std::size_t& count) {
    for (auto element : array) {
        od::value value;
        if (std::move(element).get(value) != simdjson::SUCCESS) return false;
        if (!read_value(value, frame.type->slot(frame), depth)) return false;
        ++count;
    }
    return true;
}

Slot never_slot(Frame&) { return Slot{&kNever, nullptr}; }

// Where the elements of a long answer's result stood, in the copy of its envelope that is read
// on its own: an empty array whose '[' is the slot's target.
const Type kElsewhere{nullptr, false, true, nullptr, &never_slot, &always, nullptr};

// An integer where only an integer is taken: no look at the value's form first.
bool read_integer(od::value& value, const Type& type, void* target) {
    Scalar json{Scalar::Kind::integer, false, false, 0, nullptr, 0};
    if (type.number == Type::Number::unsigned_integer) {
        if (value.get_uint64().get(json.magnitude) != simdjson::SUCCESS) return false;
    } else {
        std::int64_t number = 0;
        if (value.get_int64().get(number) != simdjson::SUCCESS) return false;
        json.negative = number < 0;
        json.magnitude = json.negative ? std::uint64_t{0} - static_cast<std::uint64_t>(number)
                                       : static_cast<std::uint64_t>(number);
    }
    return type.scalar(type, json, target);
}

bool read_value(od::value& value, const Slot& slot, std::size_t depth) {
    const Type& type = *slot.type;
    if (type.number != Type::Number::any) return read_integer(value, type, slot.target);
    od::json_type kind;
    if (value.type().get(kind) != simdjson::SUCCESS) return false;
    switch (kind) {
        case od::json_type::object: {
            if (!type.objects || depth == kMaxDepth) return false;
            od::object object;
            if (value.get_object().get(object) != simdjson::SUCCESS) return false;
            Frame frame{&type, slot.target, -1, 0, 0, {0, 0}};
            return read_members(object, frame, depth + 1) && type.close(frame);
        }
        case od::json_type::array: {
            if (!type.arrays || depth == kMaxDepth) return false;
            if (&type == &kElsewhere) {
                if (value.raw_json_token().data() != slot.target) return false;
            }
            od::array array;
            if (value.get_array().get(array) != simdjson::SUCCESS) return false;
            Frame frame{&type, slot.target, -1, 0, 0, {0, 0}};
            std::size_t count = 0;
            return read_elements(array, frame, depth + 1, count) && type.close(frame);
        }
        default:
            return type.scalar != nullptr && read_scalar(value, kind, type, slot.target);
    }
}

// --- the answer's text ---------------------------------------------------------------------------

// Texts up to this size keep the parser's buffers from call to call; a longer one's are freed.
constexpr std::size_t kKeptCapacity = std::size_t{1} << 20;

std::size_t g_window = std::size_t{256} << 10;

// One parser per thread: its buffers serve answer after answer.
od::parser& thread_parser() {
    thread_local od::parser parser;
    return parser;
}

// Frees the buffers a long text made the parser take, however the decode ends.
struct Trim {
    od::parser& parser;
    ~Trim() {
        if (parser.capacity() > kKeptCapacity) parser = od::parser();
    }
};

// Indexes `size` bytes at `text`, which `room` readable bytes follow the start of. The capacity
// is rounded up so that texts of slowly growing size do not reallocate each time.
bool start(od::parser& parser, const char* text, std::size_t size, std::size_t room,
           od::document& document) {
    if (parser.capacity() < size) {
        std::size_t capacity = 4096;
        while (capacity < size) capacity *= 2;
        if (parser.allocate(capacity) != simdjson::SUCCESS) return false;
    }
    return parser.iterate(text, size, room).get(document) == simdjson::SUCCESS;
}

// The document has nothing after its value.
bool at_end(od::document& document) {
    return document.current_location().error() == simdjson::OUT_OF_BOUNDS;
}

// An answer in one piece; `room` bytes follow the start of the text.
bool read_whole(od::parser& parser, const char* text, std::size_t size, std::size_t room,
                const Slot& result) {
    od::document document;
    if (!start(parser, text, size, room, document)) return false;
    od::object root;
    if (document.get_object().get(root) != simdjson::SUCCESS) return false;
    Slot result_slot = result;
    Frame frame{&kAnswer, &result_slot, -1, 0, 0, {0, 0}};
    return read_members(root, frame, 1) && kAnswer.close(frame) && at_end(document);
}

bool is_blank(char c) { return c == ' ' || c == '\t' || c == '\n' || c == '\r'; }

// The result's array in a long text: `open` at the '[' after the first "result" name, `close` at
// the last ']'. Only where to look: whether the text has that form is found by reading it.
bool find_array(const char* text, std::size_t size, std::size_t& open, std::size_t& close) {
    static const char kName[] = "\"result\"";
    const void* name = memmem(text, size, kName, sizeof kName - 1);
    if (name == nullptr) return false;
    std::size_t i =
        static_cast<std::size_t>(static_cast<const char*>(name) - text) + sizeof kName - 1;
    while (i < size && is_blank(text[i])) ++i;
    if (i == size || text[i] != ':') return false;
    ++i;
    while (i < size && is_blank(text[i])) ++i;
    if (i == size || text[i] != '[') return false;
    open = i;
    const void* last = memrchr(text + open, ']', size - open);
    if (last == nullptr) return false;
    close = static_cast<std::size_t>(static_cast<const char*>(last) - text);
    return true;
}

// The first ',' at or after `from` and before `close` that has '}' before and '{' after it,
// blanks aside: the likely end of one object element and start of the next. `close` if none.
std::size_t next_cut(const char* text, std::size_t from, std::size_t close) {
    const char* p = text + from;
    const char* const end = text + close;
    while (p < end) {
        const void* comma = std::memchr(p, ',', static_cast<std::size_t>(end - p));
        if (comma == nullptr) break;
        p = static_cast<const char*>(comma);
        const char* before = p - 1;
        while (is_blank(*before)) --before;
        const char* after = p + 1;
        while (after < end && is_blank(*after)) ++after;
        if (*before == '}' && after < end && *after == '{') {
            return static_cast<std::size_t>(p - text);
        }
        ++p;
    }
    return close;
}

// The commas turned into the brackets of the window being read, put back however it ends.
struct Brackets {
    char* text;
    std::size_t opened = 0;  // the window's '[' when it stands for a comma, else 0
    std::size_t closed = 0;  // its ']' when it stands for a comma, else 0
    ~Brackets() {
        if (opened != 0) text[opened] = ',';
        if (closed != 0) text[closed] = ',';
    }
};

// A long answer whose result is an array from `open` to `close`. The envelope (the text with an
// empty array in place of the elements) is read from a copy of its own; the elements are read a
// window at a time, each window the text from one cut to the next with its commas standing in
// for '[' and ']', so that the index covers one window. Each window must be a whole array of one
// or more elements: the text is then the envelope with those elements in the result's place, and
// a cut that fell in a string or deeper than the array shows as a window that does not parse.
bool read_windows(od::parser& parser, char* text, std::size_t size, std::size_t open,
                  std::size_t close, const Type& result_type, void* result) {
    std::string envelope;
    envelope.reserve(open + 1 + (size - close) + kPadding);
    envelope.append(text, open + 1).append(text + close, size - close);
    const std::size_t envelope_size = envelope.size();
    envelope.resize(envelope_size + kPadding);
    if (!read_whole(parser, envelope.data(), envelope_size, envelope.size(),
                    Slot{&kElsewhere, envelope.data() + open})) {
        return false;
    }

    // The elements' depth is the one they have in the whole answer: under the answer and the array.
    Frame frame{&result_type, result, -1, 0, 0, {0, 0}};
    Brackets brackets{text};
    std::size_t from = open;
    for (;;) {
        const std::size_t cut = next_cut(text, from + g_window, close);
        if (cut != close) {
            text[cut] = ']';
            brackets.closed = cut;
        }
        od::document document;
        if (!start(parser, text + from, cut + 1 - from, size + kPadding - from, document)) {
            return false;
        }
        od::array array;
        if (document.get_array().get(array) != simdjson::SUCCESS) return false;
        std::size_t count = 0;
        if (!read_elements(array, frame, 2, count) || !at_end(document)) return false;
        if (count == 0 && !(from == open && cut == close)) return false;
        if (cut == close) break;
        if (brackets.opened != 0) text[brackets.opened] = ',';
        text[cut] = '[';
        brackets.opened = cut;
        brackets.closed = 0;
        from = cut;
    }
    return result_type.close(frame);
}

}  // namespace

// --- shared pieces of the header's templates -----------------------------------------------------

Slot skip_slot() { return Slot{&kAny, nullptr}; }

bool always(Frame&) { return true; }

// A missing element reads as null in the tree, which no element type takes.
bool two_elements(Frame& frame) { return frame.count >= 2; }

bool row_key(Frame& frame, Name& name) {
    if (names(name, kRowKey)) return mark(frame, 0);
    if (names(name, kRowValue)) return mark(frame, 1);
    std::string_view spelt;
    if (!spell(name, spelt)) return false;
    if (spelt_as(spelt, "key", 3)) return mark(frame, 0);
    if (spelt_as(spelt, "val", 3)) return mark(frame, 1);
    frame.member = -1;
    return true;
}

QuotedKey::QuotedKey(const char* key, std::size_t size) {
    if (size + 1 > kQuotedKeyBytes || std::memchr(key, '"', size) != nullptr ||
        std::memchr(key, '\\', size) != nullptr) {
        return;
    }
    unsigned char bytes[kQuotedKeyBytes] = {};
    unsigned char mask[kQuotedKeyBytes] = {};
    std::memcpy(bytes, key, size);
    bytes[size] = '"';
    std::memset(mask, 0xff, size + 1);
    count = static_cast<unsigned>((size + 1 + 7) / 8);
    for (unsigned i = 0; i < count; ++i) std::memcpy(&words[i], bytes + 8 * i, 8);
    std::memcpy(&last_mask, mask + 8 * (count - 1), 8);
    usable = true;
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
    quoted.resize(count);
    for (std::size_t i = 0; i < count; ++i) {
        quoted[i] = QuotedKey(fields[order[i]].key, fields[order[i]].size);
    }
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

void set_window(std::size_t bytes) { g_window = bytes; }

bool decode_answer(char* text, std::size_t size, const Type& result_type, void* result) {
    od::parser& parser = thread_parser();
    const Trim trim{parser};
    std::size_t open = 0;
    std::size_t close = 0;
    if (result_type.arrays && size > g_window && find_array(text, size, open, close)) {
        return read_windows(parser, text, size, open, close, result_type, result);
    }
    return read_whole(parser, text, size, size + kPadding, Slot{&result_type, result});
}

}  // namespace fast
}  // namespace zolt
