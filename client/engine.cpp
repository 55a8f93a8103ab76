#include "client/engine.h"

#include <json/reader.h>
#include <json/writer.h>

#include <cstdio>
#include <memory>
#include <stdexcept>
#include <string>

#include "client/rest_internal.h"

namespace zolt {

std::string styled(const Json::Value& request) {
    // Value::toStyledString() of this JsonCpp indents with tabs and breaks every array; the
    // older StyledWriter still writes the form the switch is addressed in.
#pragma GCC diagnostic push
#pragma GCC diagnostic ignored "-Wdeprecated-declarations"
    Json::StyledWriter writer;
#pragma GCC diagnostic pop
    return writer.write(request);
}

namespace {

using HeldResponse = std::unique_ptr<rest_response_t, void (*)(rest_response_t*)>;

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

Json::Value read_answer(rest_response_t* response) {
    // Released on every way out, including an exception from the parser's allocations.
    HeldResponse held(response, rest_free_response);

    // A server status can still carry a JSON-RPC answer, so the 500s are read like successes.
    const unsigned long status = static_cast<unsigned long>(response->status);
    if (!((status >= 200 && status <= 299) || (status >= 500 && status <= 599))) {
        char message[64];
        snprintf(message, sizeof message, "Network error, return code: %ld", response->status);
        held.reset();
        throw std::runtime_error(message);
    }

    Json::Value answer;
    const bool parsed = parse_body(*response, answer);
    held.reset();
    if (!parsed) throw std::runtime_error("Failed to parse!");

    if (!answer.isObject()) throw std::runtime_error("Not a object");
    if (!answer.isMember("error")) throw std::runtime_error("No error member");
    if (!answer.isMember("result")) throw std::runtime_error("No result member");
    return answer;
}

Json::Value exchange(zoltclient* client, const Json::Value& request) {
    const std::string text = styled(request);
    rest_response_t* response = rest_post(client != nullptr ? client->rest : nullptr, text.data(),
                                          static_cast<long>(text.size()));
    if (response == nullptr) throw std::runtime_error("Post error");
    return read_answer(response);
}

}  // namespace zolt
