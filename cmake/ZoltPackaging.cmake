# Debian packages, made by CPack from the install components (scripts/package.sh):
#   libzolt-client<SOVERSION>  (runtime) the shared library
#   libzolt-client-dev         (dev)     headers, CMake package, pkg-config file, reference pages
#   zolt-tools                 (tools)   the zolt command line and zolt-switch-sim, with man pages
#   python3-zolt               (python)  the Python package zolt, when ZOLT_PYTHON is on
#   zolt-exporter              (exporter) the Prometheus exporter on it, likewise
# Versions come from the project version; the binary packages' dependencies are computed from the
# binaries by dpkg-shlibdeps, and the -dev package adds those of its headers.

set(zolt_runtime_package "libzolt-client${PROJECT_VERSION_MAJOR}")
set(zolt_dev_package "libzolt-client-dev")
set(zolt_tools_package "zolt-tools")
set(zolt_python_package "python3-zolt")
set(zolt_exporter_package "zolt-exporter")
set(zolt_components runtime dev tools)
if(ZOLT_PYTHON)
    list(APPEND zolt_components python exporter)
endif()

# The programs and their manual pages.
set(zolt_programs zolt-switch-sim)
if(TARGET zolt)
    list(PREPEND zolt_programs zolt)
endif()
foreach(program IN LISTS zolt_programs)
    install(TARGETS ${program} RUNTIME DESTINATION ${CMAKE_INSTALL_BINDIR} COMPONENT tools)
    set(page "${PROJECT_SOURCE_DIR}/packaging/man/${program}.1")
    if(EXISTS "${page}")
        set(gz "${PROJECT_BINARY_DIR}/packaging/${program}.1.gz")
        add_custom_command(OUTPUT "${gz}"
            COMMAND "${CMAKE_COMMAND}" -E make_directory "${PROJECT_BINARY_DIR}/packaging"
            COMMAND sh -c "gzip -n -9 -c '${page}' > '${gz}'"
            DEPENDS "${page}" VERBATIM)
        add_custom_target(zolt_man_${program} ALL DEPENDS "${gz}")
        install(FILES "${gz}" DESTINATION "${CMAKE_INSTALL_MANDIR}/man1" COMPONENT tools)
    endif()
endforeach()

# Every package carries its copyright file and a compressed changelog in /usr/share/doc/<name>.
foreach(component IN LISTS zolt_components)
    set(PKG "${zolt_${component}_package}")
    set(dir "${PROJECT_BINARY_DIR}/packaging/${PKG}")
    configure_file("${PROJECT_SOURCE_DIR}/packaging/changelog.in" "${dir}/changelog" @ONLY)
    add_custom_command(OUTPUT "${dir}/changelog.gz"
        COMMAND sh -c "gzip -n -9 -c '${dir}/changelog' > '${dir}/changelog.gz'"
        DEPENDS "${dir}/changelog" VERBATIM)
    add_custom_target(zolt_changelog_${component} ALL DEPENDS "${dir}/changelog.gz")
    install(FILES "${PROJECT_SOURCE_DIR}/packaging/copyright" "${dir}/changelog.gz"
        DESTINATION "${CMAKE_INSTALL_DATADIR}/doc/${PKG}" COMPONENT ${component})
endforeach()

set(CPACK_GENERATOR DEB)
set(CPACK_PACKAGE_NAME zolt-client)
set(CPACK_PACKAGE_VENDOR "The libzolt-client developers")
set(CPACK_PACKAGE_CONTACT "The libzolt-client developers <maintainers@example.org>")
set(CPACK_PACKAGE_VERSION "${PROJECT_VERSION}")
set(CPACK_PACKAGING_INSTALL_PREFIX /usr)
set(CPACK_STRIP_FILES ON)
set(CPACK_OUTPUT_FILE_PREFIX "${PROJECT_BINARY_DIR}/packages")
set(CPACK_DEB_COMPONENT_INSTALL ON)
set(CPACK_COMPONENTS_ALL ${zolt_components})
set(CPACK_DEBIAN_FILE_NAME DEB-DEFAULT)
# Each package's description below starts with its own synopsis. CPack would put the project's
# one-line description in front of it, unless the summary is CPack's own default text.
set(CPACK_PACKAGE_DESCRIPTION_SUMMARY "${CPACK_PACKAGE_NAME} built using CMake")
set(CPACK_DEBIAN_PACKAGE_PRIORITY optional)
set(CPACK_DEBIAN_PACKAGE_HOMEPAGE "https://example.org/libzolt-client")
set(CPACK_DEBIAN_PACKAGE_SHLIBDEPS ON)
# Lets dpkg-shlibdeps see the library that the tools link, which no installed package provides.
set(CPACK_DEBIAN_PACKAGE_SHLIBDEPS_PRIVATE_DIRS "${PROJECT_BINARY_DIR}")
set(CPACK_DEBIAN_PACKAGE_GENERATE_SHLIBS ON)
set(CPACK_DEBIAN_PACKAGE_GENERATE_SHLIBS_POLICY ">=")

