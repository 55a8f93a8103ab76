#include "client/methods.h"

#include <stdexcept>
#include <string>

#include "client/errors.h"

namespace zolt {

int error_code(const Json::Value& error) {
    if (!error.isObject()) return -1;
    const Json::Value& code = error["code"];
    return code.isInt() ? code.asInt() : -1;
}

void throw_result_not_array() { throw answer_error("Result is not an array", 0, std::string()); }

}  // namespace zolt
