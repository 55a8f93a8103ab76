#pragma once

// The wire text of a request, written straight into a reused buffer. Internal: not installed.
//
// The switch is addressed in the text of JsonCpp's StyledWriter: members sorted by name, a
// three-blank indent, " : " between name and value, an array of scalars on one line when it
// fits in 74 characters, a final newline. Writing that text here, byte for byte, spares the
// request object around "params" and the writer's many small strings; a value whose form is
// not certain here (a real number, a string or name with a control or non-ASCII byte, a
// comment) is left to StyledWriter itself.

#include <json/value.h>

#include <string>

namespace zolt {

// Replaces `text` with the request {"id": "jsonrpc", "method": method, "params": params} as
// StyledWriter writes it. Keeps `text`'s capacity, so a buffer reused call after call stops
// allocating.
void write_request(const char* method, const Json::Value& params, std::string& text);

// StyledWriter's text of any value, as the fallback above writes it.
std::string styled(const Json::Value& value);

}  // namespace zolt
