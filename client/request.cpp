#include "client/request.h"

#include <json/writer.h>

#include <charconv>
#include <cstddef>

namespace zolt {

namespace {

// StyledWriter's right margin: an array whose one-line form would reach it is broken.
constexpr std::size_t kRightMargin = 74;
constexpr std::size_t kIndent = 3;

// A byte StyledWriter writes as itself inside quotes, apart from '"' and '\' which it escapes
// with a backslash. Everything else (controls, bytes of multi-byte characters) takes its
// \u escapes and is left to StyledWriter.
bool plain(unsigned char c) { return c >= 0x20 && c < 0x7F; }

bool has_comment(const Json::Value& value) {
    return value.hasComment(Json::commentBefore) ||
           value.hasComment(Json::commentAfterOnSameLine) || value.hasComment(Json::commentAfter);
}

class Writer {
public:
    explicit Writer(std::string& text) : text_(text) {}

    bool value(const Json::Value& value) {
        if (has_comment(value)) return false;
        switch (value.type()) {
            case Json::arrayValue:
                return array(value);
            case Json::objectValue:
                return object(value);
            default:
                return scalar(value);
        }
    }

    bool quoted(const char* begin, const char* end) {
        text_ += '"';
        for (const char* c = begin; c != end; ++c) {
            if (!plain(static_cast<unsigned char>(*c))) return false;
            if (*c == '"' || *c == '\\') text_ += '\\';
            text_ += *c;
        }
        text_ += '"';
        return true;
    }

private:
    // A new line at the current depth, unless the text already ends in a blank: after " : " and
    // after an indent the value follows on the same line.
    void indent() {
        if (!text_.empty()) {
            const char last = text_.back();
            if (last == ' ') return;
            if (last != '\n') text_ += '\n';
        }
        text_.append(depth_ * kIndent, ' ');
    }

    bool scalar(const Json::Value& value) {
        char digits[24];
        switch (value.type()) {
            case Json::nullValue:
                text_ += "null";
                return true;
            case Json::intValue: {
                const auto end =
                    std::to_chars(digits, digits + sizeof digits, value.asLargestInt()).ptr;
                text_.append(digits, end);
                return true;
            }
            case Json::uintValue: {
                const auto end =
                    std::to_chars(digits, digits + sizeof digits, value.asLargestUInt()).ptr;
                text_.append(digits, end);
                return true;
            }
            case Json::booleanValue:
                text_ += value.asBool() ? "true" : "false";
                return true;
            case Json::stringValue: {
                const char* begin = nullptr;
                const char* end = nullptr;
                return value.getString(&begin, &end) && quoted(begin, end);
            }
            default:  // a real number: its digits are StyledWriter's to choose
                return false;
        }
    }

    // The length of a scalar's or an empty container's text, without writing it.
    static bool one_line_length(const Json::Value& value, std::size_t& length) {
        char digits[24];
        switch (value.type()) {
            case Json::nullValue:
                length = 4;
                return true;
            case Json::intValue:
                length = static_cast<std::size_t>(
                    std::to_chars(digits, digits + sizeof digits, value.asLargestInt()).ptr -
                    digits);
                return true;
            case Json::uintValue:
                length = static_cast<std::size_t>(
                    std::to_chars(digits, digits + sizeof digits, value.asLargestUInt()).ptr -
                    digits);
                return true;
            case Json::booleanValue:
                length = value.asBool() ? 4 : 5;
                return true;
            case Json::stringValue: {
                const char* begin = nullptr;
                const char* end = nullptr;
                if (!value.getString(&begin, &end)) return false;
                length = 2;
                for (const char* c = begin; c != end; ++c) {
                    length += (*c == '"' || *c == '\\') ? 2 : 1;
                }
                return true;
            }
            case Json::arrayValue:
            case Json::objectValue:
                length = 2;  // "[]" or "{}": only empty containers are asked
                return true;
            default:
                return false;
        }
    }

    bool array(const Json::Value& value) {
        const Json::ArrayIndex size = value.size();
        if (size == 0) {
            text_ += "[]";
            return true;
        }
        // One line when every element is a scalar or empty and "[ a, b ]" stays short.
        bool broken = size * 3 >= kRightMargin;
        for (Json::ArrayIndex i = 0; i < size && !broken; ++i) {
            const Json::Value& element = value[i];
            broken = (element.isArray() || element.isObject()) && !element.empty();
        }
        if (!broken) {
            std::size_t line = 4 + (size - 1) * 2;
            for (Json::ArrayIndex i = 0; i < size; ++i) {
                std::size_t length = 0;
                if (has_comment(value[i]) || !one_line_length(value[i], length)) return false;
                line += length;
            }
            broken = line >= kRightMargin;
        }
        if (!broken) {
            text_ += "[ ";
            for (Json::ArrayIndex i = 0; i < size; ++i) {
                if (i > 0) text_ += ", ";
                if (!this->value(value[i])) return false;
            }
            text_ += " ]";
            return true;
        }
        indent();
        text_ += '[';
        ++depth_;
        for (Json::ArrayIndex i = 0; i < size; ++i) {
            if (i > 0) text_ += ',';
            indent();
            if (!this->value(value[i])) return false;
        }
        --depth_;
        indent();
        text_ += ']';
        return true;
    }

    bool object(const Json::Value& value) {
        if (value.empty()) {
            text_ += "{}";
            return true;
        }
        indent();
        text_ += '{';
        ++depth_;
        bool first = true;
        // The members come in the order of their names, as StyledWriter lists them.
        for (auto it = value.begin(); it != value.end(); ++it) {
            if (!first) text_ += ',';
            first = false;
            const char* end = nullptr;
            const char* name = it.memberName(&end);
            indent();
            if (name == nullptr || !quoted(name, end)) return false;
            text_ += " : ";
            if (!this->value(*it)) return false;
        }
        --depth_;
        indent();
        text_ += '}';
        return true;
    }

    std::string& text_;
    std::size_t depth_ = 1;  // everything written here is inside the request object
};

}  // namespace

std::string styled(const Json::Value& value) {
#pragma GCC diagnostic push
#pragma GCC diagnostic ignored "-Wdeprecated-declarations"
    // Value::toStyledString() of this JsonCpp indents with tabs and breaks every array; the
    // older StyledWriter still writes the form the switch is addressed in.
    Json::StyledWriter writer;
#pragma GCC diagnostic pop
    return writer.write(value);
}

void write_request(const char* method, const Json::Value& params, std::string& text) {
    // The members in the order of their names: "id", "method", "params".
    text.assign("{\n   \"id\" : \"jsonrpc\",\n   \"method\" : ");
    Writer writer(text);
    const char* method_end = method;
    while (*method_end != '\0') ++method_end;
    if (writer.quoted(method, method_end)) {
        text += ",\n   \"params\" : ";
        if (writer.value(params)) {
            text += "\n}\n";
            return;
        }
    }
    Json::Value request(Json::objectValue);
    request["method"] = method;
    request["id"] = "jsonrpc";
    request["params"] = params;
    text = styled(request);
}

}  // namespace zolt
