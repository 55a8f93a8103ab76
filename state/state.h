#pragma once

// Configuration as code: a switch's configuration tables as one JSON document that can be
// stored, compared, and pushed back.
//
// A document is a JSON object with the member "format" (kFormatVersion) and one member per
// configuration table (state/tables.h), named by the table: a singleton as its record, a keyed
// table as its array of {"key": K, "val": V} rows, K being the key member itself or, for a key
// of two members, their array. That is the form `zolt call` prints for the table's read.
//
// A row (or a singleton) may name only some fields of its record: it then manages just those,
// and they are merged over the live row before it is written. A table the document does not
// name is left alone, and so is a row it does not name unless `replace` is asked for.
//
// Every value of a document is decoded by the library's own codecs before anything is sent;
// a document that does not fit is refused whole (DocumentError, naming table, key and field).
//
// Everything here takes and gives plain data (Json::Value, vectors of plain records), so that
// the command line and a language binding are thin layers over the same code. A handle is one
// from zoltclient_init; like every call on it, these functions are for one thread at a time.

#include <json/value.h>

#include <cstddef>
#include <stdexcept>
#include <string>
#include <vector>

namespace zolt_state {

// The member of a document that carries its format version, and the version written and read.
extern const char* const kFormatMember;  // "format"
constexpr int kFormatVersion = 1;

// A document that does not fit: an unknown table or field, a bad key or value, a duplicate row.
// The text names the table, the key and the field.
class DocumentError : public std::runtime_error {
public:
    using std::runtime_error::runtime_error;
};

// A plan that cannot be made: rows that `replace` would have to remove from a table without a
// delete, or a row that is new to the switch and does not name every field.
class PlanError : public std::runtime_error {
public:
    using std::runtime_error::runtime_error;
};

// The backup that apply writes before its first change cannot be written; nothing was changed.
class BackupError : public std::runtime_error {
public:
    using std::runtime_error::runtime_error;
};

// A read that the switch answered with an error code.
class CallError : public std::runtime_error {
public:
    CallError(const std::string& method, int code);
    const std::string& method() const { return method_; }
    int code() const { return code_; }

private:
    std::string method_;
    int code_;
};

// One call of a plan.
struct Call {
    std::string kind;    // "delete", "add" (a row the switch does not have yet) or "set"
    std::string table;   // "port.config"
    Json::Value key;     // the row's key as the document writes it; null for a singleton
    std::string method;  // "port.config.set"
    Json::Value args;    // the call's arguments, a JSON array in call order
};

// One difference between two documents.
struct Change {
    std::string kind;    // "added", "removed" or "changed"
    std::string table;
    Json::Value key;     // null for a singleton
    std::string field;   // "changed" of a record's field; empty where the whole value is meant
    Json::Value before;  // "removed" and "changed"; null for "added"
    Json::Value after;   // "added" and "changed"; null for "removed"
};

// What an apply did.
struct ApplyResult {
    std::vector<Call> calls;  // the plan
    std::size_t done = 0;     // calls that succeeded, in plan order
    std::string backup;       // the backup's path; empty when there was nothing to do

    bool failed = false;
    std::string failure;    // what failed: the call and the switch's code, or the exception
    int failure_code = 0;   // the switch's error code; 0 when the client failed (an exception)

    // Set only after a failure: the calls that took the switch back to the backup, how many of
    // them succeeded, what went wrong on the way (one line each), and the differences between
    // the backup and the switch that remain (empty when the switch equals the backup again).
    std::vector<Call> rollback;
    std::size_t rollback_done = 0;
    std::vector<std::string> rollback_failures;
    std::vector<Change> remaining;
    bool rollback_complete() const { return rollback_failures.empty() && remaining.empty(); }
};

// Reads every configuration table, or those named by a prefix ("vlan" takes "vlan.config..."
// but not "vlan-foo..."; a full table name takes that table), into a document. Throws
// std::invalid_argument for a prefix that names no table, CallError for a read the switch
// refuses, and the library's exceptions.
Json::Value snapshot(void* handle, const std::vector<std::string>& prefixes = {});

// The document checked and in the library's own forms (every key and value as the codec writes
// it back), which compare equal exactly when the values are equal. Throws DocumentError.
Json::Value check(const Json::Value& document);

// The differences from `before` to `after`: rows added and removed, fields changed. A table
// that only one document names counts as all its rows added or removed; a field that only one
// row names is not compared. Both documents are checked first (DocumentError).
std::vector<Change> diff(const Json::Value& before, const Json::Value& after);

// The calls that take a switch in the state `live` (a document) to `desired`: deletions first,
// in reverse table order, then additions and sets in table order, each table's rows in the
// document's order. Sends nothing. Throws DocumentError and PlanError.
std::vector<Call> plan_from(const Json::Value& live, const Json::Value& desired, bool replace);

// plan_from against the switch: reads the tables that `desired` names (only after the document
// has been checked), then plans.
std::vector<Call> plan(void* handle, const Json::Value& desired, bool replace = false);

// Plans as `plan`, writes a snapshot of every table the plan touches to `backup_path` (or
// default_backup_path() when it is empty) before the first change, and makes the calls. On the
// first call that fails (an error code or an exception) it plans from the switch back to the
// backup, with rows that were added since removed, makes those calls, and reads the tables again
// to report any difference that remains. Throws (before any change) DocumentError, PlanError,
// BackupError, and what the reads throw; a failure
// after the first change is reported in the result, never thrown.
ApplyResult apply(void* handle, const Json::Value& desired, bool replace = false,
                  const std::string& backup_path = std::string());

// "zolt-backup-YYYYMMDDTHHMMSSZ.json" in the working directory, the time in UTC, with "-2",
// "-3", ... before ".json" when that file already exists.
std::string default_backup_path();

// --- reading and writing ------------------------------------------------------------------------

// Parses a document's text (strict JSON: no comments, nothing after the value); throws
// DocumentError saying where the text is not JSON.
Json::Value parse_document(const std::string& text);

// A document as text for a person and for version control: two blanks a level, one value a
// line, "format" first, the tables in the order they are written, each row's "key" before its
// "val", a record's fields in declared order; ends with a line break.
std::string document_text(const Json::Value& document);

// One line each, for a person. A call: "+ " (add), "~ " (set) or "- " (delete), the method and
// its arguments as compact JSON, blank-separated, as `zolt call` takes them. A change: "+ ", "- "
// or "~ ", the table, the key (when there is one) as compact JSON, then the row's value, or
// "FIELD: BEFORE -> AFTER".
std::string call_text(const Call& call);
std::string change_text(const Change& change);

// The same as JSON, for scripts and bindings: a call {"kind", "table", "key", "method", "args"},
// a change {"kind", "table", "key", "field", "before", "after"} (key omitted for a singleton,
// field, before and after only where they apply), an apply's result with its calls and changes
// in those forms.
Json::Value to_json(const Call& call);
Json::Value to_json(const Change& change);
Json::Value to_json(const std::vector<Call>& calls);
Json::Value to_json(const std::vector<Change>& changes);
Json::Value to_json(const ApplyResult& result);

}  // namespace zolt_state
