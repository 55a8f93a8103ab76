#include "cli/output.h"

#include <json/writer.h>

#include <algorithm>
#include <memory>
#include <set>
#include <sstream>
#include <vector>

namespace zolt_cli {
namespace {

// A scalar as JSON text: JsonCpp's writer does the escaping and the number forms; UTF-8 passes
// through unescaped, so names in other scripts stay readable.
// The writer's settings are made once, not for every scalar written.
std::string scalar_json(const Json::Value& value) {
    static const Json::StreamWriterBuilder builder = [] {
        Json::StreamWriterBuilder settings;
        settings["indentation"] = "";
        settings["emitUTF8"] = true;
        return settings;
    }();
    return Json::writeString(builder, value);
}

const Type* part(const Type* type, std::size_t index) {
    return type != nullptr && index < type->part_count ? type->parts[index] : nullptr;
}

// The members of an object in the order to write them: a record's declared fields first, then
// anything else by name (the library's writers add nothing, but a row or an unknown object may).
std::vector<std::pair<std::string, const Type*>> members_in_order(const Json::Value& object,
                                                                  const Type* type) {
    std::vector<std::pair<std::string, const Type*>> order;
    std::set<std::string> placed;
    if (type != nullptr && type->kind == Kind::record) {
        for (std::size_t i = 0; i < type->member_count; ++i) {
            const Member& member = type->members[i];
            if (object.isMember(member.key)) {
                order.emplace_back(member.key, member.type);
                placed.insert(member.key);
            }
        }
    } else if (type != nullptr && type->kind == Kind::map) {
        // A get-all's row.
        for (const char* name : {"key", "val"}) {
            if (object.isMember(name)) {
                order.emplace_back(name, part(type, name[0] == 'k' ? 0 : 1));
                placed.insert(name);
            }
        }
    }
    for (const std::string& name : object.getMemberNames()) {
        if (placed.count(name) == 0) order.emplace_back(name, nullptr);
    }
    return order;
}

// The type of an array's element `index`.
const Type* element_type(const Type* type, std::size_t index) {
    if (type == nullptr) return nullptr;
    if (type->kind == Kind::list) return part(type, 0);
    if (type->kind == Kind::tuple) return part(type, index);
    if (type->kind == Kind::map) return type;  // each row is read against the map itself
    return nullptr;
}

void write_value(std::ostream& out, const Json::Value& value, const Type* type, int depth,
                 bool pretty) {
    const std::string pad = pretty ? std::string(2 * (depth + 1), ' ') : "";
    const std::string close_pad = pretty ? std::string(2 * depth, ' ') : "";
    const char* newline = pretty ? "\n" : "";
    if (value.isObject() && !value.empty()) {
        out << '{' << newline;
        const auto order = members_in_order(value, type);
        for (std::size_t i = 0; i < order.size(); ++i) {
            out << pad << scalar_json(Json::Value(order[i].first)) << (pretty ? ": " : ":");
            write_value(out, value[order[i].first], order[i].second, depth + 1, pretty);
            out << (i + 1 < order.size() ? "," : "") << newline;
        }
        out << close_pad << '}';
    } else if (value.isArray() && !value.empty()) {
        out << '[' << newline;
        for (Json::ArrayIndex i = 0; i < value.size(); ++i) {
            out << pad;
            write_value(out, value[i], element_type(type, i), depth + 1, pretty);
            out << (i + 1 < value.size() ? "," : "") << newline;
        }
        out << close_pad << ']';
    } else if (value.isObject()) {
        out << "{}";
    } else if (value.isArray()) {
        out << "[]";
    } else {
        out << scalar_json(value);
    }
}

// A cell of a table: texts bare, null empty, anything else as compact JSON.
std::string cell(const Json::Value& value, const Type* type) {
    if (value.isString()) return value.asString();
    if (value.isNull()) return "";
    return compact_json(value, type);
}

void write_get_all(std::ostream& out, const Json::Value& rows, const Type* type) {
    const Type* key = part(type, 0);
    const Type* val = part(type, 1);
    const bool tuple_key = key != nullptr && key->kind == Kind::tuple;
    const bool record_val = val != nullptr && val->kind == Kind::record;
    const bool key_only = val != nullptr && val->kind == Kind::tuple;

    std::vector<std::string> header;
    if (tuple_key) {
        for (std::size_t i = 0; i < key->part_count; ++i) {
            header.push_back("key" + std::to_string(i + 1));
        }
    } else {
        header.push_back("key");
    }
    if (record_val) {
        for (std::size_t i = 0; i < val->member_count; ++i) header.push_back(val->members[i].key);
    } else if (!key_only) {
        header.push_back("val");
    }

    std::vector<std::vector<std::string>> table{header};
    for (const Json::Value& row : rows) {
        std::vector<std::string> line;
        const Json::Value& k = row["key"];
        if (tuple_key) {
            for (std::size_t i = 0; i < key->part_count; ++i) {
                line.push_back(cell(k[static_cast<Json::ArrayIndex>(i)], part(key, i)));
            }
        } else {
            line.push_back(cell(k, key));
        }
        const Json::Value& v = row["val"];
        if (record_val) {
            for (std::size_t i = 0; i < val->member_count; ++i) {
                line.push_back(cell(v[val->members[i].key], val->members[i].type));
            }
        } else if (!key_only) {
            line.push_back(cell(v, val));
        }
        table.push_back(line);
    }
    write_rows(out, table);
}

}  // namespace

void write_json(std::ostream& out, const Json::Value& value, const Type* type) {
    write_value(out, value, type, 0, true);
    out << '\n';
}

std::string compact_json(const Json::Value& value, const Type* type) {
    std::ostringstream out;
    write_value(out, value, type, 0, false);
    return out.str();
}

void write_rows(std::ostream& out, const std::vector<std::vector<std::string>>& rows) {
    std::vector<std::size_t> width;
    for (const auto& row : rows) {
        if (width.size() < row.size()) width.resize(row.size(), 0);
        for (std::size_t i = 0; i < row.size(); ++i) width[i] = std::max(width[i], row[i].size());
    }
    for (const auto& row : rows) {
        std::string line;
        for (std::size_t i = 0; i < row.size(); ++i) {
            line += row[i];
            if (i + 1 < row.size()) line += std::string(width[i] - row[i].size() + 2, ' ');
        }
        out << line << '\n';
    }
}

void write_table(std::ostream& out, const Json::Value& value, const Type* type) {
    const Kind kind = type != nullptr ? type->kind : Kind::opaque;
    if (kind == Kind::map && value.isArray()) {
        write_get_all(out, value, type);
    } else if (kind == Kind::record && value.isObject()) {
        std::vector<std::vector<std::string>> lines;
        for (const auto& [name, member_type] : members_in_order(value, type)) {
            lines.push_back({name, cell(value[name], member_type)});
        }
        write_rows(out, lines);
    } else if (kind == Kind::list && value.isArray()) {
        for (const Json::Value& element : value) out << cell(element, part(type, 0)) << '\n';
    } else {
        out << cell(value, type) << '\n';
    }
}

}  // namespace zolt_cli
