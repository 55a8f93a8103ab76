#pragma once

// The `zolt` program as a function, so that the suite can run it in-process as well as through
// the built binary. Exit statuses: 0 success; 1 the switch answered with an error code; 2 a usage
// error (unknown command or method, no overload for that number of arguments, an argument or
// field refused by its codec); 3 a failure in the client (the library's exception).

#include <ostream>

namespace zolt_cli {

int run(int argc, char** argv, std::ostream& out, std::ostream& err);

}  // namespace zolt_cli
