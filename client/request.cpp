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

    template <class Number>
    void number(Number number) {
        char digits[24];
        text_.append(digits, std::to_chars(digits, digits + sizeof digits, number).ptr);
    }

    bool scalar(const Json::Value& value) {
        switch (value.type()) {
            case Json::nullValue:
                text_ += "null";
                return true;
            case Json::intValue:
                number(value.asLargestInt());
                return true;
            case Json::uintValue:
                number(value.asLargestUInt());
                return true;
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

    bool array(const Json::Value& value) {
        const Json::ArrayIndex size = value.size();
        if (size == 0) {
            text_ += "[]";
            return true;
        }
        // One line when every element is a scalar or empty and "[ a, b ]" stays under the margin.
        bool broken = size * 3 >= kRightMargin;
        for (Json::ArrayIndex i = 0; i < size && !broken; ++i) {
            const Json::Value& element = value[i];
            broken = (element.isArray() || element.isObject()) && !element.empty();
        }
        if (!broken) {
            // The one-line form, taken back when it reaches the margin.
            const std::size_t start = text_.size();
            text_ += "[ ";
            for (Json::ArrayIndex i = 0; i < size; ++i) {
                if (i > 0) text_ += ", ";
                if (!this->value(value[i])) return false;
            }
            text_ += " ]";
            if (text_.size() - start < kRightMargin) return true;
            text_.resize(start);
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
