#include "client/engine.h"

#include <json/reader.h>
#include <json/writer.h>

#include <cstdio>
#include <stdexcept>
#include <string>

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

Json::Value exchange(zoltclient* client, const Json::Value& request) {
    const std::string text = styled(request);
    rest_response_t* response = rest_post(client != nullptr ? client->rest : nullptr, text.data(),
                                          static_cast<long>(text.size()));
    if (response == nullptr) throw std::runtime_error("Post error");

    // A server status can still carry a JSON-RPC answer, so the 500s are read like successes.
    const unsigned long status = static_cast<unsigned long>(response->status);
    if (!((status >= 200 && status <= 299) || (status >= 500 && status <= 599))) {
        char message[64];
        snprintf(message, sizeof message, "Network error, return code: %ld", response->status);
        rest_free_response(response);
        throw std::runtime_error(message);
    }

    // No body bytes is read as the empty text, which does not parse: no answer is invented.
    const std::string body = response->body != nullptr ? response->body : "";
    Json::Reader reader;  // default features: comments allowed, any value at the root
    Json::Value answer;
    const bool parsed = reader.parse(body, answer, false);
    rest_free_response(response);
    if (!parsed) throw std::runtime_error("Failed to parse!");

    if (!answer.isObject()) throw std::runtime_error("Not a object");
    if (!answer.isMember("error")) throw std::runtime_error("No error member");
    if (!answer.isMember("result")) throw std::runtime_error("No result member");
    return answer;
}

}  // namespace zolt