set(CPACK_DEBIAN_RUNTIME_PACKAGE_NAME "${zolt_runtime_package}")
set(CPACK_DEBIAN_RUNTIME_PACKAGE_SECTION libs)
# The dynamic linker's cache is refreshed by a trigger, not by maintainer scripts.
set(CPACK_DEBIAN_RUNTIME_PACKAGE_CONTROL_EXTRA
    "${PROJECT_SOURCE_DIR}/packaging/runtime/triggers"
    "${PROJECT_SOURCE_DIR}/packaging/runtime/postinst"
    "${PROJECT_SOURCE_DIR}/packaging/runtime/postrm")
set(CPACK_DEBIAN_RUNTIME_PACKAGE_CONTROL_STRICT_PERMISSION ON)
set(CPACK_DEBIAN_RUNTIME_DESCRIPTION
    "typed JSON-RPC client for managed Ethernet switches
libzolt-client reads and changes a managed Ethernet switch through the
JSON-RPC management interface it publishes over HTTP. It gives one typed C++
function per way of calling each method of the switch's model (ports, VLANs,
spanning tree, QoS, access lists, multicast, IP services, security and
management), so that applications handle plain records, enumerations and
ordered maps and never see JSON.

This package contains the shared library.")

set(CPACK_DEBIAN_DEV_PACKAGE_NAME "${zolt_dev_package}")
set(CPACK_DEBIAN_DEV_PACKAGE_SECTION libdevel)
set(CPACK_DEBIAN_DEV_PACKAGE_DEPENDS
    "${zolt_runtime_package} (= ${PROJECT_VERSION}), libjsoncpp-dev, libcurl4-openssl-dev")
set(CPACK_DEBIAN_DEV_DESCRIPTION
    "typed JSON-RPC client for managed Ethernet switches - development files
libzolt-client reads and changes a managed Ethernet switch through the
JSON-RPC management interface it publishes over HTTP, with one typed C++
function per way of calling each method of the switch's model.

This package contains the headers, the CMake package, the pkg-config file
and the reference pages of every family of methods.")

set(CPACK_DEBIAN_TOOLS_PACKAGE_NAME "${zolt_tools_package}")
set(CPACK_DEBIAN_TOOLS_PACKAGE_SECTION net)
set(CPACK_DEBIAN_TOOLS_PACKAGE_DEPENDS "${zolt_runtime_package} (= ${PROJECT_VERSION})")
set(CPACK_DEBIAN_TOOLS_DESCRIPTION
    "command line and switch simulator for libzolt-client
zolt reads and changes a managed Ethernet switch from a shell or a script:
every typed function of libzolt-client, with arguments and output as JSON.
zolt-switch-sim answers like a managed switch's JSON-RPC interface, for
trying out and testing management tools without hardware.")

set(CPACK_DEBIAN_PYTHON_PACKAGE_NAME "${zolt_python_package}")
set(CPACK_DEBIAN_PYTHON_PACKAGE_SECTION python)
# The extension is built for one Python version: the one Debian's python3 runs.
set(CPACK_DEBIAN_PYTHON_PACKAGE_DEPENDS
    "${zolt_runtime_package} (= ${PROJECT_VERSION}), python3 (>= ${Python3_VERSION_MAJOR}.${Python3_VERSION_MINOR}), python3 (<< ${Python3_VERSION_MAJOR}.${Python3_VERSION_MINOR}.99)")
set(CPACK_DEBIAN_PYTHON_PACKAGE_SUGGESTS "${zolt_tools_package}")
set(CPACK_DEBIAN_PYTHON_DESCRIPTION
    "typed JSON-RPC client for managed Ethernet switches - Python 3
zolt is the Python binding of libzolt-client: every typed function of the
library as a method of zolt.Client, with records, enumerations and MAC
addresses as Python classes, failures as exceptions, type stubs for mypy, an
asyncio client (zolt.aio) and a pytest fixture that runs zolt-switch-sim
(zolt.testing). Calls release the GIL, so threads on separate clients run
in parallel.")

set(CPACK_DEBIAN_EXPORTER_PACKAGE_NAME "${zolt_exporter_package}")
set(CPACK_DEBIAN_EXPORTER_PACKAGE_SECTION net)
set(CPACK_DEBIAN_EXPORTER_PACKAGE_ARCHITECTURE all)
set(CPACK_DEBIAN_EXPORTER_PACKAGE_SHLIBDEPS OFF)
set(CPACK_DEBIAN_EXPORTER_PACKAGE_DEPENDS
    "python3, ${zolt_python_package} (= ${PROJECT_VERSION}), python3-prometheus-client, python3-yaml")
set(CPACK_DEBIAN_EXPORTER_PACKAGE_SUGGESTS "prometheus")
set(CPACK_DEBIAN_EXPORTER_DESCRIPTION
    "Prometheus exporter for managed Ethernet switches
zolt-exporter reads the statistics and status tables of managed switches
through libzolt-client and answers them in the Prometheus exposition
format. It is a multi-target exporter: Prometheus names the switch and a
module of the configuration in each probe. Every counter and status field
of the switch's model is exported, with names, types, labels and help
texts generated from the library's schema.")

include(CPack)
