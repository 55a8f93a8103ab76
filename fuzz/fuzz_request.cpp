// The request writer against StyledWriter on arbitrary values: the text a request goes out in
// must be StyledWriter's, byte for byte, whatever "params" holds.
//
// Input: the method string up to the first newline, then any JSON text (comments allowed, so
// that values carry them) that becomes "params". Inputs that do not parse are skipped.

#include <json/json.h>

#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <string>

#include "client/request.h"

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    const char* begin = reinterpret_cast<const char*>(data);
    const char* newline = static_cast<const char*>(std::memchr(begin, '\n', size));
    if (newline == nullptr) return 0;
    const std::string method(begin, newline);
    if (method.find('\0') != std::string::npos) return 0;  // a C string ends there

    Json::Value params;
    Json::Reader reader;  // comments are kept with the values they follow or precede
    if (!reader.parse(newline + 1, begin + size, params, true)) return 0;

    std::string written;
    zolt::write_request(method.c_str(), params, written);
    Json::Value request(Json::objectValue);
    request["method"] = method;
    request["id"] = "jsonrpc";
    request["params"] = params;
    const std::string expected = zolt::styled(request);
    if (written != expected) {
        std::fprintf(stderr, "request text differs\n--- written\n%s--- StyledWriter\n%s",
                     written.c_str(), expected.c_str());
        std::abort();
    }
    return 0;
}
