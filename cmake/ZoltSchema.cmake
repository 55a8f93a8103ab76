# Runs the schema generator at build time. Every schema/<subsystem>/<family>.schema becomes
# gen/schema/<subsystem>/<family>.{h,cpp}; the generator also writes gen/schema/families.h,
# gen/schema/manifest.tsv and the simulator's table gen/sim/methods.cpp.
#
# Defines ZOLT_GENERATED_SOURCES, ZOLT_GENERATED_HEADERS, ZOLT_GENERATED_INCLUDE_DIR,
# ZOLT_GENERATED_MANIFEST, ZOLT_GENERATED_SIM_SOURCES, ZOLT_GENERATED_SWEEP (one call of every
# typed function), ZOLT_GENERATED_INVOKE (the library driven from JSON: tools/invoke.h),
# ZOLT_GENERATED_INCLUDE_CHECKS (one translation unit per family header),
# ZOLT_GENERATED_DOCS (one reference page per family) and the target zolt_generate.

find_package(Python3 REQUIRED COMPONENTS Interpreter)

set(ZOLT_GENERATED_INCLUDE_DIR "${CMAKE_BINARY_DIR}/gen")
set(ZOLT_GENERATED_MANIFEST "${ZOLT_GENERATED_INCLUDE_DIR}/schema/manifest.tsv")
set(ZOLT_GENERATED_SIM_SOURCES "${ZOLT_GENERATED_INCLUDE_DIR}/sim/methods.cpp")
set(ZOLT_GENERATED_SWEEP "${ZOLT_GENERATED_INCLUDE_DIR}/tests/sweep.cpp")
set(ZOLT_GENERATED_INVOKE "${ZOLT_GENERATED_INCLUDE_DIR}/tools/invoke.cpp")

file(GLOB ZOLT_SCHEMA_FILES CONFIGURE_DEPENDS "${PROJECT_SOURCE_DIR}/schema/*/*.schema")
list(SORT ZOLT_SCHEMA_FILES)

set(ZOLT_GENERATED_SOURCES "")
set(ZOLT_GENERATED_INCLUDE_CHECKS "")
set(ZOLT_GENERATED_DOCS "")
set(ZOLT_GENERATED_HEADERS "${ZOLT_GENERATED_INCLUDE_DIR}/schema/families.h")
foreach(schema_file IN LISTS ZOLT_SCHEMA_FILES)
    file(RELATIVE_PATH rel "${PROJECT_SOURCE_DIR}/schema" "${schema_file}")
    string(REGEX REPLACE "\\.schema$" "" stem "${rel}")
    list(APPEND ZOLT_GENERATED_SOURCES "${ZOLT_GENERATED_INCLUDE_DIR}/schema/${stem}.cpp")
    list(APPEND ZOLT_GENERATED_HEADERS "${ZOLT_GENERATED_INCLUDE_DIR}/schema/${stem}.h")
    get_filename_component(family "${schema_file}" NAME_WE)
    list(APPEND ZOLT_GENERATED_INCLUDE_CHECKS
         "${ZOLT_GENERATED_INCLUDE_DIR}/tests/include_${family}.cpp")
    list(APPEND ZOLT_GENERATED_DOCS "${ZOLT_GENERATED_INCLUDE_DIR}/docs/${family}.md")
endforeach()

# The stamp is the rule's only declared output; the generator rewrites a file only when its text
# changes, so an edit to one schema recompiles only the files it touches.
set(zolt_stamp "${CMAKE_BINARY_DIR}/zoltgen.stamp")
add_custom_command(
    OUTPUT "${zolt_stamp}"
    BYPRODUCTS ${ZOLT_GENERATED_SOURCES} ${ZOLT_GENERATED_HEADERS}
               "${ZOLT_GENERATED_MANIFEST}" ${ZOLT_GENERATED_SIM_SOURCES}
               "${ZOLT_GENERATED_SWEEP}" "${ZOLT_GENERATED_INVOKE}" ${ZOLT_GENERATED_INCLUDE_CHECKS}
               ${ZOLT_GENERATED_DOCS}
    COMMAND Python3::Interpreter "${PROJECT_SOURCE_DIR}/tools/zoltgen.py"
            "${PROJECT_SOURCE_DIR}/schema" --out "${ZOLT_GENERATED_INCLUDE_DIR}"
            --stamp "${zolt_stamp}"
    DEPENDS "${PROJECT_SOURCE_DIR}/tools/zoltgen.py" ${ZOLT_SCHEMA_FILES}
    COMMENT "Generating typed methods from the schema"
    VERBATIM)
add_custom_target(zolt_generate DEPENDS "${zolt_stamp}")
