#pragma once

// The call shapes that every generated typed function is one call of. Internal: not installed.
//
// A typed function names its method string, hands its arguments (keys first, a value last) to
// the call engine, and then reads the answer's "error":
//   - null: the result is decoded into the caller's output, if the method has one, and 0 is
//     returned; a method without output never looks at "result";
//   - an object whose "code" is an integer: that code is returned, the output is untouched
//     (a code of 0 comes back as 0 with nothing decoded);
//   - anything else: -1.
// Nothing is caught here: transport, encoding and decoding failures reach the caller as thrown.

#include <json/value.h>

#include <cstddef>
#include <map>
#include <string>

#include "client/engine.h"
#include "client/errors.h"
#include "codec/fast.h"
#include "codec/record.h"
#include "codec/table.h"

namespace zolt {

// The code of a non-null "error".
int error_code(const Json::Value& error);

// Thrown by a get-all's decoder when "result" is no array; the call fills in the answer's status
// and first bytes.
[[noreturn]] void throw_result_not_array();

// Writes a result into the caller's output, whose type the decoder knows.
using Decoder = void (*)(const Json::Value& result, void* out);

// Reads a whole answer text straight into the output (codec/fast.h); true only when it is
// certain that the tree and `Decoder` would give the same output and 0. The text is followed by
// fast::kPadding readable bytes, and its bytes are changed during the call and put back before it
// returns or throws.
using DirectDecoder = bool (*)(char* text, std::size_t length, void* out);

// The one non-template core that every typed function ends in: posts `method` with the encoded
// `params`, returns the code of a non-null "error", else decodes "result" into `out` with
// `decode` (when given) and returns 0. The answer's text goes to `direct` first; when it is not
// certain, the tree reads the same text. What a typed function instantiates is therefore only
// the encoding of its arguments and, once per output type, its two decoders.
int call_params(void* handle, const char* method, const Json::Value& params, Decoder decode,
                DirectDecoder direct, void* out);

// The reading half of call_params, on an answer already received; with `direct` null only the
// tree reads (the way the tests and benchmarks hold the direct decoder against). Takes the
// response over.
int read_result(rest_response_t* response, Decoder decode, DirectDecoder direct, void* out);

template <class Out>
void decode_into(const Json::Value& result, void* out) {
    parse(result, *static_cast<Out*>(out));
}

// Get-alls: the result must be an array of rows before any row is decoded.
template <class K, class V>
void decode_rows(const Json::Value& result, void* out) {
    if (!result.isArray()) throw_result_not_array();
    parse(result, *static_cast<std::map<K, V>*>(out));
}

inline bool direct_none(char* text, std::size_t length, void*) { return fast::call(text, length); }

template <class Out>
bool direct_into(char* text, std::size_t length, void* out) {
    return fast::get(text, length, *static_cast<Out*>(out));
}

template <class K, class V>
bool direct_rows(char* text, std::size_t length, void* out) {
    return fast::get_all(text, length, *static_cast<std::map<K, V>*>(out));
}

// Bare calls, sets, adds, deletes and existence gets.
template <class... Args>
int call(void* handle, const char* method, const Args&... args) {
    return call_params(handle, method, encode_params(args...), nullptr, &direct_none, nullptr);
}

// Singleton, keyed, scalar and list gets: the result goes through the output's own `parse`.
template <class Out, class... Args>
int call_get(void* handle, const char* method, Out* out, const Args&... args) {
    return call_params(handle, method, encode_params(args...), &decode_into<Out>, &direct_into<Out>,
                       out);
}

template <class K, class V>
int call_get_all(void* handle, const char* method, std::map<K, V>* out) {
    return call_params(handle, method, Json::Value(Json::arrayValue), &decode_rows<K, V>,
                       &direct_rows<K, V>, out);
}

}  // namespace zolt
