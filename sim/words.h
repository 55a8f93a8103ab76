#pragma once

// The words of the JSON-RPC envelope and of the simulator's own state document. They are the
// protocol's and the state file's, not the schema's: the schema's names are the generated
// constants of sim/names.h.

namespace zolt_sim {
namespace word {

// A request {"id", "method", "params"}; an answer {"id", "error", "result"}, its error
// {"code", "message"}.
constexpr const char* id = "id";
constexpr const char* method = "method";
constexpr const char* params = "params";
constexpr const char* error = "error";
constexpr const char* result = "result";
constexpr const char* code = "code";
constexpr const char* message = "message";

// A row of a get-all answer and of the state document: {"key": K, "val": V}.
constexpr const char* key = "key";
constexpr const char* val = "val";

// The state document: {"ports": N, "tables": {name: [row...]}}.
constexpr const char* ports = "ports";
constexpr const char* tables = "tables";

}  // namespace word
}  // namespace zolt_sim
