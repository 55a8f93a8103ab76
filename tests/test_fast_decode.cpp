// The direct decoder must be the way valid answers take. That it decodes every answer, valid or
// damaged, as the tree does is the fast fuzz target's part: its corpus (fuzz/corpus/fast, replayed
// by the fuzz_fast_corpus test) holds every form's valid answer with each kind of damage a server
// or a network can do: other spellings of a number, other JSON types in each place, the envelope's
// members changed, missing or doubled, comments, text around the answer, cuts and NUL bytes at a
// spread of places, whitespace and escapes.

#include <gtest/gtest.h>

#include <string>

#include "fuzz/fast_decode_cases.h"

namespace {

// Otherwise the direct path could be a decoder that always says no and agreement with the tree
// would still hold. The two forms that never decode directly are left out.
TEST(FastDecode, ValidAnswersAreDecodedWithoutTheTree) {
    std::size_t count = 0;
    const zolt_fast_cases::Case* cases = zolt_fast_cases::cases(&count);
    for (std::size_t i = 0; i < count; ++i) {
        const std::string name = cases[i].name;
        if (name == "key-only table" || name == "three-member key") continue;
        const std::string seed = cases[i].seed();
        EXPECT_TRUE(cases[i].direct(seed)) << name << "\n" << seed;
        EXPECT_EQ(cases[i].compare(seed), "") << name;
    }
}

}  // namespace
