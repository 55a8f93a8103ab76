#include "sim/model.h"

#include <json/reader.h>
#include <json/writer.h>

#include <algorithm>
#include <exception>
#include <stdexcept>
#include <utility>

#include "sim/names.h"
#include "sim/seed.h"
#include "sim/words.h"

namespace zolt_sim {

struct Model::Table {
    std::string name;
    int key_count = 0;
    std::vector<const Type*> key;     // one type per key member
    std::vector<const Type*> values;  // the value types; none for a key-only table
    Json::Value fresh;      // a new row's value; the union of the defaults if several types
    bool has_add = false;   // rows are created by `add`, so `set` does not create them
    bool per_port = false;  // a fresh switch holds one default row per port

    bool singleton() const { return key_count == 0; }
};

struct Model::Overload {
    const MethodInfo* info;
    Table* table;        // null for bare calls, which touch no state
    std::size_t params;  // how many params select this overload
};

struct Model::Outcome {
    Json::Value result;
    int code = 0;
    std::string message;
};

namespace {

constexpr const char* kClearCounters = table::port_control_statistics_clear;
constexpr const char* kStaticFdb = table::mac_config_fdb_static;

Json::Value parse_text(const char* text) {
    Json::CharReaderBuilder builder;
    const std::unique_ptr<Json::CharReader> reader(builder.newCharReader());
    Json::Value value;
    std::string errors;
    const std::string source(text);
    if (!reader->parse(source.data(), source.data() + source.size(), &value, &errors)) {
        throw std::logic_error("bad default value " + source + ": " + errors);
    }
    return value;
}

std::size_t param_count(const MethodInfo& method) {
    const std::size_t keys =
        method.table != nullptr ? static_cast<std::size_t>(method.table->key_count) : 0;
    switch (method.shape) {
        case Shape::bare:
        case Shape::get_all:
            return 0;
        case Shape::set:
        case Shape::add:
            return keys + (method.value != nullptr ? 1 : 0);
        default:
            return keys;
    }
}

bool writes(Shape shape) { return shape == Shape::set || shape == Shape::add; }

// Members of `over` replace those of `into`; anything that is not two objects is replaced whole.
Json::Value merge(Json::Value into, const Json::Value& over) {
    if (!into.isObject() || !over.isObject()) return over;
    for (const std::string& name : over.getMemberNames()) into[name] = over[name];
    return into;
}

Json::Value error_object(int code, const std::string& message) {
    Json::Value error(Json::objectValue);
    error[word::code] = code;
    error[word::message] = message;
    return error;
}

Json::Value row(const Json::Value& key, const Json::Value& value) {
    Json::Value entry(Json::objectValue);
    entry[word::key] = key;
    entry[word::val] = value;
    return entry;
}

std::string param_text(std::size_t index) { return "param " + std::to_string(index + 1); }

std::vector<std::string> make_port_names(int count) {
    std::vector<std::string> names;
    for (int i = 1; i <= count; ++i) names.push_back("Gi 1/" + std::to_string(i));
    return names;
}

Json::Value canonical_key(const std::vector<const Type*>& types, const Json::Value& key) {
    if (types.empty()) {
        if (!key.isNull()) throw std::runtime_error("a singleton's key must be null");
        return Json::Value();
    }
    if (!key.isArray() || key.size() != types.size()) {
        throw std::runtime_error("the key must be an array of " + std::to_string(types.size()) +
                                 " members");
    }
    Json::Value out(Json::arrayValue);
    for (Json::ArrayIndex i = 0; i < key.size(); ++i) {
        Json::Value member;
        std::string why;
        if (!check(*types[i], key[i], member, why)) {
            throw std::runtime_error("key member " + std::to_string(i + 1) + ": " + why);
        }
        out.append(member);
    }
    return out;
}

// The members this file and the traffic model read or write, each of its own table. A renamed
// table or key does not build; a key that stays in the schema but leaves one of these tables
// stops the simulator here.
void check_members_in_code() {
    const std::pair<const char*, std::vector<const char*>> members[] = {
        {kStaticFdb, {key::PortList}},
        {table::mac_status_fdb_static, {key::PortList, key::Dynamic}},
        {table::mac_status_fdb_full, {key::PortList, key::Dynamic}},
        {table::mac_statistics_fdb, {key::TotalDynamic, key::TotalStatic}},
        {table::mac_statistics_interface, {key::Dynamic}},
    };
    for (const auto& entry : members) {
        for (const char* member : entry.second) require_member(entry.first, member);
    }
    for (const auto& entry : Traffic::counted_members()) {
        for (const std::string& member : entry.second) require_member(entry.first, member);
    }
}

}  // namespace

Model::Model(int port_count, TimeSource time)
    : time_(std::move(time)), ports_(make_port_names(port_count)), traffic_(ports_, time_()) {
    build_catalogue();
    seed();
}

Model::~Model() = default;

void Model::build_catalogue() {
    check_members_in_code();
    std::map<const TableInfo*, Table*> by_info;
    for (std::size_t i = 0; i < kTableCount; ++i) {
        const TableInfo& info = kTables[i];
        std::unique_ptr<Table>& slot = tables_[info.name];
        slot = std::make_unique<Table>();
        slot->name = info.name;
        slot->key_count = info.key_count;
        slot->key.assign(info.key, info.key + info.key_count);
        slot->values.assign(info.values, info.values + info.value_count);
        if (info.fresh != nullptr) slot->fresh = parse_text(info.fresh);
        slot->has_add = info.has_add;
        slot->per_port = info.per_port;
        by_info[&info] = slot.get();
    }
    for (std::size_t i = 0; i < kMethodCount; ++i) {
        const MethodInfo& method = kMethods[i];
        Table* table = method.table != nullptr ? by_info.at(method.table) : nullptr;
        overloads_[method.method].push_back(Overload{&method, table, param_count(method)});
    }
}

// The value a table stores for `raw`: what the check of the first of its value types that
// accepts it makes of it. A table served by several record types stores what came, and a get
// answers with that.
Json::Value Model::make_value(const Table& table, const Json::Value& raw) const {
    if (table.values.empty()) {
        if (!raw.isNull()) throw std::runtime_error("the table holds keys only");
        return Json::Value();
    }
    std::string first_why;
    for (const Type* type : table.values) {
        Json::Value stored;
        std::string why;
        if (check(*type, raw, stored, why)) return stored;
        if (first_why.empty()) first_why = why;
    }
    throw std::runtime_error(first_why);
}

void Model::seed() {
    for (const auto& entry : tables_) {
        const Table& table = *entry.second;
        Rows& rows = state_[table.name];
        if (table.singleton()) {
            rows[Json::Value()] = table.fresh;
        } else if (table.per_port) {
            for (const std::string& port : ports_) {
                Json::Value key(Json::arrayValue);
                key.append(port);
                rows[key] = table.fresh;
            }
        }
    }
    apply_seed(realistic_rows(ports_, traffic_));
}

void Model::apply_seed(const std::vector<SeedRow>& seed_rows) {
    for (const SeedRow& seed_row : seed_rows) {
        auto found = tables_.find(seed_row.table);
        if (found == tables_.end()) {
            throw std::logic_error("seed row of " + seed_row.table +
                                   ": the schema has no such table");
        }
        const Table& table = *found->second;
        try {
            const Json::Value key = canonical_key(table.key, seed_row.key);
            Rows& rows = state_[table.name];
            auto existing = rows.find(key);
            const Json::Value base = existing != rows.end() ? existing->second : table.fresh;
            const Json::Value value =
                seed_row.value.isNull() ? base : make_value(table, merge(base, seed_row.value));
            rows[key] = value;
        } catch (const std::exception& e) {
            throw std::logic_error("seed row of " + table.name + " does not fit: " + e.what());
        }
    }
    derive_fdb_status();
}

Json::Value Model::answer(const std::string& body, CallSummary* summary) {
    CallSummary local;
    CallSummary& out = summary != nullptr ? *summary : local;
    Json::CharReaderBuilder builder;
    builder["failIfExtra"] = true;
    const std::unique_ptr<Json::CharReader> reader(builder.newCharReader());
    Json::Value request;
    std::string errors;
    bool parsed = false;
    try {
        parsed = reader->parse(body.data(), body.data() + body.size(), &request, &errors);
    } catch (const std::exception&) {
        parsed = false;  // nested deeper than the reader's stack limit
    }
    if (!parsed) {
        out.error = code::parse_error;
        Json::Value answer(Json::objectValue);
        answer[word::id] = Json::Value();
        answer[word::error] = error_object(code::parse_error, "Parse error: the body is not JSON");
        answer[word::result] = Json::Value();
        return answer;
    }
    return dispatch(request, out);
}

Json::Value Model::call(const std::string& method, const Json::Value& params) {
    static const Json::StreamWriterBuilder compact = [] {
        Json::StreamWriterBuilder writer;
        writer["indentation"] = "";
        return writer;
    }();
    Json::Value request(Json::objectValue);
    request[word::id] = "simulator";
    request[word::method] = method;
    request[word::params] = params;
    return answer(Json::writeString(compact, request));
}

Json::Value Model::dispatch(const Json::Value& request, CallSummary& summary) {
    Json::Value answer(Json::objectValue);
    answer[word::id] = request.isObject() ? request.get(word::id, Json::Value()) : Json::Value();
    answer[word::error] = Json::Value();
    answer[word::result] = Json::Value();
    auto refuse = [&](int code, const std::string& message) {
        summary.error = code;
        answer[word::error] = error_object(code, message);
        return answer;
    };

    if (!request.isObject()) {
        return refuse(code::invalid_request, "Invalid request: the body must be a JSON object");
    }
    const Json::Value& method = request[word::method];
    if (!method.isString()) {
        return refuse(code::invalid_request, "Invalid request: \"method\" must be a string");
    }
    const std::string name = method.asString();
    summary.method = name;
    const Json::Value& params = request[word::params];
    if (!params.isArray()) {
        return refuse(code::invalid_request, "Invalid request: \"params\" must be an array");
    }
    summary.params = static_cast<int>(params.size());

    auto found = overloads_.find(name);
    if (found == overloads_.end()) {
        return refuse(code::method_not_found, "Method not found: " + name);
    }

    std::vector<std::size_t> counts;
    std::string why;
    for (const Overload& overload : found->second) {
        if (std::find(counts.begin(), counts.end(), overload.params) == counts.end()) {
            counts.push_back(overload.params);
        }
        if (overload.params != params.size()) continue;
        Json::Value key;
        Json::Value value;
        std::string reason;
        if (!decode(overload, params, key, value, reason)) {
            if (why.empty()) why = reason;
            continue;
        }
        Outcome outcome;
        {
            std::lock_guard<std::mutex> lock(mutex_);
            outcome = execute(overload, key, value);
        }
        if (outcome.code != 0) return refuse(outcome.code, outcome.message);
        answer[word::result] = std::move(outcome.result);
        return answer;
    }
    if (!why.empty()) return refuse(code::invalid_params, name + ": " + why);

    std::sort(counts.begin(), counts.end());
    std::string expected;
    for (std::size_t i = 0; i < counts.size(); ++i) {
        if (i > 0) expected += i + 1 == counts.size() ? " or " : ", ";
        expected += std::to_string(counts[i]);
    }
    return refuse(code::invalid_params,
                  name + " takes " + expected + " params, got " + std::to_string(params.size()));
}

bool Model::decode(const Overload& overload, const Json::Value& params, Json::Value& key,
                   Json::Value& value, std::string& why) const {
    const MethodInfo& method = *overload.info;
    if (method.shape == Shape::bare || method.shape == Shape::get_all) return true;
    const Table& table = *overload.table;
    const auto key_count = static_cast<std::size_t>(table.key_count);
    if (key_count > 0) key = Json::Value(Json::arrayValue);
    for (std::size_t i = 0; i < key_count; ++i) {
        Json::Value member;
        if (!check(*table.key[i], params[static_cast<Json::ArrayIndex>(i)], member, why)) {
            why = param_text(i) + ": " + why;
            return false;
        }
        key.append(member);
    }
    // A write is checked against its own overload's type; a table served by several types
    // has an overload for each, and the caller tries them in turn.
    if (writes(method.shape) && method.value != nullptr &&
        !check(*method.value, params[static_cast<Json::ArrayIndex>(key_count)], value, why)) {
        why = param_text(key_count) + ": " + why;
        return false;
    }
    return true;
}

Json::Value Model::read_row(const Table& table, const Json::Value& key, const Json::Value& stored,
                            Clock::time_point now) const {
    return Traffic::counts(table.name) ? traffic_.read(table.name, key, stored, now) : stored;
}

Model::Outcome Model::execute(const Overload& overload, const Json::Value& key,
                              const Json::Value& value) {
    Outcome outcome;
    if (overload.table == nullptr) return outcome;
    const Table& table = *overload.table;
    const Clock::time_point now = time_();
    Rows& rows = state_[table.name];
    auto found = rows.find(key);
    auto refuse = [&outcome](int code, const char* message) {
        outcome.code = code;
        outcome.message = message;
        return outcome;
    };

    switch (overload.info->shape) {
        case Shape::bare:
            break;
        case Shape::singleton_get:
        case Shape::keyed_get:
        case Shape::scalar_get:
        case Shape::list_get:
            if (found == rows.end()) return refuse(code::no_such_entry, "no such entry");
            outcome.result = read_row(table, key, found->second, now);
            break;
        case Shape::exists:
            if (found == rows.end()) return refuse(code::no_such_entry, "no such entry");
            break;
        case Shape::get_all:
            outcome.result = Json::Value(Json::arrayValue);
            for (const auto& entry : rows) {
                // One key member travels plain, several as the array of members.
                const Json::Value& shown =
                    table.key_count == 1 && entry.first.isArray() ? entry.first[0u] : entry.first;
                outcome.result.append(row(shown, read_row(table, entry.first, entry.second, now)));
            }
            break;
        case Shape::set:
            if (found == rows.end() && !table.singleton() && table.has_add) {
                return refuse(code::no_such_entry, "no such entry");
            }
            rows[key] = value;
            after_write(table, key, value, now);
            break;
        case Shape::add:
            if (found != rows.end()) return refuse(code::entry_exists, "entry already exists");
            rows.emplace(key, value);
            after_write(table, key, value, now);
            break;
        case Shape::del:
            if (found == rows.end()) return refuse(code::no_such_entry, "no such entry");
            rows.erase(found);
            after_write(table, key, value, now);
            break;
    }
    return outcome;
}

// Writes whose effect reaches past their own row.
void Model::after_write(const Table& table, const Json::Value& key, const Json::Value& value,
                        Clock::time_point now) {
    if (table.name == kClearCounters && value.isBool() && value.asBool() && key.isArray()) {
        const Json::Value& port = key[0u];
        for (auto& entry : state_) {
            if (!Traffic::counts(entry.first)) continue;
            const Table& counters = *tables_.at(entry.first);
            for (auto& counter_row : entry.second) {
                if (counter_row.first.isArray() && counter_row.first[0u] == port) {
                    counter_row.second = counters.fresh;
                }
            }
        }
        traffic_.restart(port.asString(), now);
    } else if (table.name == kStaticFdb) {
        derive_fdb_status();
    }
}

// The MAC status tables and counts follow the static entries: every configured entry shows in
// mac.status.fdb.static and, beside the learned ones, in mac.status.fdb.full.
void Model::derive_fdb_status() {
    auto config = state_.find(kStaticFdb);
    if (config == state_.end()) return;
    for (const char* name : {table::mac_status_fdb_static, table::mac_status_fdb_full}) {
        auto table = tables_.find(name);
        if (table == tables_.end()) continue;
        Rows& rows = state_[name];
        for (auto entry = rows.begin(); entry != rows.end();) {
            const bool learned = entry->second.get(key::Dynamic, 0).asInt() != 0;
            entry = learned ? std::next(entry) : rows.erase(entry);
        }
        for (const auto& entry : config->second) {
            Json::Value partial(Json::objectValue);
            partial[key::PortList] = entry.second.get(key::PortList, Json::Value(Json::arrayValue));
            rows[entry.first] = make_value(*table->second, merge(table->second->fresh, partial));
        }
    }

    std::map<std::string, unsigned> learned_per_port;
    unsigned learned = 0;
    auto full = state_.find(table::mac_status_fdb_full);
    if (full != state_.end()) {
        for (const auto& entry : full->second) {
            if (entry.second.get(key::Dynamic, 0).asInt() == 0) continue;
            ++learned;
            for (const Json::Value& port : entry.second.get(key::PortList, Json::Value())) {
                if (port.isString()) ++learned_per_port[port.asString()];
            }
        }
    }
    auto stats = tables_.find(table::mac_statistics_fdb);
    if (stats != tables_.end()) {
        Json::Value counts(Json::objectValue);
        counts[key::TotalDynamic] = learned;
        counts[key::TotalStatic] = static_cast<unsigned>(config->second.size());
        state_[stats->first][Json::Value()] =
            make_value(*stats->second, merge(stats->second->fresh, counts));
    }
    auto per_port = tables_.find(table::mac_statistics_interface);
    if (per_port != tables_.end()) {
        for (auto& entry : state_[per_port->first]) {
            if (!entry.first.isArray() || !entry.first[0u].isString()) continue;
            Json::Value count(Json::objectValue);
            count[key::Dynamic] = learned_per_port[entry.first[0u].asString()];
            entry.second = make_value(*per_port->second, merge(entry.second, count));
        }
    }
}

std::string state_text(const Json::Value& snapshot) {
    Json::StreamWriterBuilder styled;
    styled["indentation"] = "  ";
    return Json::writeString(styled, snapshot) + '\n';
}

Json::Value Model::rows_locked(const std::string& name, Clock::time_point now) const {
    const auto stored_rows = state_.find(name);
    if (stored_rows == state_.end()) {
        throw std::logic_error("the schema has no table " + name);
    }
    const Table& table = *tables_.at(name);
    Json::Value rows(Json::arrayValue);
    for (const auto& stored : stored_rows->second) {
        rows.append(row(stored.first, read_row(table, stored.first, stored.second, now)));
    }
    return rows;
}

Json::Value Model::rows(const std::string& table, Clock::time_point now) const {
    std::lock_guard<std::mutex> lock(mutex_);
    return rows_locked(table, now);
}

Json::Value Model::snapshot(Clock::time_point now) const {
    std::lock_guard<std::mutex> lock(mutex_);
    Json::Value document(Json::objectValue);
    document[word::ports] = static_cast<int>(ports_.size());
    Json::Value& tables = document[word::tables] = Json::Value(Json::objectValue);
    for (const auto& entry : state_) tables[entry.first] = rows_locked(entry.first, now);
    return document;
}

Json::Value Model::load_table(const Table& table, const Json::Value& rows) const {
    if (!rows.isArray()) throw std::runtime_error("table " + table.name + ": not an array of rows");
    Json::Value out(Json::arrayValue);
    for (Json::ArrayIndex i = 0; i < rows.size(); ++i) {
        const Json::Value& stored = rows[i];
        try {
            if (!stored.isObject()) throw std::runtime_error("not an object");
            out.append(row(canonical_key(table.key, stored[word::key]),
                           make_value(table, stored[word::val])));
        } catch (const std::exception& e) {
            throw std::runtime_error("table " + table.name + ", row " + std::to_string(i + 1) +
                                     ": " + e.what());
        }
    }
    return out;
}

void Model::restore(const Json::Value& document, Clock::time_point now) {
    if (!document.isObject() || !document[word::tables].isObject()) {
        throw std::runtime_error("not an object with a \"tables\" object");
    }
    const Json::Value& tables = document[word::tables];
    std::map<std::string, Rows> loaded;
    for (const std::string& name : tables.getMemberNames()) {
        auto table = tables_.find(name);
        if (table == tables_.end()) throw std::runtime_error("unknown table \"" + name + "\"");
        Rows& rows = loaded[name];
        for (const Json::Value& entry : load_table(*table->second, tables[name])) {
            rows[entry[word::key]] = entry[word::val];
        }
        if (table->second->singleton() && rows.empty()) rows[Json::Value()] = table->second->fresh;
    }
    std::lock_guard<std::mutex> lock(mutex_);
    // Counting starts again at `now` only when the document brings counter rows: those count on
    // from the document's values, and the counters it leaves out from what they read at `now`,
    // so that they run on without a jump. A document without counters leaves counting alone.
    bool counters = false;
    for (const auto& entry : loaded) counters = counters || Traffic::counts(entry.first);
    if (counters) {
        for (auto& [name, rows] : state_) {
            if (!Traffic::counts(name) || loaded.count(name) != 0) continue;
            for (auto& [key, value] : rows) value = traffic_.read(name, key, value, now);
        }
    }
    for (auto& entry : loaded) state_[entry.first] = std::move(entry.second);
    derive_fdb_status();
    if (counters) traffic_.restart_all(now);
}

}  // namespace zolt_sim
