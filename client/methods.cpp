#include "client/methods.h"

#include <cstddef>
#include <stdexcept>
#include <string>
#include <utility>

#include "client/errors.h"
#include "client/rest_internal.h"

namespace zolt {

// The transport keeps the room after the answer's text that the direct decoder reads into.
static_assert(kRestPadding >= fast::kPadding, "the answer buffer's padding is too short");

int error_code(const Json::Value& error) {
    if (!error.isObject()) return -1;
    const Json::Value& code = error["code"];
    return code.isInt() ? code.asInt() : -1;
}

void throw_result_not_array() { throw answer_error("Result is not an array", 0, std::string()); }

int call_params(void* handle, const char* method, const Json::Value& params, Decoder decode,
                DirectDecoder direct, void* out) {
    auto* client = static_cast<zoltclient*>(handle);
    return read_result(post(client, method, params), decode, direct, out);
}

int read_result(rest_response_t* response, Decoder decode, DirectDecoder direct, void* out) {
    HeldResponse held(response);
    std::size_t length = 0;
    char* text = direct != nullptr ? passing_body(response, &length) : nullptr;
    if (text != nullptr && direct(text, length, out)) return 0;
    // Off the direct path the tree takes over; the answer's status and first bytes outlive its
    // text for "Result is not an array".
    const long status = response->status;
    const std::string excerpt = excerpt_of(*response);
    const Json::Value answer = read_answer(held.release());
    const Json::Value& error = answer["error"];
    if (!error.isNull()) return error_code(error);
    if (decode == nullptr) return 0;
    // A decode failure's path starts at "result"; "Result is not an array" gets the status and
    // first bytes of the answer it refers to.
    try {
        in_member("result", [&] { decode(answer["result"], out); });
    } catch (const answer_error& e) {
        throw answer_error(e.what(), status, excerpt);
    }
    return 0;
}

}  // namespace zolt
