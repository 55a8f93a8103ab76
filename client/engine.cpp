#include "client/engine.h"

#include <json/reader.h>

#include <cstdio>
#include <stdexcept>
#include <string>

#include "client/errors.h"
#include "client/request.h"
#include "client/rest_internal.h"

namespace zolt {

namespace {

// A server status can still carry a JSON-RPC answer, so the 500s are read like successes.
bool status_passes(long status) {
    return (status >= 200 && status <= 299) || (status >= 500 && status <= 599);
}

// Parses the collected text where it lies: the reader is handed the transport's own buffer, so
// a large answer exists once as text and once as a tree, and the text goes as soon as the tree
// stands. No body bytes read as the empty text, which does not parse: no answer is invented.
bool parse_body(const rest_response_t& response, Json::Value& answer) {
    const char* begin = response.body != nullptr ? response.body : "";
    const char* end = begin + rest_body_length(&response);
    Json::Reader reader;  // default features: comments allowed, any value at the root
    try {
        return reader.parse(begin, end, answer, false);
    } catch (const Json::Exception&) {
        // Nesting deeper than the reader's stack limit is reported by a throw of its own
        // exception class instead of a false; for the caller it is a text that does not parse.
        return false;
    }
}

}  // namespace

std::string excerpt_of(const rest_response_t& response) {
    if (response.body == nullptr) return std::string();
    const std::size_t length = rest_body_length(&response);
    return std::string(response.body,
                       length < answer_error::kExcerptSize ? length : answer_error::kExcerptSize);
}

Json::Value read_answer(rest_response_t* response) {
    // Released on every way out, including an exception from the parser's allocations.
    HeldResponse held(response);

    const long status_code = response->status;
    if (!status_passes(status_code)) {
        held.reset();
        throw status_error(status_code);  // "Network error, return code: <status>"
    }

    Json::Value answer;
    const bool parsed = parse_body(*response, answer);
    // Only the first bytes outlive the text, and only on the way to an exception.
    const char* refusal = !parsed                      ? "Failed to parse!"
                          : !answer.isObject()         ? "Not a object"
                          : !answer.isMember("error")  ? "No error member"
                          : !answer.isMember("result") ? "No result member"
                                                       : nullptr;
    if (refusal != nullptr) {
        std::string excerpt = excerpt_of(*response);
        held.reset();
        throw answer_error(refusal, status_code, std::move(excerpt));
    }
    return answer;
}

rest_response_t* post(zoltclient* client, const char* method, const Json::Value& params) {
    // A handle that never opened has no libcurl result to tell.
    if (client == nullptr || client->rest == nullptr) {
        throw transfer_error(CURLE_OK, "no connection was opened");
    }
    // The handle's own buffer: after the first calls a request costs no allocation to write.
    write_request(method, params, client->request_text);
    const std::string& text = client->request_text;
    rest_response_t* response =
        rest_post(client->rest, text.data(), static_cast<long>(text.size()));
    if (response == nullptr) {
        const CURLcode result = rest_last_result(client->rest);
        throw transfer_error(result, curl_easy_strerror(result));
    }
    return response;
}

char* passing_body(rest_response_t* response, std::size_t* length) {
    if (!status_passes(response->status)) return nullptr;
    *length = rest_body_length(response);
    return response->body;
}

Json::Value exchange(zoltclient* client, const char* method, const Json::Value& params) {
    return read_answer(post(client, method, params));
}

}  // namespace zolt
