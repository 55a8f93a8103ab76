#!/usr/bin/env python3
"""Compares the shared library's dynamic symbol table with the schema.

Usage: check_exports.py LIBRARY MANIFEST

- Every typed function of the manifest (written by the generator from the schema files) is
  exported, with exactly as many overloads as the schema has lines for it, and no typed function
  is exported that the schema does not have.
- The REST and handle functions are exported under their plain C names.
- Nothing else is exported: only typed functions and the codec overloads (serialize, parse,
  operator<).

Every count comes from the manifest; none is written here.
"""

import collections
import re
import subprocess
import sys

C_NAMES = {"rest_init", "rest_deinit", "rest_post", "rest_free_response",
           "zoltclient_init", "zoltclient_deinit"}


def main(library, manifest):
    problems = []
    wanted = collections.Counter()
    with open(manifest, encoding="utf-8") as f:
        next(f)
        for line in f:
            function = line.split("\t")[1]
            wanted[function] += 1

    out = subprocess.run(["nm", "-D", "--defined-only", "-C", library], check=True,
                         capture_output=True, text=True).stdout
    exported = collections.Counter()
    plain = set()
    for line in out.splitlines():
        parts = line.split(" ", 2)
        if len(parts) < 3:
            continue
        name = parts[2]  # every defined symbol counts, data as well as code
        if name in C_NAMES:
            plain.add(name)
        elif name.startswith("zolt_") and "(" in name:
            exported[name.split("(", 1)[0]] += 1
        elif not re.match(r"(serialize|parse|operator<)\(", name):
            problems.append(f"exported but not public API: {name}")

    for name in sorted(C_NAMES - plain):
        problems.append(f"not exported: {name}")
    for name in sorted(set(wanted) | set(exported)):
        if wanted[name] != exported[name]:
            problems.append(f"{name}: the schema has {wanted[name]} overloads, "
                            f"the library exports {exported[name]}")

    for p in problems:
        print(p)
    total = sum(wanted.values())
    print(f"{total} typed functions in the schema, {sum(exported.values())} exported; "
          f"{len(problems)} problems")
    return 1 if problems else 0


if __name__ == "__main__":
    sys.exit(main(*sys.argv[1:]))
