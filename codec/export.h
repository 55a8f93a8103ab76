#pragma once

// Marks the library's public entry points. Everything else is compiled with hidden
// visibility, and cmake/exports.map narrows the dynamic symbol table further.
#define ZOLT_API __attribute__((visibility("default")))
