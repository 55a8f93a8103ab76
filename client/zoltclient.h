#pragma once

// The library's chief header: the connection description, the client handle and, once the
// schema has been generated, every family's records, enumerations and typed methods.
//
// A handle comes from zoltclient_init and goes back through zoltclient_deinit; in between it
// is passed as `void*` to the typed methods, by one thread at a time.

#include "client/errors.h"
#include "client/rest.h"
#include "client/version.h"
#include "codec/scalar.h"

#ifdef __cplusplus
extern "C" {
#endif

// Opens one REST connection. Null when the connection cannot be set up.
ZOLT_API void* zoltclient_init(const rest_conn_t* conn);

// Null is ignored. Closing calls curl_global_cleanup (see rest_deinit): keep it apart from
// other libcurl use in the process.
ZOLT_API void zoltclient_deinit(void* handle);

#ifdef __cplusplus
}
#endif

#if __has_include("schema/families.h")
#include "schema/families.h"
#endif
