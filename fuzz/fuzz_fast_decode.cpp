// The direct decoder against the tree on arbitrary answer texts: the first byte picks the output
// type, the rest is the answer. Any difference in code, exception or output aborts.

#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <string>

#include "fuzz/fast_decode_cases.h"

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    if (size < 1) return 0;
    std::size_t count = 0;
    const zolt_fast_cases::Case* cases = zolt_fast_cases::cases(&count);
    const zolt_fast_cases::Case& picked = cases[data[0] % count];
    const std::string text(reinterpret_cast<const char*>(data + 1), size - 1);
    const std::string difference = picked.compare(text);
    if (!difference.empty()) {
        std::fprintf(stderr, "%s: the two ways differ on\n%s\n%s", picked.name, text.c_str(),
                     difference.c_str());
        std::abort();
    }
    return 0;
}
