#include "state/state.h"

#include <json/reader.h>
#include <json/writer.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cstdio>
#include <ctime>
#include <exception>
#include <fstream>
#include <map>
#include <memory>
#include <set>
#include <sstream>
#include <utility>

#include "client/errors.h"
#include "state/tables.h"

namespace zolt_state {

const char* const kFormatMember = "format";

CallError::CallError(const std::string& method, int code)
    : std::runtime_error(method + ": the switch answered error code " + std::to_string(code)),
      method_(method),
      code_(code) {}

namespace {

// --- the document in the engine's own form ----------------------------------------------------

// A row with its key and value as the codecs write them back; a singleton is one row whose key
// is null. The value of a record may name only some of its fields.
struct Row {
    Json::Value key;
    Json::Value val;
};

// The tables of a document by their place in kConfigTables, so that iteration follows the order
// in which a configuration is written.
using Doc = std::map<std::size_t, std::vector<Row>>;

const ConfigTable& table_at(std::size_t index) { return kConfigTables[index]; }

bool find_table(const std::string& name, std::size_t* index) {
    for (std::size_t i = 0; i < kConfigTableCount; ++i) {
        if (name == kConfigTables[i].name) {
            *index = i;
            return true;
        }
    }
    return false;
}

const Field* find_field(const ConfigTable& table, const std::string& name) {
    for (std::size_t i = 0; i < table.field_count; ++i) {
        if (name == table.fields[i].name) return &table.fields[i];
    }
    return nullptr;
}

// A scalar as compact JSON; UTF-8 passes through unescaped.
std::string scalar_json(const Json::Value& value) {
    static const Json::StreamWriterBuilder builder = [] {
        Json::StreamWriterBuilder settings;
        settings["indentation"] = "";
        settings["emitUTF8"] = true;
        return settings;
    }();
    return Json::writeString(builder, value);
}

// Writes JSON two blanks a level (`pretty`) or on one line. An object whose record `fields` are
// known has those first, in declared order; any other object has its members by name.
void write_value(std::ostream& out, const Json::Value& value, int depth, bool pretty,
                 const Field* fields = nullptr, std::size_t field_count = 0) {
    const std::string pad = pretty ? std::string(2 * (depth + 1), ' ') : "";
    const std::string close_pad = pretty ? std::string(2 * depth, ' ') : "";
    const char* newline = pretty ? "\n" : "";
    if (value.isObject() && !value.empty()) {
        std::vector<std::string> order;
        std::set<std::string> placed;
        for (std::size_t i = 0; i < field_count; ++i) {
            if (value.isMember(fields[i].name)) {
                order.emplace_back(fields[i].name);
                placed.insert(fields[i].name);
            }
        }
        for (const std::string& name : value.getMemberNames()) {
            if (placed.count(name) == 0) order.push_back(name);
        }
        out << '{' << newline;
        for (std::size_t i = 0; i < order.size(); ++i) {
            out << pad << scalar_json(Json::Value(order[i])) << (pretty ? ": " : ":");
            write_value(out, value[order[i]], depth + 1, pretty);
            out << (i + 1 < order.size() ? "," : "") << newline;
        }
        out << close_pad << '}';
    } else if (value.isArray() && !value.empty()) {
        out << '[' << newline;
        for (Json::ArrayIndex i = 0; i < value.size(); ++i) {
            out << pad;
            write_value(out, value[i], depth + 1, pretty);
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

// A table's value on one line, a record's fields in declared order.
std::string value_json(const ConfigTable& table, const Json::Value& value) {
    std::ostringstream out;
    write_value(out, value, 0, false, table.fields, table.field_count);
    return out.str();
}

std::string compact(const Json::Value& value) {
    std::ostringstream out;
    write_value(out, value, 0, false);
    return out.str();
}

// "port.config, key "Gi 1/1", field MTU": where in a document something is.
std::string where(const std::string& table, const Json::Value& key = Json::Value(),
                  const std::string& field = std::string()) {
    std::string text = table;
    if (!key.isNull()) text += ", key " + compact(key);
    if (!field.empty()) text += ", field " + field;
    return text;
}

std::string field_names(const ConfigTable& table) {
    std::string text;
    for (std::size_t i = 0; i < table.field_count; ++i) {
        text += (i ? ", " : "") + std::string(table.fields[i].name);
    }
    return text;
}

// The codecs read a number of the right JSON type and cut it to the field's width without a
// word (300 as a u8 is 44). A document means what it says, so a number that does not come back
// as itself is refused; the other forms a codec rewrites (a MAC's letter case, a byte list's)
// keep their value.
bool same_number(const Json::Value& a, const Json::Value& b) {
    if (!a.isNumeric() || !b.isNumeric()) return false;
    if (a.isIntegral() && b.isIntegral()) {
        if (a.isInt64() && b.isInt64()) return a.asInt64() == b.asInt64();
        return a.isUInt64() && b.isUInt64() && a.asUInt64() == b.asUInt64();
    }
    return a.asDouble() == b.asDouble();
}

// The first number of `given` that `decoded` does not hold as itself, as "GIVEN does not fit its
// type (it would be sent as DECODED)"; empty when every number came back.
std::string number_changed(const Json::Value& given, const Json::Value& decoded) {
    if (given.isNumeric()) {
        if (same_number(given, decoded)) return std::string();
        return scalar_json(given) + " does not fit its type (it would be sent as " +
               scalar_json(decoded) + ")";
    }
    if (given.isArray() && decoded.isArray() && given.size() == decoded.size()) {
        for (Json::ArrayIndex i = 0; i < given.size(); ++i) {
            const std::string text = number_changed(given[i], decoded[i]);
            if (!text.empty()) return text;
        }
    }
    if (given.isObject() && decoded.isObject()) {
        for (const std::string& name : decoded.getMemberNames()) {
            if (!given.isMember(name)) continue;
            const std::string text = number_changed(given[name], decoded[name]);
            if (!text.empty()) return text;
        }
    }
    return std::string();
}

// A codec's round trip of `value`, refusing a number it would change.
Json::Value decoded(const zolt_tool::Codec& codec, const Json::Value& value) {
    Json::Value result = codec.round_trip(value);
    const std::string changed = number_changed(value, result);
    if (!changed.empty()) throw std::range_error(changed);
    return result;
}

Json::Value decode_key(const ConfigTable& table, const Json::Value& key) {
    try {
        if (table.key_count == 1) return decoded(*table.keys[0], key);
        if (!key.isArray() || key.size() != table.key_count) {
            throw DocumentError(where(table.name, key) + ": the key is an array of " +
                                std::to_string(table.key_count) + " members");
        }
        Json::Value members(Json::arrayValue);
        for (Json::ArrayIndex i = 0; i < key.size(); ++i) {
            members.append(decoded(*table.keys[i], key[i]));
        }
        return members;
    } catch (const DocumentError&) {
        throw;
    } catch (const std::exception& e) {
        throw DocumentError(where(table.name, key) + ": " + e.what());
    }
}

// A value decoded by its codec. A record's fields are decoded one by one, so that a row may name
// only some of them and a refusal names the field; a name the record does not have is refused
// (the record's own codec would pass over it in silence).
Json::Value decode_value(const ConfigTable& table, const Json::Value& key,
                         const Json::Value& value) {
    if (table.field_count == 0) {
        try {
            return decoded(*table.value, value);
        } catch (const std::exception& e) {
            throw DocumentError(where(table.name, key) + ": " + e.what());
        }
    }
    if (!value.isObject()) {
        throw DocumentError(where(table.name, key) + ": the value is an object of fields (" +
                            field_names(table) + ")");
    }
    Json::Value fields(Json::objectValue);
    for (const std::string& name : value.getMemberNames()) {
        const Field* field = find_field(table, name);
        if (field == nullptr) {
            throw DocumentError(where(table.name, key) + ": no field \"" + name +
                                "\"; its fields: " + field_names(table));
        }
        try {
            fields[name] = decoded(*field->codec, value[name]);
        } catch (const std::exception& e) {
            throw DocumentError(where(table.name, key, name) + ": " + e.what());
        }
    }
    return fields;
}

// The fields of a record that `value` does not name, comma-separated; empty when it is whole.
std::string missing_fields(const ConfigTable& table, const Json::Value& value) {
    std::string text;
    for (std::size_t i = 0; i < table.field_count; ++i) {
        if (!value.isMember(table.fields[i].name)) {
            text += (text.empty() ? "" : ", ") + std::string(table.fields[i].name);
        }
    }
    return text;
}

Doc load(const Json::Value& document) {
    if (!document.isObject()) throw DocumentError("a document is a JSON object");
    const Json::Value& format = document[kFormatMember];
    if (format.isNull()) {
        throw DocumentError(std::string("the document has no \"") + kFormatMember +
                            "\" member (this version reads " + std::to_string(kFormatVersion) +
                            ")");
    }
    if (!format.isIntegral() || format.asLargestInt() != kFormatVersion) {
        throw DocumentError("format " + compact(format) + " is not supported (this version reads " +
                            std::to_string(kFormatVersion) + ")");
    }
    Doc doc;
    for (const std::string& name : document.getMemberNames()) {
        if (name == kFormatMember) continue;
        std::size_t index = 0;
        if (!find_table(name, &index)) {
            throw DocumentError("\"" + name + "\" is no configuration table");
        }
        const ConfigTable& table = table_at(index);
        const Json::Value& member = document[name];
        std::vector<Row>& rows = doc[index];
        if (table.key_count == 0) {
            rows.push_back({Json::Value(), decode_value(table, Json::Value(), member)});
            continue;
        }
        if (!member.isArray()) {
            throw DocumentError(name + ": a keyed table is an array of {\"key\", \"val\"} rows");
        }
        std::set<Json::Value> seen;
        for (Json::ArrayIndex i = 0; i < member.size(); ++i) {
            const Json::Value& row = member[i];
            if (!row.isObject() || !row.isMember("key") || !row.isMember("val") ||
                row.size() != 2) {
                throw DocumentError(name + ", row " + std::to_string(i + 1) +
                                    ": a row is an object of \"key\" and \"val\"");
            }
            Json::Value key = decode_key(table, row["key"]);
            if (!seen.insert(key).second) {
                throw DocumentError(where(name, key) + ": the row appears twice");
            }
            Json::Value val = decode_value(table, key, row["val"]);
            rows.push_back({std::move(key), std::move(val)});
        }
    }
    return doc;
}

Json::Value to_document(const Doc& doc) {
    Json::Value document(Json::objectValue);
    document[kFormatMember] = kFormatVersion;
    for (const auto& [index, rows] : doc) {
        const ConfigTable& table = table_at(index);
        if (table.key_count == 0) {
            document[table.name] = rows.empty() ? Json::Value() : rows[0].val;
            continue;
        }
        Json::Value array(Json::arrayValue);
        for (const Row& row : rows) {
            Json::Value object(Json::objectValue);
            object["key"] = row.key;
            object["val"] = row.val;
            array.append(object);
        }
        document[table.name] = array;
    }
    return document;
}

// --- the switch -------------------------------------------------------------------------------

// The tables at `indices`, read whole, as a document.
Json::Value read_tables(void* handle, const std::set<std::size_t>& indices) {
    Json::Value document(Json::objectValue);
    document[kFormatMember] = kFormatVersion;
    for (std::size_t index : indices) {
        const ConfigTable& table = table_at(index);
        Json::Value output;
        const int code = table.read->invoke(handle, Json::Value(Json::arrayValue), &output);
        if (code != 0) throw CallError(table.read->method, code);
        if (table.key_count != 0 && output.isNull()) output = Json::Value(Json::arrayValue);
        document[table.name] = output;
    }
    return document;
}

std::set<std::size_t> tables_of(const Doc& doc) {
    std::set<std::size_t> indices;
    for (const auto& entry : doc) indices.insert(entry.first);
    return indices;
}

// An exception's text with the library's detail, if it has any, in parentheses.
std::string exception_text(const std::exception& e) {
    const std::string detail = zolt::describe(e);
    return detail.empty() ? std::string(e.what()) : std::string(e.what()) + " (" + detail + ")";
}

const zolt_tool::Invoker* invoker_of(const ConfigTable& table, const std::string& kind) {
    if (kind == "delete") return table.del;
    if (kind == "add" && table.add != nullptr) return table.add;
    return table.set;
}

// Makes one call of a plan; returns an empty text on success, else what failed. `code` gets the
// switch's error code, 0 when the library threw.
std::string run(void* handle, const Call& call, int* code) {
    std::size_t index = 0;
    *code = 0;
    const std::string subject = call.method + (call.key.isNull() ? "" : " " + compact(call.key));
    if (!find_table(call.table, &index)) return subject + ": no such configuration table";
    const zolt_tool::Invoker* invoker = invoker_of(table_at(index), call.kind);
    try {
        Json::Value unused;
        *code = invoker->invoke(handle, call.args, &unused);
        if (*code == 0) return std::string();
        return subject + ": the switch answered error code " + std::to_string(*code);
    } catch (const std::exception& e) {
        return subject + ": " + exception_text(e);
    }
}

// --- plans ------------------------------------------------------------------------------------

Json::Value key_args(const ConfigTable& table, const Json::Value& key) {
    Json::Value args(Json::arrayValue);
    if (table.key_count == 1) {
        args.append(key);
    } else {
        for (const Json::Value& member : key) args.append(member);
    }
    return args;
}

Call make_call(const ConfigTable& table, const std::string& kind, const Json::Value& key,
               const Json::Value* value) {
    Call call;
    call.kind = kind;
    call.table = table.name;
    call.key = key;
    call.method = invoker_of(table, kind)->method;
    call.args = key_args(table, key);
    if (value != nullptr) call.args.append(*value);
    return call;
}

// `desired` over `live`: a record's named fields replace the live ones, any other value
// replaces the live value whole.
Json::Value merged(const ConfigTable& table, const Json::Value& live, const Json::Value& desired) {
    if (table.field_count == 0) return desired;
    Json::Value value = live;
    for (const std::string& name : desired.getMemberNames()) value[name] = desired[name];
    return value;
}

// A row that `replace` wants gone from a table that has no delete.
struct Unremovable {
    std::size_t table;
    Json::Value key;
};

// The plan from `live` to `desired`. Rows that replace cannot remove go to `unremovable` when it
// is given, else make the plan fail.
std::vector<Call> plan_calls(const Doc& live, const Doc& desired, bool replace,
                             std::vector<Unremovable>* unremovable) {
    std::vector<Call> deletions;
    std::vector<Unremovable> stuck;
    if (replace) {
        for (auto it = desired.rbegin(); it != desired.rend(); ++it) {
            const ConfigTable& table = table_at(it->first);
            if (table.key_count == 0) continue;
            std::set<Json::Value> wanted;
            for (const Row& row : it->second) wanted.insert(row.key);
            const auto found = live.find(it->first);
            if (found == live.end()) continue;
            const std::vector<Row>& rows = found->second;
            for (auto row = rows.rbegin(); row != rows.rend(); ++row) {
                if (wanted.count(row->key) != 0) continue;
                if (table.del == nullptr) {
                    stuck.push_back({it->first, row->key});
                } else {
                    deletions.push_back(make_call(table, "delete", row->key, nullptr));
                }
            }
        }
    }
    if (!stuck.empty()) {
        if (unremovable != nullptr) {
            *unremovable = stuck;
        } else {
            std::string text = "these rows are not in the document, and their tables have no delete:";
            for (const Unremovable& u : stuck) text += "\n  " + where(table_at(u.table).name, u.key);
            throw PlanError(text);
        }
    }

    std::vector<Call> calls = std::move(deletions);
    for (const auto& [index, rows] : desired) {
        const ConfigTable& table = table_at(index);
        std::map<Json::Value, const Json::Value*> current;
        const auto found = live.find(index);
        if (found != live.end()) {
            for (const Row& row : found->second) current[row.key] = &row.val;
        }
        for (const Row& row : rows) {
            const auto have = current.find(row.key);
            if (have != current.end()) {
                const Json::Value value = merged(table, *have->second, row.val);
                if (value != *have->second) {
                    calls.push_back(make_call(table, "set", row.key, &value));
                }
                continue;
            }
            if (table.key_count == 0 || table.per_port) {
                throw PlanError(where(table.name, row.key) +
                                ": the switch has no such row, and this table's rows are never "
                                "added");
            }
            const std::string missing = missing_fields(table, row.val);
            if (!missing.empty()) {
                throw PlanError(where(table.name, row.key) +
                                ": the switch has no such row, and a new row names every field; "
                                "missing: " +
                                missing);
            }
            calls.push_back(make_call(table, "add", row.key, &row.val));
        }
    }
    return calls;
}

// --- differences ------------------------------------------------------------------------------

void compare_rows(const ConfigTable& table, const Row& before, const Row& after,
                  std::vector<Change>& changes) {
    if (table.field_count == 0) {
        if (before.val != after.val) {
            changes.push_back({"changed", table.name, before.key, "", before.val, after.val});
        }
        return;
    }
    for (std::size_t i = 0; i < table.field_count; ++i) {
        const char* name = table.fields[i].name;
        if (!before.val.isMember(name) || !after.val.isMember(name)) continue;
        if (before.val[name] != after.val[name]) {
            changes.push_back({"changed", table.name, before.key, name, before.val[name],
                               after.val[name]});
        }
    }
}

std::vector<Change> diff_docs(const Doc& before, const Doc& after) {
    std::set<std::size_t> indices = tables_of(before);
    for (const auto& entry : after) indices.insert(entry.first);
    static const std::vector<Row> kNone;
    std::vector<Change> changes;
    for (std::size_t index : indices) {
        const ConfigTable& table = table_at(index);
        const auto b = before.find(index);
        const auto a = after.find(index);
        const std::vector<Row>& old_rows = b == before.end() ? kNone : b->second;
        const std::vector<Row>& new_rows = a == after.end() ? kNone : a->second;
        std::map<Json::Value, const Row*> by_key;
        for (const Row& row : new_rows) by_key[row.key] = &row;
        std::set<Json::Value> old_keys;
        for (const Row& row : old_rows) {
            old_keys.insert(row.key);
            const auto match = by_key.find(row.key);
            if (match == by_key.end()) {
                changes.push_back({"removed", table.name, row.key, "", row.val, Json::Value()});
            } else {
                compare_rows(table, row, *match->second, changes);
            }
        }
        for (const Row& row : new_rows) {
            if (old_keys.count(row.key) == 0) {
                changes.push_back({"added", table.name, row.key, "", Json::Value(), row.val});
            }
        }
    }
    return changes;
}

void write_file(const std::string& path, const std::string& text) {
    const std::string temporary = path + ".tmp";
    {
        std::ofstream out(temporary, std::ios::binary | std::ios::trunc);
        out << text;
        out.flush();
        if (!out) {
            std::remove(temporary.c_str());
            throw BackupError("the backup " + path + " cannot be written");
        }
    }
    if (std::rename(temporary.c_str(), path.c_str()) != 0) {
        std::remove(temporary.c_str());
        throw BackupError("the backup " + path + " cannot be written");
    }
}

void roll_back(void* handle, const Doc& backup, ApplyResult& result) {
    const std::set<std::size_t> indices = tables_of(backup);
    try {
        const Doc now = load(read_tables(handle, indices));
        std::vector<Unremovable> stuck;
        result.rollback = plan_calls(now, backup, true, &stuck);
        for (const Call& call : result.rollback) {
            int code = 0;
            const std::string failure = run(handle, call, &code);
            if (failure.empty()) {
                ++result.rollback_done;
            } else {
                result.rollback_failures.push_back(failure);
            }
        }
        for (const Unremovable& u : stuck) {
            result.rollback_failures.push_back(where(table_at(u.table).name, u.key) +
                                               ": added, and the table has no delete");
        }
    } catch (const std::exception& e) {
        result.rollback_failures.push_back("the rollback stopped: " + exception_text(e));
    }
    try {
        result.remaining = diff_docs(backup, load(read_tables(handle, indices)));
    } catch (const std::exception& e) {
        result.rollback_failures.push_back(
            "the switch could not be read to compare it with the backup: " + exception_text(e));
    }
}

}  // namespace

// --- the interface ----------------------------------------------------------------------------

Json::Value snapshot(void* handle, const std::vector<std::string>& prefixes) {
    std::set<std::size_t> indices;
    for (std::size_t i = 0; i < kConfigTableCount; ++i) {
        if (prefixes.empty()) indices.insert(i);
    }
    for (const std::string& prefix : prefixes) {
        bool any = false;
        for (std::size_t i = 0; i < kConfigTableCount; ++i) {
            const std::string name = kConfigTables[i].name;
            if (name == prefix || name.compare(0, prefix.size() + 1, prefix + ".") == 0) {
                indices.insert(i);
                any = true;
            }
        }
        if (!any) {
            throw std::invalid_argument("no configuration table under \"" + prefix + "\"");
        }
    }
    return read_tables(handle, indices);
}

Json::Value check(const Json::Value& document) { return to_document(load(document)); }

std::vector<Change> diff(const Json::Value& before, const Json::Value& after) {
    const Doc old_doc = load(before);
    return diff_docs(old_doc, load(after));
}

std::vector<Call> plan_from(const Json::Value& live, const Json::Value& desired, bool replace) {
    const Doc want = load(desired);
    return plan_calls(load(live), want, replace, nullptr);
}

std::vector<Call> plan(void* handle, const Json::Value& desired, bool replace) {
    const Doc want = load(desired);
    return plan_calls(load(read_tables(handle, tables_of(want))), want, replace, nullptr);
}

ApplyResult apply(void* handle, const Json::Value& desired, bool replace,
                  const std::string& backup_path) {
    const Doc want = load(desired);
    const Doc live = load(read_tables(handle, tables_of(want)));
    ApplyResult result;
    result.calls = plan_calls(live, want, replace, nullptr);
    if (result.calls.empty()) return result;

    Doc backup;
    for (const Call& call : result.calls) {
        std::size_t index = 0;
        find_table(call.table, &index);
        backup[index] = live.at(index);
    }
    result.backup = backup_path.empty() ? default_backup_path() : backup_path;
    write_file(result.backup, document_text(to_document(backup)));

    for (const Call& call : result.calls) {
        int code = 0;
        const std::string failure = run(handle, call, &code);
        if (!failure.empty()) {
            result.failed = true;
            result.failure = failure;
            result.failure_code = code;
            break;
        }
        ++result.done;
    }
    if (result.failed) roll_back(handle, backup, result);
    return result;
}

std::string default_backup_path() {
    const std::time_t now = std::time(nullptr);
    std::tm utc{};
    gmtime_r(&now, &utc);
    char stamp[32];
    std::strftime(stamp, sizeof stamp, "%Y%m%dT%H%M%SZ", &utc);
    const std::string stem = std::string("zolt-backup-") + stamp;
    std::string path = stem + ".json";
    struct stat info {};
    for (int n = 2; ::stat(path.c_str(), &info) == 0; ++n) {
        path = stem + "-" + std::to_string(n) + ".json";
    }
    return path;
}

// --- reading and writing ----------------------------------------------------------------------

Json::Value parse_document(const std::string& text) {
    Json::CharReaderBuilder builder;
    builder["allowComments"] = false;
    builder["failIfExtra"] = true;
    builder["rejectDupKeys"] = true;
    const std::unique_ptr<Json::CharReader> reader(builder.newCharReader());
    Json::Value document;
    std::string errors;
    if (!reader->parse(text.data(), text.data() + text.size(), &document, &errors)) {
        while (!errors.empty() && errors.back() == '\n') errors.pop_back();
        throw DocumentError("not JSON: " + errors);
    }
    return document;
}

std::string document_text(const Json::Value& document) {
    std::ostringstream out;
    if (!document.isObject()) {
        write_value(out, document, 0, true);
        out << '\n';
        return out.str();
    }
    std::vector<std::string> names;
    if (document.isMember(kFormatMember)) names.emplace_back(kFormatMember);
    for (std::size_t i = 0; i < kConfigTableCount; ++i) {
        if (document.isMember(kConfigTables[i].name)) names.emplace_back(kConfigTables[i].name);
    }
    for (const std::string& name : document.getMemberNames()) {
        std::size_t index = 0;
        if (name != kFormatMember && !find_table(name, &index)) names.push_back(name);
    }
    out << "{\n";
    for (std::size_t n = 0; n < names.size(); ++n) {
        const Json::Value& member = document[names[n]];
        out << "  " << scalar_json(Json::Value(names[n])) << ": ";
        std::size_t index = 0;
        if (!find_table(names[n], &index)) {
            write_value(out, member, 1, true);
        } else if (table_at(index).key_count == 0 || !member.isArray() || member.empty()) {
            write_value(out, member, 1, true, table_at(index).fields, table_at(index).field_count);
        } else {
            const ConfigTable& table = table_at(index);
            out << "[\n";
            for (Json::ArrayIndex i = 0; i < member.size(); ++i) {
                const Json::Value& row = member[i];
                if (!row.isObject()) {
                    out << "    ";
                    write_value(out, row, 2, true);
                } else {
                    out << "    {\n      \"key\": ";
                    write_value(out, row["key"], 3, true);
                    out << ",\n      \"val\": ";
                    write_value(out, row["val"], 3, true, table.fields, table.field_count);
                    out << "\n    }";
                }
                out << (i + 1 < member.size() ? ",\n" : "\n");
            }
            out << "  ]";
        }
        out << (n + 1 < names.size() ? ",\n" : "\n");
    }
    out << "}\n";
    return out.str();
}

std::string call_text(const Call& call) {
    const char* mark = call.kind == "delete" ? "- " : call.kind == "add" ? "+ " : "~ ";
    std::size_t index = 0;
    const bool known = find_table(call.table, &index);
    std::string text = mark + call.method;
    for (Json::ArrayIndex i = 0; i < call.args.size(); ++i) {
        const bool value = call.kind != "delete" && i + 1 == call.args.size();
        text += " " + (value && known ? value_json(table_at(index), call.args[i])
                                      : compact(call.args[i]));
    }
    return text;
}

std::string change_text(const Change& change) {
    const char* mark = change.kind == "added" ? "+ " : change.kind == "removed" ? "- " : "~ ";
    std::string text = mark + change.table;
    if (!change.key.isNull()) text += " " + compact(change.key);
    std::size_t index = 0;
    const bool known = find_table(change.table, &index);
    auto value = [&](const Json::Value& v) {
        return known && change.field.empty() ? value_json(table_at(index), v) : compact(v);
    };
    if (change.kind == "added") return text + " " + value(change.after);
    if (change.kind == "removed") return text + " " + value(change.before);
    if (!change.field.empty()) text += " " + change.field + ":";
    return text + " " + value(change.before) + " -> " + value(change.after);
}

Json::Value to_json(const Call& call) {
    Json::Value object(Json::objectValue);
    object["kind"] = call.kind;
    object["table"] = call.table;
    if (!call.key.isNull()) object["key"] = call.key;
    object["method"] = call.method;
    object["args"] = call.args;
    return object;
}

Json::Value to_json(const Change& change) {
    Json::Value object(Json::objectValue);
    object["kind"] = change.kind;
    object["table"] = change.table;
    if (!change.key.isNull()) object["key"] = change.key;
    if (!change.field.empty()) object["field"] = change.field;
    if (change.kind != "added") object["before"] = change.before;
    if (change.kind != "removed") object["after"] = change.after;
    return object;
}

Json::Value to_json(const std::vector<Call>& calls) {
    Json::Value array(Json::arrayValue);
    for (const Call& call : calls) array.append(to_json(call));
    return array;
}

Json::Value to_json(const std::vector<Change>& changes) {
    Json::Value array(Json::arrayValue);
    for (const Change& change : changes) array.append(to_json(change));
    return array;
}

Json::Value to_json(const ApplyResult& result) {
    Json::Value object(Json::objectValue);
    object["calls"] = to_json(result.calls);
    object["done"] = static_cast<Json::UInt64>(result.done);
    object["backup"] = result.backup.empty() ? Json::Value() : Json::Value(result.backup);
    object["failed"] = result.failed;
    if (result.failed) {
        object["failure"] = result.failure;
        object["failure_code"] = result.failure_code;
        object["rollback"] = to_json(result.rollback);
        object["rollback_done"] = static_cast<Json::UInt64>(result.rollback_done);
        Json::Value failures(Json::arrayValue);
        for (const std::string& f : result.rollback_failures) failures.append(f);
        object["rollback_failures"] = failures;
        object["remaining"] = to_json(result.remaining);
    }
    return object;
}

}  // namespace zolt_state
