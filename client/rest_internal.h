#pragma once

// Internals of the transport, visible to the library and its tests only.

#include <cstddef>

#include "client/rest.h"

// rest_post hands out the address of `response`, which is the first member, so the record the
// caller sees and this bookkeeping are one allocation. Keeping each text's length here lets a
// chunk be appended without measuring what was collected before it.
struct rest_collected_text {
    std::size_t length;    // characters before the terminating NUL
    std::size_t capacity;  // bytes allocated: at least length + 1 + kRestPadding
    std::size_t expected;  // length announced before the first chunk (Content-Length), else 0
};

// Bytes kept allocated after the body's terminating NUL: the answer decoder reads whole blocks
// and may look this far past the text, which is then never copied to give it that room. Their
// content is undefined.
constexpr std::size_t kRestPadding = 64;

struct rest_response_record {
    rest_response_t response;
    rest_collected_text header;
    rest_collected_text body;
    CURL* curl;  // the transfer filling the record, asked for the body's announced length
};

// The largest announced body length taken as the size of the first block; a longer body grows
// from the first chunk's size as an unannounced one does.
constexpr std::size_t kRestLargestExpected = std::size_t{1} << 30;

// A zero-filled record, or null when memory is exhausted.
rest_response_t* rest_response_alloc();

// rest_init hands out the address of `handle`, the first member; the rest is what the connection
// remembers of its last post for the caller who wants to know why it failed.
struct rest_handle_record {
    rest_handle_t handle;
    CURLcode last_result;  // of the last rest_post: CURLE_OK unless libcurl refused something
};

// libcurl's result for the last rest_post on `handle` that returned null: the failing option,
// transfer or query, CURLE_OUT_OF_MEMORY when the answer's record could not be allocated, and
// CURLE_OK after a success. `handle` must come from rest_init.
CURLcode rest_last_result(const rest_handle_t* handle);

// The length of the collected body text without measuring it; 0 when no body bytes arrived.
// `response` must come from rest_post or rest_response_alloc.
std::size_t rest_body_length(const rest_response_t* response);

// Appends one chunk to `header` (is_header) or `body` as text: at most size * count bytes,
// ending early at the first NUL byte, whose chunk's remainder is dropped. The collected text
// stays NUL-terminated, never holds a NUL, and has kRestPadding allocated bytes after the NUL.
// The first block holds the text's `expected` length when one is set, so that an announced
// answer is collected without growing; a block of several megabytes is asked for huge pages,
// which spares its collection one page fault every 4 KiB. Returns size * count, all bytes taken, or
// 0 when memory is exhausted, which makes libcurl abort the transfer.
std::size_t rest_append_chunk(const char* data, std::size_t size, std::size_t count,
                              rest_response_t* response, bool is_header);

extern "C" {
// libcurl's write-callback signature; `user` is the rest_response_t.
std::size_t rest_write_cb(char* data, std::size_t size, std::size_t count, void* user);
std::size_t rest_header_cb(char* data, std::size_t size, std::size_t count, void* user);
}
