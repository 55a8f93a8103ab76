#pragma once

// One JSON-RPC exchange with any arguments, for the tests that look at the engine below the
// typed functions: the arguments are encoded as a typed function encodes them, and the answer
// comes back as the engine judged it, "error" and "result" unread.

#include <json/value.h>

#include <string>

#include "client/engine.h"

namespace zolt_test {

template <class... Args>
Json::Value rpc_call(zoltclient* client, const std::string& method, const Args&... args) {
    return zolt::exchange(client, method.c_str(), zolt::encode_params(args...));
}

}  // namespace zolt_test
