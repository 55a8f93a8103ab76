# Runs the schema generator (tools/zoltgen, its contract at the top of tools/zoltgen/__init__.py).
#
# It runs once when CMake configures, which writes gen/outputs.cmake: every output by category as
# ZOLT_GENERATED_<CATEGORY> (HEADERS, SOURCES, INTERNAL_HEADERS, INCLUDE_CHECKS, MANIFEST,
# SIM_SOURCES, INVOKE, CLI_SOURCES, SWEEP, CLI_SWEEP, DOCS, STATE_SOURCES, ...; OUTPUTS is all of
# them), so no output name is derived
# here. The schema files are found by a CONFIGURE_DEPENDS glob, so adding, removing or renaming
# one reconfigures the build, which runs the generator again: it then writes the new lists and
# deletes the files it no longer produces. An edit of a schema file or of the generator re-runs
# it at build time (target zolt_generate).

find_package(Python3 REQUIRED COMPONENTS Interpreter)

set(ZOLT_GENERATED_INCLUDE_DIR "${CMAKE_BINARY_DIR}/gen")
file(GLOB ZOLT_SCHEMA_FILES CONFIGURE_DEPENDS "${PROJECT_SOURCE_DIR}/schema/*/*.schema")
file(GLOB ZOLT_GENERATOR_FILES CONFIGURE_DEPENDS "${PROJECT_SOURCE_DIR}/tools/zoltgen/*.py")
list(SORT ZOLT_SCHEMA_FILES)

# Run as a module from tools/: run as a script, its own folder would come first on sys.path and
# its types.py would hide the standard library's (Debian's Python does not freeze it away).
set(zolt_generator_command
    "${Python3_EXECUTABLE}" -m zoltgen
    "${PROJECT_SOURCE_DIR}/schema" --out "${ZOLT_GENERATED_INCLUDE_DIR}")
execute_process(COMMAND ${zolt_generator_command}
    WORKING_DIRECTORY "${PROJECT_SOURCE_DIR}/tools"
    RESULT_VARIABLE zolt_generator_result ERROR_VARIABLE zolt_generator_error)
if(NOT zolt_generator_result EQUAL 0)
    message(FATAL_ERROR "${zolt_generator_error}")
endif()
include("${ZOLT_GENERATED_INCLUDE_DIR}/outputs.cmake")

# The stamp is the rule's only declared output; the generator rewrites a file only when its text
# changes, so an edit to one schema recompiles only the files it touches.
set(zolt_stamp "${CMAKE_BINARY_DIR}/zoltgen.stamp")
add_custom_command(
    OUTPUT "${zolt_stamp}"
    BYPRODUCTS ${ZOLT_GENERATED_OUTPUTS}
    COMMAND ${zolt_generator_command} --stamp "${zolt_stamp}"
    WORKING_DIRECTORY "${PROJECT_SOURCE_DIR}/tools"
    DEPENDS ${ZOLT_GENERATOR_FILES} ${ZOLT_SCHEMA_FILES}
    COMMENT "Generating from the schema"
    VERBATIM)
add_custom_target(zolt_generate DEPENDS "${zolt_stamp}")
set_source_files_properties(${ZOLT_GENERATED_OUTPUTS} PROPERTIES GENERATED TRUE)
