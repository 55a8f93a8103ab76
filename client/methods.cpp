#include "client/methods.h"

#include <stdexcept>
#include <string>
#include <utility>

#include "client/errors.h"

namespace zolt {

int error_code(const Json::Value& error) {
    if (!error.isObject()) return -1;
    const Json::Value& code = error["code"];
    return code.isInt() ? code.asInt() : -1;
}

void throw_result_not_array() { throw answer_error("Result is not an array", 0, std::string()); }

int call_params(void* handle, const char* method, Json::Value params, Decoder decode, void* out) {
    // Members as zolt_json_rpc_call sets them; the text shows them sorted by name either way.
    Json::Value request(Json::objectValue);
    request["method"] = Json::Value(method);
    request["id"] = Json::Value("jsonrpc");
    request["params"] = std::move(params);
    const Json::Value answer = exchange(static_cast<zoltclient*>(handle), request);
    const Json::Value& error = answer["error"];
    if (!error.isNull()) return error_code(error);
    if (decode == nullptr) return 0;
    // A decode failure's path starts at "result"; "Result is not an array" gets the status and
    // first bytes of the answer it refers to.
    try {
        decode(answer["result"], out);
    } catch (decode_error& e) {
        e.within("result");
        throw;
    } catch (decode_logic_error& e) {
        e.within("result");
        throw;
    } catch (const answer_error& e) {
        const auto* client = static_cast<const zoltclient*>(handle);
        throw answer_error(e.what(), client->last_status, client->last_excerpt);
    }
    return 0;
}

}  // namespace zolt
