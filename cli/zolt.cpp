#include "cli/zolt.h"

#include <json/reader.h>

#include <CLI/CLI.hpp>
#include <cctype>
#include <cstring>
#include <exception>
#include <fstream>
#include <iostream>
#include <iterator>
#include <memory>
#include <set>
#include <sstream>
#include <stdexcept>
#include <string>
#include <vector>

#include "cli/catalog.h"
#include "cli/output.h"
#include "client/errors.h"
#include "client/zoltclient.h"
#include "state/state.h"

namespace zolt_cli {
namespace {

enum Status {
    kSuccess = 0,
    kSwitchError = 1,
    kUsage = 2,
    kClientFailure = 3,
    kChanges = 4,             // diff: the documents differ; plan: there is something to do
    kRollbackIncomplete = 5,  // apply failed, and the switch does not equal its backup again
};

// Ends a command: `message` goes to standard error after "zolt: ", `status` is the exit status.
struct Failure {
    int status;
    std::string message;
};

[[noreturn]] void usage_error(const std::string& message) { throw Failure{kUsage, message}; }

// The text of a library exception as the user reads it. An exception that carries more than its
// fixed text gets that detail here, after the text in parentheses.
std::string failure_text(const std::exception& e) {
    const std::string detail = zolt::describe(e);
    return detail.empty() ? std::string(e.what()) : std::string(e.what()) + " (" + detail + ")";
}

struct Options {
    std::string url;
    std::string user;
    std::string password;
    long timeout = 10;
    std::string output = "json";
    bool output_given = false;  // --output was on the line (diff and plan write text otherwise)
};

// An argument word: JSON text in the form the wire uses, or else the word itself as a string,
// so that `"Gi 1/1"` needs no JSON quotes on a shell line.
Json::Value word_json(const std::string& word) {
    Json::CharReaderBuilder builder;
    builder["allowComments"] = false;
    builder["failIfExtra"] = true;
    const std::unique_ptr<Json::CharReader> reader(builder.newCharReader());
    Json::Value value;
    std::string errors;
    if (reader->parse(word.data(), word.data() + word.size(), &value, &errors)) return value;
    return Json::Value(word);
}

std::vector<const Overload*> overloads_of(const std::string& method) {
    std::vector<const Overload*> found;
    for (std::size_t i = 0; i < kOverloadCount; ++i) {
        if (method == kOverloads[i].invoker->method) found.push_back(&kOverloads[i]);
    }
    return found;
}

std::string param_list(const Overload& o) {
    if (o.param_count == 0) return "-";
    std::string text;
    for (std::size_t i = 0; i < o.param_count; ++i) {
        text += (i ? ", " : "") + std::string(o.params[i]->name);
    }
    return text;
}

std::string counts_taken(const std::vector<const Overload*>& overloads) {
    std::set<std::size_t> counts;
    for (const Overload* o : overloads) counts.insert(o->param_count);
    std::string text;
    std::size_t i = 0;
    for (std::size_t n : counts) {
        text += (i == 0 ? "" : i + 1 == counts.size() ? " or " : ", ") + std::to_string(n);
        ++i;
    }
    return text;
}

// --- the connection --------------------------------------------------------------------------

void copy_field(char* target, std::size_t size, const std::string& text, const char* what) {
    if (text.size() >= size) {
        usage_error(std::string(what) + " is longer than " + std::to_string(size - 1) + " bytes");
    }
    std::memcpy(target, text.c_str(), text.size() + 1);
}

struct HandleCloser {
    void operator()(void* handle) const { zoltclient_deinit(handle); }
};
using Handle = std::unique_ptr<void, HandleCloser>;

Handle connect(const Options& options) {
    if (options.url.empty()) usage_error("no switch given: use --url URL or set ZOLT_URL");
    if (options.timeout < 0) usage_error("--timeout must not be negative");
    rest_conn_t conn = {};
    copy_field(conn.url, sizeof conn.url, options.url, "--url");
    copy_field(conn.user, sizeof conn.user, options.user, "--user");
    copy_field(conn.password, sizeof conn.password, options.password, "--password");
    copy_field(conn.content_type, sizeof conn.content_type, "application/json", "content type");
    conn.timeout = options.timeout;
    Handle handle(zoltclient_init(&conn));
    if (!handle) throw Failure{kClientFailure, "the connection could not be set up"};
    return handle;
}

void write_output(std::ostream& out, const Options& options, const Json::Value& value,
                  const Type* type) {
    if (type == nullptr || type->kind == Kind::opaque) return;
    if (options.output == "table") {
        write_table(out, value, type);
    } else {
        write_json(out, value, type);
    }
}

void check_code(const std::string& method, int code) {
    if (code != 0) {
        throw Failure{kSwitchError,
                      method + ": the switch answered error code " + std::to_string(code)};
    }
}

// An argument that its parameter type's codec does not accept.
class ArgumentRefused : public std::runtime_error {
public:
    ArgumentRefused(std::size_t position, const std::string& why)
        : std::runtime_error(why), position_(position) {}
    std::size_t position() const { return position_; }  // 0-based

private:
    std::size_t position_;
};

// Calls an overload's typed function. Every argument is first decoded by its parameter type's
// own codec, so that a refusal (ArgumentRefused, before anything is posted) is told apart from
// what the library throws once it has posted.
int invoke(const Overload& o, void* handle, const std::vector<Json::Value>& args,
           Json::Value* output) {
    Json::Value params(Json::arrayValue);
    for (std::size_t i = 0; i < o.param_count; ++i) {
        try {
            o.params[i]->round_trip(args[i]);
        } catch (const std::exception& e) {
            throw ArgumentRefused(i, e.what());
        }
        params.append(args[i]);
    }
    return o.invoker->invoke(handle, params, output);
}

std::string refusal_text(const std::string& method, const Overload& o, const ArgumentRefused& e) {
    return method + ": argument " + std::to_string(e.position() + 1) + " (" +
           o.params[e.position()]->name + "): " + e.what();
}

// --- methods and describe --------------------------------------------------------------------

int list_methods(std::ostream& out, const Options& options, const std::string& filter) {
    std::vector<std::vector<std::string>> rows;
    for (std::size_t i = 0; i < kOverloadCount; ++i) {
        const Overload& o = kOverloads[i];
        if (!filter.empty() && std::string(o.invoker->method).find(filter) == std::string::npos)
            continue;
        rows.push_back(
            {o.invoker->method, o.shape, param_list(o), o.output ? o.output->name : "-"});
    }
    if (options.output == "table") {
        write_rows(out, rows);
        return kSuccess;
    }
    for (const auto& row : rows) {
        for (std::size_t i = 0; i < row.size(); ++i) out << (i ? "\t" : "") << row[i];
        out << '\n';
    }
    return kSuccess;
}

// Records and enumerations reachable from a type, each once, in the order first met.
void collect_named(const Type* type, std::vector<const Type*>& found) {
    if (type == nullptr) return;
    for (const Type* seen : found) {
        if (seen == type) return;
    }
    if (type->kind == Kind::record || type->kind == Kind::enumeration ||
        type->kind == Kind::opaque) {
        found.push_back(type);
    }
    for (std::size_t i = 0; i < type->member_count; ++i) {
        collect_named(type->members[i].type, found);
    }
    for (std::size_t i = 0; i < type->part_count; ++i) collect_named(type->parts[i], found);
}

int describe(std::ostream& out, const std::string& method) {
    const auto overloads = overloads_of(method);
    if (overloads.empty()) usage_error("unknown method \"" + method + "\" (see zolt methods)");
    out << method << '\n';
    std::vector<const Type*> named;
    for (std::size_t i = 0; i < overloads.size(); ++i) {
        const Overload& o = *overloads[i];
        out << "  " << i + 1 << ": " << o.shape << ", " << o.function << '('
            << (o.param_count ? param_list(o) : "") << ')';
        if (o.output) out << " -> " << o.output->name;
        out << '\n';
        for (std::size_t p = 0; p < o.param_count; ++p) collect_named(o.params[p], named);
        collect_named(o.output, named);
    }
    for (const Type* type : named) {
        out << '\n';
        if (type->kind == Kind::record) {
            out << "record " << type->name << '\n';
            std::vector<std::vector<std::string>> fields;
            for (std::size_t i = 0; i < type->member_count; ++i) {
                const Member& m = type->members[i];
                fields.push_back({"  " + std::string(m.key), m.type->word});
            }
            write_rows(out, fields);
        } else if (type->kind == Kind::enumeration) {
            out << "enumeration " << type->name << '\n';
            for (std::size_t i = 0; i < type->text_count; ++i) {
                out << "  \"" << type->texts[i] << "\"\n";
            }
        } else {
            out << "opaque " << type->name << ": the client does not decode it\n";
        }
    }
    return kSuccess;
}

// --- call and edit ---------------------------------------------------------------------------

int call(std::ostream& out, const Options& options, const std::vector<std::string>& words,
         std::size_t overload_number) {
    if (words.empty()) usage_error("call: no METHOD given");
    const std::string& method = words[0];
    const auto all = overloads_of(method);
    if (all.empty()) usage_error("unknown method \"" + method + "\" (see zolt methods)");
    const std::size_t count = words.size() - 1;

    std::vector<const Overload*> candidates;
    if (overload_number != 0) {
        if (overload_number > all.size()) {
            usage_error(method + ": there is no overload " + std::to_string(overload_number) +
                        " (it has " + std::to_string(all.size()) + ")");
        }
        candidates.push_back(all[overload_number - 1]);
        if (candidates[0]->param_count != count) {
            usage_error(method + ": overload " + std::to_string(overload_number) + " takes " +
                        std::to_string(candidates[0]->param_count) + " arguments, not " +
                        std::to_string(count));
        }
    } else {
        for (const Overload* o : all) {
            if (o->param_count == count) candidates.push_back(o);
        }
        if (candidates.empty()) {
            usage_error(method + ": no overload takes " + std::to_string(count) +
                        " arguments (it takes " + counts_taken(all) + ")");
        }
    }

    std::vector<Json::Value> args;
    for (std::size_t i = 1; i < words.size(); ++i) args.push_back(word_json(words[i]));

    const Handle handle = connect(options);
    // Overloads that take the same number of arguments (a version-blind method) are tried in
    // schema order; the first whose arguments all decode is called. A refusal comes before
    // anything is posted.
    std::string first_refusal;
    for (const Overload* o : candidates) {
        Json::Value result;
        int code = 0;
        try {
            code = invoke(*o, handle.get(), args, &result);
        } catch (const ArgumentRefused& e) {
            if (first_refusal.empty()) first_refusal = refusal_text(method, *o, e);
            continue;
        }
        check_code(method, code);
        write_output(out, options, result, o->output);
        return kSuccess;
    }
    usage_error(first_refusal);
}

bool is_assignment(const std::string& word) {
    const std::size_t eq = word.find('=');
    if (eq == std::string::npos || eq == 0) return false;
    for (std::size_t i = 0; i < eq; ++i) {
        const char c = word[i];
        if (!(std::isalnum(static_cast<unsigned char>(c)) || c == '_')) return false;
    }
    return true;
}

// The set that writes back what `get` reads: the same keys, then the get's record.
const Overload* matching_set(const std::string& table, const Overload& get) {
    for (const Overload* set : overloads_of(table + ".set")) {
        if (set->param_count != get.param_count + 1) continue;
        if (set->params[get.param_count] != get.output) continue;
        bool same = true;
        for (std::size_t i = 0; i < get.param_count; ++i)
            same = same && set->params[i] == get.params[i];
        if (same) return set;
    }
    return nullptr;
}

const Member* member_named(const Type& record, const std::string& name) {
    for (std::size_t i = 0; i < record.member_count; ++i) {
        if (name == record.members[i].key) return &record.members[i];
    }
    return nullptr;
}

std::string field_names(const Type& record) {
    std::string text;
    for (std::size_t i = 0; i < record.member_count; ++i) {
        text += (i ? ", " : "") + std::string(record.members[i].key);
    }
    return text;
}

int edit(const Options& options, const std::vector<std::string>& words) {
    if (words.empty()) usage_error("edit: no TABLE given");
    const std::string& table = words[0];
    std::vector<const Overload*> gets;
    for (const Overload* o : overloads_of(table + ".get")) {
        if (o->output != nullptr && o->output->kind == Kind::record && matching_set(table, *o)) {
            gets.push_back(o);
        }
    }
    if (gets.empty()) {
        usage_error("\"" + table + "\" is no table whose records can be read and written back");
    }

    std::size_t first_field = 1;
    while (first_field < words.size() && !is_assignment(words[first_field])) ++first_field;
    const std::size_t key_count = first_field - 1;
    if (first_field == words.size()) usage_error(table + ": no FIELD=VALUE given");
    std::vector<Json::Value> keys;
    for (std::size_t i = 1; i < first_field; ++i) keys.push_back(word_json(words[i]));

    std::vector<const Overload*> candidates;
    for (const Overload* o : gets) {
        if (o->param_count == key_count) candidates.push_back(o);
    }
    if (candidates.empty()) {
        usage_error(table + ": its rows take " + counts_taken(gets) + " keys, not " +
                    std::to_string(key_count));
    }

    Handle handle;
    std::string first_refusal;
    for (const Overload* get : candidates) {
        const Type& record = *get->output;
        // Every field is decoded by its own codec before anything is read or written.
        std::vector<std::pair<std::string, Json::Value>> changes;
        std::string refusal;
        for (std::size_t i = first_field; i < words.size() && refusal.empty(); ++i) {
            if (!is_assignment(words[i])) {
                usage_error(table + ": \"" + words[i] + "\" is no FIELD=VALUE");
            }
            const std::size_t eq = words[i].find('=');
            const std::string name = words[i].substr(0, eq);
            const Member* member = member_named(record, name);
            if (member == nullptr) {
                refusal = table + ": " + record.name + " has no field \"" + name +
                          "\"; its fields: " + field_names(record);
                break;
            }
            try {
                changes.emplace_back(name,
                                     member->type->round_trip(word_json(words[i].substr(eq + 1))));
            } catch (const std::exception& e) {
                refusal = table + ": field " + name + " (" + member->type->word + "): " + e.what();
            }
        }
        if (!refusal.empty()) {
            if (first_refusal.empty()) first_refusal = refusal;
            continue;
        }

        if (!handle) handle = connect(options);
        Json::Value row;
        int code = 0;
        try {
            code = invoke(*get, handle.get(), keys, &row);
        } catch (const ArgumentRefused& e) {
            if (first_refusal.empty()) first_refusal = refusal_text(get->invoker->method, *get, e);
            continue;
        }
        check_code(get->invoker->method, code);
        for (const auto& [name, value] : changes) row[name] = value;

        const Overload& set = *matching_set(table, *get);
        std::vector<Json::Value> args = keys;
        args.push_back(row);
        Json::Value unused;
        try {
            code = invoke(set, handle.get(), args, &unused);
        } catch (const ArgumentRefused& e) {
            usage_error(refusal_text(set.invoker->method, set, e));
        }
        check_code(set.invoker->method, code);
        return kSuccess;
    }
    usage_error(first_refusal);
}

// --- configuration as code ----------------------------------------------------------------------

// A document from a file, or from standard input for "-".
Json::Value read_document(const std::string& path) {
    std::string text;
    if (path == "-") {
        text.assign(std::istreambuf_iterator<char>(std::cin), std::istreambuf_iterator<char>());
    } else {
        std::ifstream in(path, std::ios::binary);
        if (!in) usage_error(path + ": cannot be read");
        text.assign(std::istreambuf_iterator<char>(in), std::istreambuf_iterator<char>());
    }
    try {
        return zolt_state::parse_document(text);
    } catch (const zolt_state::DocumentError& e) {
        usage_error(path + ": " + e.what());
    }
}

// Runs one of the engine's functions, turning its refusals into this program's statuses: a
// document or plan refused is a usage error, a read the switch refuses a switch error.
template <class F>
auto engine(const std::string& what, F&& f) -> decltype(f()) {
    try {
        return f();
    } catch (const zolt_state::DocumentError& e) {
        usage_error(what + ": " + e.what());
    } catch (const zolt_state::PlanError& e) {
        usage_error(what + ": " + e.what());
    } catch (const std::invalid_argument& e) {
        usage_error(e.what());
    } catch (const zolt_state::BackupError& e) {
        usage_error(e.what());
    } catch (const zolt_state::CallError& e) {
        throw Failure{kSwitchError, e.what()};
    }
}

bool json_output(const Options& options) { return options.output_given && options.output == "json"; }

int snapshot(std::ostream& out, const Options& options, const std::vector<std::string>& prefixes) {
    const Handle handle = connect(options);
    const Json::Value document =
        engine("snapshot", [&] { return zolt_state::snapshot(handle.get(), prefixes); });
    out << zolt_state::document_text(document);
    return kSuccess;
}

int diff(std::ostream& out, const Options& options, const std::string& before_path,
         const std::string& after_path) {
    const Json::Value before = read_document(before_path);
    Json::Value after;
    if (!after_path.empty()) {
        after = read_document(after_path);
    } else {
        // Against the switch: the tables the first document names, read now.
        const Json::Value checked = engine(before_path, [&] { return zolt_state::check(before); });
        std::vector<std::string> tables;
        for (const std::string& name : checked.getMemberNames()) {
            if (name != zolt_state::kFormatMember) tables.push_back(name);
        }
        const Handle handle = connect(options);
        after = engine("the switch", [&] {
            return tables.empty() ? checked : zolt_state::snapshot(handle.get(), tables);
        });
    }
    const auto changes = engine("diff", [&] { return zolt_state::diff(before, after); });
    if (json_output(options)) {
        write_json(out, zolt_state::to_json(changes), nullptr);
    } else {
        for (const auto& change : changes) out << zolt_state::change_text(change) << '\n';
    }
    return changes.empty() ? kSuccess : kChanges;
}

std::string call_count(std::size_t n) {
    return std::to_string(n) + (n == 1 ? " call" : " calls");
}

int plan(std::ostream& out, const Options& options, const std::string& path, bool replace) {
    const Json::Value desired = read_document(path);
    engine(path, [&] { return zolt_state::check(desired); });
    const Handle handle = connect(options);
    const auto calls = engine(path, [&] { return zolt_state::plan(handle.get(), desired, replace); });
    if (json_output(options)) {
        write_json(out, zolt_state::to_json(calls), nullptr);
    } else if (calls.empty()) {
        out << "no changes\n";
    } else {
        for (const auto& call : calls) out << zolt_state::call_text(call) << '\n';
        out << call_count(calls.size()) << " planned\n";
    }
    return calls.empty() ? kSuccess : kChanges;
}

int apply(std::ostream& out, std::ostream& err, const Options& options, const std::string& path,
          bool replace, const std::string& backup) {
    const Json::Value desired = read_document(path);
    engine(path, [&] { return zolt_state::check(desired); });
    const Handle handle = connect(options);
    const auto result =
        engine(path, [&] { return zolt_state::apply(handle.get(), desired, replace, backup); });
    if (json_output(options)) {
        write_json(out, zolt_state::to_json(result), nullptr);
    } else if (result.calls.empty()) {
        out << "no changes\n";
    } else {
        out << "backup: " << result.backup << '\n';
        for (std::size_t i = 0; i < result.done; ++i) {
            out << zolt_state::call_text(result.calls[i]) << '\n';
        }
        if (!result.failed) out << "applied " << call_count(result.done) << '\n';
    }
    if (!result.failed) return kSuccess;

    err << "zolt: apply failed at call " << result.done + 1 << " of " << result.calls.size()
        << ": " << result.failure << '\n';
    err << "zolt: rolled back to " << result.backup << " with " << call_count(result.rollback_done)
        << (result.rollback_done == result.rollback.size()
                ? std::string()
                : " of " + std::to_string(result.rollback.size()))
        << '\n';
    for (const auto& call : result.rollback) {
        err << "  " << zolt_state::call_text(call) << '\n';
    }
    for (const auto& failure : result.rollback_failures) {
        err << "zolt: rollback: " << failure << '\n';
    }
    if (result.remaining.empty()) {
        err << "zolt: the switch equals the backup again\n";
    } else {
        err << "zolt: the switch still differs from the backup:\n";
        for (const auto& change : result.remaining) {
            err << "  " << zolt_state::change_text(change) << '\n';
        }
    }
    if (!result.rollback_complete()) return kRollbackIncomplete;
    return result.failure_code != 0 ? kSwitchError : kClientFailure;
}

// --- completion ------------------------------------------------------------------------------

const char* const kCommands = "methods describe call edit snapshot diff plan apply completion";

int completion(std::ostream& out, const std::string& shell) {
    if (shell != "bash") usage_error("completion: only bash is supported, not \"" + shell + "\"");
    std::set<std::string> methods;
    std::set<std::string> tables;
    for (std::size_t i = 0; i < kOverloadCount; ++i) {
        const Overload& o = kOverloads[i];
        methods.insert(o.invoker->method);
        const std::string method = o.invoker->method;
        const std::string table = method.substr(0, method.rfind('.'));
        if (o.output != nullptr && o.output->kind == Kind::record &&
            method.compare(table.size(), std::string::npos, ".get") == 0 &&
            matching_set(table, o) != nullptr) {
            tables.insert(table);
        }
    }
    auto joined = [](const std::set<std::string>& words) {
        std::string text;
        for (const std::string& w : words) text += (text.empty() ? "" : " ") + w;
        return text;
    };
    out << "# bash completion for zolt; load with: source <(zolt completion bash)\n"
           "_zolt() {\n"
           "    local cur=${COMP_WORDS[COMP_CWORD]}\n"
           "    local command= i=1\n"
           "    while [ \"$i\" -lt \"$COMP_CWORD\" ]; do\n"
           "        case ${COMP_WORDS[i]} in\n"
           "            --url|--user|--password|--timeout|--output) i=$((i + 1)) ;;\n"
           "            -*) ;;\n"
           "            *) command=${COMP_WORDS[i]}; break ;;\n"
           "        esac\n"
           "        i=$((i + 1))\n"
           "    done\n"
           "    local methods='"
        << joined(methods)
        << "'\n"
           "    local tables='"
        << joined(tables)
        << "'\n"
           "    if [ -z \"$command\" ]; then\n"
           "        case ${COMP_WORDS[COMP_CWORD - 1]} in\n"
           "            --output) COMPREPLY=($(compgen -W 'json table' -- \"$cur\")); return ;;\n"
           "            --url|--user|--password|--timeout) COMPREPLY=(); return ;;\n"
           "        esac\n"
           "        COMPREPLY=($(compgen -W '"
        << kCommands
        << " --url --user --password --timeout --output --help' -- \"$cur\"))\n"
           "        return\n"
           "    fi\n"
           "    if [ \"$((COMP_CWORD - i))\" -ne 1 ]; then COMPREPLY=(); return; fi\n"
           "    case $command in\n"
           "        call|describe|methods) COMPREPLY=($(compgen -W \"$methods\" -- \"$cur\")) ;;\n"
           "        edit) COMPREPLY=($(compgen -W \"$tables\" -- \"$cur\")) ;;\n"
           "        diff|plan|apply) COMPREPLY=($(compgen -f -- \"$cur\")) ;;\n"
           "        completion) COMPREPLY=($(compgen -W 'bash' -- \"$cur\")) ;;\n"
           "        *) COMPREPLY=() ;;\n"
           "    esac\n"
           "}\n"
           "complete -F _zolt zolt\n";
    return kSuccess;
}

// --- the command line ------------------------------------------------------------------------

const char* const kExamples = R"(
Examples, against the switch simulator (build/sim/zolt-switch-sim prints the port it serves on):
  export ZOLT_URL=http://127.0.0.1:8080/ ZOLT_USER=admin ZOLT_PASSWORD=admin
  zolt methods port.config
  zolt describe port.config.get
  zolt call port.config.get "Gi 1/1"
  zolt --output table call port.status.get
  zolt edit port.config "Gi 1/3" MTU=9000 Shutdown=true
  zolt call mac.config.fdb.static.add 1 00:1F:A2:0B:3C:D4 '{"PortList":["Gi 1/2"]}'
  zolt snapshot > switch.json; zolt plan switch.json; zolt apply switch.json

Exit status: 0 success (diff: no difference; plan: no changes); 1 the switch answered with an
error code; 2 a usage error (unknown command or method, no overload for that number of
arguments, an argument, field or document refused by its codec, a plan that cannot be made);
3 a failure in the client (transport, an answer that does not decode); 4 diff: the documents
differ, plan: there are changes; 5 apply failed and its rollback did not bring the switch back
to the backup.)";

}  // namespace

