// Round trip of every value and key codec of the schema on arbitrary input: the first byte picks
// a type of the generated codec table, the rest is JSON text. A value that decodes must write,
// decode again and write again to the same text; a value that does not decode must fail with one
// of the codec's exceptions, never anything worse.

#include <json/json.h>

#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <ctime>
#include <memory>
#include <stdexcept>
#include <string>

#include "tools/invoke.h"

namespace {

[[noreturn]] void mismatch(const char* method, const Json::Value& first,
                           const Json::Value& second) {
    std::fprintf(stderr, "round trip of %s differs:\n%s\n%s\n", method,
                 first.toStyledString().c_str(), second.toStyledString().c_str());
    std::abort();
}

// The time stamp is the one value whose two directions differ in form: written as a number of
// seconds, read from the local-time text "YYYY-MM-DD HH:MM:SS" that a switch sends. Where the
// input held text and the writer put a number, `written` gets that number back as the text a
// switch would send for it, so that the second decode reads what a switch would send. False when
// the number has no such text (a year outside 0 to 9999).
bool as_sent(const Json::Value& input, Json::Value& written) {
    if (input.isString() && written.isIntegral()) {
        const time_t seconds = static_cast<time_t>(written.asInt64());
        struct tm fields = {};
        char text[64];
        if (localtime_r(&seconds, &fields) == nullptr || fields.tm_year < -1900 ||
            fields.tm_year > 9999 - 1900 ||
            std::strftime(text, sizeof text, "%Y-%m-%d %H:%M:%S", &fields) == 0) {
            return false;
        }
        written = Json::Value(text);
        return true;
    }
    if (input.isObject() && written.isObject()) {
        for (const std::string& key : written.getMemberNames()) {
            if (input.isMember(key) && !as_sent(input[key], written[key])) return false;
        }
    }
    return true;
}

void round_trip(const char* method, Json::Value (*canon)(const Json::Value&),
                const Json::Value& input) {
    Json::Value written;
    try {
        written = canon(input);
    } catch (const std::runtime_error&) {
        return;  // "Unexpected type", "out-of-range-enum", "Mac address is invalid", ...
    } catch (const std::logic_error&) {
        return;  // a record in a non-object's place; "stoi" from a byte list
    }
    // What the library wrote it must read back, to the same text.
    Json::Value sent = written;
    if (!as_sent(input, sent)) return;
    const Json::Value again = canon(sent);
    if (again != written) mismatch(method, written, again);
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    // Time stamps are read as local time; in a zone without daylight saving every text names
    // one second, so reading a stamp back cannot land on the other side of an ambiguous hour.
    static const bool utc = (setenv("TZ", "UTC0", 1), tzset(), true);
    (void)utc;
    if (size < 1) return 0;
    const zolt_tool::Codec& codec = zolt_tool::kCodecs[data[0] % zolt_tool::kCodecCount];
    const std::string text(reinterpret_cast<const char*>(data + 1), size - 1);

    Json::Value input;
    Json::CharReaderBuilder builder;
    builder["collectComments"] = false;
    std::string errors;
    std::unique_ptr<Json::CharReader> reader(builder.newCharReader());
    if (!reader->parse(text.data(), text.data() + text.size(), &input, &errors)) return 0;

    round_trip(codec.type, codec.round_trip, input);
    return 0;
}
