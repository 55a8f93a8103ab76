#include "codec/record.h"

#include <cstring>
#include <stdexcept>

namespace zolt {

void throw_out_of_range_enum() { throw std::runtime_error("out-of-range-enum"); }

void throw_unexpected_type() { throw std::runtime_error("Unexpected type"); }

bool text_equals(const Json::Value& json, const char* text) {
    const char* begin = nullptr;
    const char* end = nullptr;
    if (!json.getString(&begin, &end)) return false;
    const std::size_t length = static_cast<std::size_t>(end - begin);
    return length == std::strlen(text) && std::memcmp(begin, text, length) == 0;
}

void require_record(const Json::Value& json) {
    if (!json.isObject() && !json.isNull()) {
        throw std::logic_error(
            "in Json::Value::find(key, end, found): requires objectValue or nullValue");
    }
}

}  // namespace zolt
