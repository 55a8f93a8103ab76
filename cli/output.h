#pragma once

// How the command line writes what the library decoded: JSON in the declared order of each
// record's fields (JsonCpp's own writers sort members by name), or aligned text for a person.

#include <json/value.h>

#include <ostream>
#include <string>
#include <vector>

#include "cli/catalog.h"

namespace zolt_cli {

// Pretty JSON, two spaces a level, one value a line, ending in a newline. Records' members in
// declared order, a get-all's rows as "key" then "val"; without a type, members by name.
void write_json(std::ostream& out, const Json::Value& value, const Type* type);

// The same on one line, without spaces.
std::string compact_json(const Json::Value& value, const Type* type);

// For a person: a get-all of records as aligned columns (key members first, then the fields in
// declared order); a record as field/value lines; a list one element a line; a scalar as it is.
// Texts appear without quotes.
void write_table(std::ostream& out, const Json::Value& value, const Type* type);

// Rows of cells as aligned columns: every cell but a row's last is padded to its column's widest
// cell and two blanks.
void write_rows(std::ostream& out, const std::vector<std::vector<std::string>>& rows);

}  // namespace zolt_cli
