#pragma once

// The JSON-RPC call engine every typed method goes through. Internal: not installed.
//
// A request is an object with "method", "id" (always the string "jsonrpc") and "params", the
// arguments in position. It is posted as the styled writer's text, and the answer comes back
// whole: the typed method judges "error" and "result" itself.

#include <json/value.h>

#include <cstddef>
#include <memory>
#include <string>

#include "client/rest.h"
#include "codec/value.h"

struct zoltclient {
    rest_handle_t* rest;
    std::string request_text;  // the last request's text; its capacity serves the next one
};

namespace zolt {

// Frees a response of the transport when its holder goes.
struct ResponseFree {
    void operator()(rest_response_t* response) const { rest_free_response(response); }
};
using HeldResponse = std::unique_ptr<rest_response_t, ResponseFree>;

// Posts {"id": "jsonrpc", "method": method, "params": params} and returns the parsed answer,
// which is an object holding both "error" and "result". Everything else throws std::runtime_error,
// in this order: "Post error" (transport failure), "Network error, return code: <status>" (status
// outside 200-299 and 500-599), "Failed to parse!" (also for an answer without body bytes), "Not a
// object", "No error member", "No result member".
Json::Value exchange(zoltclient* client, const char* method, const Json::Value& params);

// The judging half of exchange(): the status window, the parse and the checks on the answer,
// with the same exceptions. Takes ownership of `response` and releases it on every way out.
Json::Value read_answer(rest_response_t* response);

// The posting half of exchange(): the styled text goes out and the answer comes back unjudged,
// owned by the caller. A failed transfer throws as exchange() does.
rest_response_t* post(zoltclient* client, const char* method, const Json::Value& params);

// The first bytes of the collected body, at most answer_error::kExcerptSize: what an operator
// needs to recognise an HTML error page or a proxy's answer.
std::string excerpt_of(const rest_response_t& response);

// The collected body of an answer whose status read_answer() lets through, and its length (the
// text ends in a NUL followed by kRestPadding allocated bytes); null for any other status and for
// an answer without body bytes.
char* passing_body(rest_response_t* response, std::size_t* length);

// The arguments in position, each by zolt::to_json. An argument that cannot be encoded (an
// enumeration out of range) throws here, before anything is posted.
template <class... Args>
Json::Value encode_params(const Args&... args) {
    Json::Value params(Json::arrayValue);
    (params.append(zolt::to_json(args)), ...);
    return params;
}

}  // namespace zolt