int run(int argc, char** argv, std::ostream& out, std::ostream& err) {
    Options options;
    CLI::App app(
        "zolt: read and change a managed Ethernet switch through libzolt-client's typed "
        "functions",
        "zolt");
    app.footer(kExamples);
    app.add_option("--url", options.url, "The switch's JSON-RPC URL")->envname("ZOLT_URL");
    app.add_option("--user", options.user, "HTTP Basic user name")->envname("ZOLT_USER");
    app.add_option("--password", options.password, "HTTP Basic password")->envname("ZOLT_PASSWORD");
    app.add_option("--timeout", options.timeout, "Seconds for one call; 0: no limit")
        ->envname("ZOLT_TIMEOUT")
        ->capture_default_str();
    CLI::Option* output_option =
        app.add_option("--output", options.output,
                       "How output is written: json or table (diff, plan, apply: text unless "
                       "json is asked for)")
            ->check(CLI::IsMember({"json", "table"}))
            ->capture_default_str();
    app.require_subcommand(1);

    std::string filter;
    CLI::App* methods_cmd = app.add_subcommand("methods",
                                               "One line per typed function: method string, shape, "
                                               "arguments, output");
    methods_cmd->add_option("FILTER", filter, "Only method strings that contain this text");
    methods_cmd->footer("\nExample: zolt methods mac.config.fdb");

    std::string method;
    CLI::App* describe_cmd = app.add_subcommand(
        "describe", "Every overload of METHOD, the fields of its records, enumeration texts");
    describe_cmd->add_option("METHOD", method, "A method string")->required();
    describe_cmd->footer("\nExample: zolt describe port.config.set");

    std::size_t overload_number = 0;
    CLI::App* call_cmd = app.add_subcommand(
        "call", "call METHOD [ARG...]: call METHOD; the overload is chosen by the number of ARGs");
    call_cmd->add_option("--overload", overload_number,
                         "Call this overload of METHOD (numbered as describe lists them)");
    call_cmd->prefix_command();
    call_cmd->footer(R"(
Each ARG is JSON in the form the wire uses for that parameter; a word that is not JSON is a
string. Examples:
  zolt call port.config.get "Gi 1/1"
  zolt call port.config.get
  zolt call vlan.config.interface.svl.get 1)");

    CLI::App* edit_cmd = app.add_subcommand(
        "edit",
        "edit TABLE KEY... FIELD=VALUE...: read a row or singleton, change the named "
        "fields, write it back");
    edit_cmd->prefix_command();
    edit_cmd->footer(R"(
TABLE is a method string without its verb. Each VALUE is decoded by its field's codec, as an
ARG of call is; nothing is written when a field is refused. Example:
  zolt edit port.config "Gi 1/1" MTU=9000 Shutdown=true)");

    std::vector<std::string> prefixes;
    CLI::App* snapshot_cmd = app.add_subcommand(
        "snapshot", "Every configuration table (or those under PREFIX) as one JSON document");
    snapshot_cmd->add_option("PREFIX", prefixes,
                             "Only tables whose name is PREFIX or starts with PREFIX.");
    snapshot_cmd->footer(R"(
The document has "format" and one member per table, named by its method string without the
verb: a singleton as its record, a keyed table as its {"key", "val"} rows. Examples:
  zolt snapshot > switch.json
  zolt snapshot vlan port.config)");

    std::string before_path;
    std::string after_path;
    CLI::App* diff_cmd = app.add_subcommand(
        "diff", "diff A [B]: rows added and removed and fields changed from document A to B, "
                "or to the switch");
    diff_cmd->add_option("A", before_path, "A document; - reads standard input")->required();
    diff_cmd->add_option("B", after_path, "A document; without it, the switch's tables that A names");
    diff_cmd->footer(R"(
One line a difference: "+ TABLE KEY VALUE" added, "- TABLE KEY VALUE" removed,
"~ TABLE KEY FIELD: OLD -> NEW" changed; --output json for a JSON array. Exit status 0 when
there is no difference, 4 when there is. Example:
  zolt diff yesterday.json)");

    std::string desired_path;
    bool replace = false;
    CLI::App* plan_cmd = app.add_subcommand(
        "plan", "plan DESIRED: the calls that would take the switch to DESIRED; nothing is sent");
    plan_cmd->add_option("DESIRED", desired_path, "A document; - reads standard input")
        ->required();
    plan_cmd->add_flag("--replace", replace,
                       "Also delete the rows of a named table that DESIRED lacks");
    plan_cmd->footer(R"(
Only the tables, rows and fields that DESIRED names are managed. One line a call: "- " a
delete, "+ " a new row, "~ " a set, then the method and its arguments as `zolt call` takes
them; --output json for a JSON array. Deletions come first, in reverse table order, then new
rows and sets in table order. Exit status 0 when there is nothing to do, 4 when there is.)");

    std::string backup_path;
    CLI::App* apply_cmd = app.add_subcommand(
        "apply", "apply DESIRED: take the switch to DESIRED, with a backup and rollback on failure");
    apply_cmd->add_option("DESIRED", desired_path, "A document; - reads standard input")
        ->required();
    apply_cmd->add_flag("--replace", replace,
                        "Also delete the rows of a named table that DESIRED lacks");
    apply_cmd->add_option("--backup", backup_path,
                          "Where the tables it changes are saved first (default: "
                          "zolt-backup-TIME.json here)");
    apply_cmd->footer(R"(
Makes the calls of `zolt plan DESIRED`, after saving every table it touches to the backup. On
the first call that fails it takes the switch back to the backup, says what failed, what was
rolled back and what still differs, and exits non-zero: 1 or 3 as the failure was the switch's
or the client's, 5 when the switch does not equal the backup afterwards.)");

    std::string shell;
    CLI::App* completion_cmd =
        app.add_subcommand("completion", "A completion script: source <(zolt completion bash)");
    completion_cmd->add_option("SHELL", shell, "bash")->required();

    try {
        app.parse(argc, argv);
    } catch (const CLI::ParseError& e) {
        if (e.get_exit_code() == 0) return app.exit(e, out, err);
        err << "zolt: " << e.what() << "\nRun 'zolt --help' for more information.\n";
        return kUsage;
    }

    try {
        if (methods_cmd->parsed()) return list_methods(out, options, filter);
        if (describe_cmd->parsed()) return describe(out, method);
        if (completion_cmd->parsed()) return completion(out, shell);
        if (call_cmd->parsed()) return call(out, options, call_cmd->remaining(), overload_number);
        if (edit_cmd->parsed()) return edit(options, edit_cmd->remaining());
        options.output_given = output_option->count() > 0;
        if (snapshot_cmd->parsed()) return snapshot(out, options, prefixes);
        if (diff_cmd->parsed()) return diff(out, options, before_path, after_path);
        if (plan_cmd->parsed()) return plan(out, options, desired_path, replace);
        if (apply_cmd->parsed()) return apply(out, err, options, desired_path, replace, backup_path);
        usage_error("no command given");
    } catch (const Failure& f) {
        err << "zolt: " << f.message << '\n';
        return f.status;
    } catch (const std::exception& e) {
        err << "zolt: " << failure_text(e) << '\n';
        return kClientFailure;
    }
}

}  // namespace zolt_cli
