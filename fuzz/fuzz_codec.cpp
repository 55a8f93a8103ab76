// Round trip of every value and key codec of the schema on arbitrary input: the first byte picks
// a method of the generated table, the rest is JSON text. A value that decodes must write, decode
// again and write again to the same text; a value that does not decode must fail with one of the
// codec's exceptions, never anything worse.

#include <json/json.h>

#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <memory>
#include <stdexcept>
#include <string>

#include "sim/sim_schema.h"

namespace {

[[noreturn]] void mismatch(const char* method, const Json::Value& first,
                           const Json::Value& second) {
    std::fprintf(stderr, "round trip of %s differs:\n%s\n%s\n", method,
                 first.toStyledString().c_str(), second.toStyledString().c_str());
    std::abort();
}

void round_trip(const char* method, zolt_sim::Canon canon, const Json::Value& input) {
    if (canon == nullptr) return;
    Json::Value written;
    try {
        written = canon(input);
    } catch (const std::runtime_error&) {
        return;  // "Unexpected type", "out-of-range-enum", "Mac address is invalid", ...
    } catch (const std::logic_error&) {
        return;  // a record in a non-object's place; "stoi" from a byte list
    }
    // What the library wrote it must read back, to the same text.
    const Json::Value again = canon(written);
    if (again != written) mismatch(method, written, again);
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    if (size < 1) return 0;
    const zolt_sim::MethodInfo& info = zolt_sim::kMethods[data[0] % zolt_sim::kMethodCount];
    const std::string text(reinterpret_cast<const char*>(data + 1), size - 1);

    Json::Value input;
    Json::CharReaderBuilder builder;
    builder["collectComments"] = false;
    std::string errors;
    std::unique_ptr<Json::CharReader> reader(builder.newCharReader());
    if (!reader->parse(text.data(), text.data() + text.size(), &input, &errors)) return 0;

    round_trip(info.method, info.value, input);
    for (int i = 0; i < info.key_count; ++i) round_trip(info.method, info.key[i], input);
    return 0;
}
