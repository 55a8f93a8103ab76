#pragma once

// The HTTP transport: one libcurl easy handle per connection, one POST per call. It knows
// nothing of JSON. Failures come back as null; the reason is not kept and nothing is printed.
//
// Calling order: rest_init once, rest_post any number of times, rest_free_response for each
// answer, rest_deinit once. A connection belongs to one thread at a time.

#include <curl/curl.h>

#include "codec/export.h"

#ifdef __cplusplus
extern "C" {
#endif

// Filled by the application and read only during rest_init. Applications compiled against the
// library rely on this exact layout.
typedef struct rest_conn_t {
    char user[256];          // HTTP Basic user name
    char password[256];      // HTTP Basic password
    char url[2084];          // every request is posted here
    char content_type[256];  // sent as the Content-Type request header
    long timeout;            // whole-transfer limit in seconds; 0 means none
} rest_conn_t;

typedef struct rest_handle_t {
    CURL* curl;                  // reused by every rest_post
    struct curl_slist* headers;  // holds the one Content-Type line
} rest_handle_t;

// One answer; owned by the caller of rest_post, released only by rest_free_response.
typedef struct rest_response_t {
    char* header;  // all header lines as received, NUL-terminated; null if none arrived
    char* body;    // the body as text, NUL-terminated; null if no body bytes arrived
    long status;   // the HTTP status code, not judged here
} rest_response_t;

// Null on any failure.
ZOLT_API rest_handle_t* rest_init(const rest_conn_t* conn);

// Null is ignored. Calls curl_global_cleanup, which affects every libcurl user of the process.
ZOLT_API void rest_deinit(rest_handle_t* handle);

// Posts `size` bytes of `body`; the body is not measured with strlen. Null on any failure of
// the transfer (refused connection, time-out, broken answer); a 404 or 500 answer is a
// success with `status` set. The connection stays usable after a failure.
ZOLT_API rest_response_t* rest_post(rest_handle_t* handle, const char* body, long size);

// Frees body, header and the record. Null is ignored.
ZOLT_API void rest_free_response(rest_response_t* response);

#ifdef __cplusplus
}
#endif
