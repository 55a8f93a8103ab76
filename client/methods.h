#pragma once

// The call shapes that every generated typed function is one call of. A typed function names
// its method string, hands its arguments (keys first, a value last) to the call engine, and
// then reads the answer's "error":
//   - null: the result is decoded into the caller's output, if the method has one, and 0 is
//     returned; a method without output never looks at "result";
//   - an object whose "code" is an integer: that code is returned, the output is untouched
//     (a code of 0 comes back as 0 with nothing decoded);
//   - anything else: -1.
// Nothing is caught here: transport, encoding and decoding failures reach the caller as thrown.

#include <json/value.h>

#include <map>
#include <string>

#include "client/engine.h"
#include "client/errors.h"
#include "codec/record.h"
#include "codec/table.h"

namespace zolt {

// The code of a non-null "error".
int error_code(const Json::Value& error);

// Thrown by a get-all's decoder when "result" is no array; decode_result fills in the answer's
// status and first bytes.
[[noreturn]] void throw_result_not_array();

// Runs `decode` on the answer's "result": a decode failure's path starts at "result", and
// "Result is not an array" gets the status and first bytes of the answer it refers to.
template <class Decode>
void decode_result(const zoltclient* client, Decode decode) {
    try {
        decode();
    } catch (decode_error& e) {
        e.within("result");
        throw;
    } catch (decode_logic_error& e) {
        e.within("result");
        throw;
    } catch (const answer_error& e) {
        throw answer_error(e.what(), client->last_status, client->last_excerpt);
    }
}

template <class Decode, class... Args>
int call_and_decode(void* handle, const char* method, Decode decode, const Args&... args) {
    const Json::Value answer =
        zolt_json_rpc_call(static_cast<zoltclient*>(handle), std::string(method), args...);
    const Json::Value& error = answer["error"];
    if (!error.isNull()) return error_code(error);
    decode_result(static_cast<zoltclient*>(handle), [&] { decode(answer["result"]); });
    return 0;
}

// Bare calls, sets, adds, deletes and existence gets.
template <class... Args>
int call(void* handle, const char* method, const Args&... args) {
    return call_and_decode(
        handle, method, [](const Json::Value&) {}, args...);
}

// Singleton, keyed, scalar and list gets: the result goes through the output's own `parse`.
template <class Out, class... Args>
int call_get(void* handle, const char* method, Out* out, const Args&... args) {
    return call_and_decode(
        handle, method, [out](const Json::Value& result) { parse(result, *out); }, args...);
}

// Get-alls: the result must be an array of rows before any row is decoded.
template <class K, class V>
int call_get_all(void* handle, const char* method, std::map<K, V>* out) {
    return call_and_decode(handle, method, [out](const Json::Value& result) {
        if (!result.isArray()) throw_result_not_array();
        parse(result, *out);
    });
}

}  // namespace zolt
