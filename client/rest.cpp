#include "client/rest.h"

#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <cstring>

#include <sys/mman.h>

#include "client/rest_internal.h"

namespace {

constexpr std::size_t kFirstBlock = 512;

// Blocks from this size on get huge pages where the kernel gives them on request.
constexpr std::size_t kHugeBlock = std::size_t{4} << 20;
constexpr std::uintptr_t kHugePage = std::uintptr_t{2} << 20;

// Asks for huge pages over the whole 2 MiB pages inside the block. Only for a block just
// allocated: one that realloc later moves would have to be split again. A refusal leaves
// ordinary pages.
void ask_huge_pages(char* block, std::size_t size) {
    if (size < kHugeBlock) return;
    const std::uintptr_t begin =
        (reinterpret_cast<std::uintptr_t>(block) + kHugePage - 1) & ~(kHugePage - 1);
    const std::uintptr_t end = (reinterpret_cast<std::uintptr_t>(block) + size) & ~(kHugePage - 1);
    if (end > begin) (void)madvise(reinterpret_cast<void*>(begin), end - begin, MADV_HUGEPAGE);
}

// A field of rest_conn_t is meant to be NUL-terminated, but a caller that fills the whole
// array must not make us read into the next field.
template <std::size_t N>
int field_length(const char (&field)[N]) {
    return static_cast<int>(strnlen(field, N));
}

// Sets every option of a fresh handle; false as soon as libcurl refuses one or memory runs out.
// What was made before the failure stays in the handle for rest_init to release.
bool set_up(rest_handle_t* handle, const rest_conn_t* conn) {
    handle->curl = curl_easy_init();
    if (handle->curl == nullptr) return false;
    CURL* curl = handle->curl;

    // libcurl copies string options, so one local buffer serves the credentials first and the
    // header line afterwards. Empty user and password still give ":" and Basic stays selected.
    char text[4096];
    snprintf(text, sizeof text, "%.*s:%.*s", field_length(conn->user), conn->user,
             field_length(conn->password), conn->password);
    char url[sizeof conn->url + 1];
    snprintf(url, sizeof url, "%.*s", field_length(conn->url), conn->url);

    // No other option is set: libcurl's defaults stand for redirects, proxies, TLS and signals.
    if (curl_easy_setopt(curl, CURLOPT_HTTPAUTH, static_cast<long>(CURLAUTH_BASIC)) != CURLE_OK ||
        curl_easy_setopt(curl, CURLOPT_USERPWD, text) != CURLE_OK ||
        curl_easy_setopt(curl, CURLOPT_TIMEOUT, conn->timeout) != CURLE_OK ||
        curl_easy_setopt(curl, CURLOPT_URL, url) != CURLE_OK ||
        curl_easy_setopt(curl, CURLOPT_USERAGENT, "restclient") != CURLE_OK ||
        curl_easy_setopt(curl, CURLOPT_POST, 1L) != CURLE_OK ||
        curl_easy_setopt(curl, CURLOPT_WRITEFUNCTION,
                         static_cast<curl_write_callback>(rest_write_cb)) != CURLE_OK ||
        curl_easy_setopt(curl, CURLOPT_HEADERFUNCTION,
                         static_cast<curl_write_callback>(rest_header_cb)) != CURLE_OK) {
        return false;
    }

    snprintf(text, sizeof text, "Content-Type: %.*s", field_length(conn->content_type),
             conn->content_type);
    handle->headers = curl_slist_append(nullptr, text);
    return handle->headers != nullptr &&
           curl_easy_setopt(curl, CURLOPT_HTTPHEADER, handle->headers) == CURLE_OK;
}

}  // namespace

rest_handle_t* rest_init(const rest_conn_t* conn) {
    if (conn == nullptr) return nullptr;

    auto* record = static_cast<rest_handle_record*>(calloc(1, sizeof(rest_handle_record)));
    if (record == nullptr) return nullptr;
    rest_handle_t* handle = &record->handle;
    if (!set_up(handle, conn)) {
        // Both calls accept null, so this one path serves a failure at any step.
        curl_slist_free_all(handle->headers);
        curl_easy_cleanup(handle->curl);
        free(record);
        return nullptr;
    }
    return handle;
}

void rest_deinit(rest_handle_t* handle) {
    if (handle == nullptr) return;
    curl_slist_free_all(handle->headers);
    curl_easy_cleanup(handle->curl);
    // Nothing balances this with curl_global_init: the first curl_easy_init did that work.
    curl_global_cleanup();
    free(handle);
}

rest_response_t* rest_post(rest_handle_t* handle, const char* body, long size) {
    if (handle == nullptr || handle->curl == nullptr) return nullptr;
    // With a null body libcurl would read the request from stdin instead.
    if (body == nullptr) {
        if (size != 0) return nullptr;
        body = "";
    }

    CURLcode& result = reinterpret_cast<rest_handle_record*>(handle)->last_result;
    rest_response_t* response = rest_response_alloc();
    if (response == nullptr) {
        result = CURLE_OUT_OF_MEMORY;
        return nullptr;
    }

    // The handle keeps these four pointers after the call; the next post replaces them before
    // libcurl can use them again.
    CURL* curl = handle->curl;
    reinterpret_cast<rest_response_record*>(response)->curl = curl;
    result = curl_easy_setopt(curl, CURLOPT_WRITEDATA, response);
    if (result == CURLE_OK) result = curl_easy_setopt(curl, CURLOPT_HEADERDATA, response);
    if (result == CURLE_OK) result = curl_easy_setopt(curl, CURLOPT_POSTFIELDS, body);
    if (result == CURLE_OK) result = curl_easy_setopt(curl, CURLOPT_POSTFIELDSIZE, size);
    if (result == CURLE_OK) result = curl_easy_perform(curl);
    if (result != CURLE_OK) {
        // Text collected before the transfer failed goes with the record.
        rest_free_response(response);
        return nullptr;
    }

    long status = 0;
    result = curl_easy_getinfo(curl, CURLINFO_RESPONSE_CODE, &status);
    if (result != CURLE_OK) {
        rest_free_response(response);
        return nullptr;
    }
    response->status = status;
    // The record outlives the transfer; nothing may reach the handle through it.
    reinterpret_cast<rest_response_record*>(response)->curl = nullptr;
    return response;
}

void rest_free_response(rest_response_t* response) {
    if (response == nullptr) return;
    free(response->body);
    free(response->header);
    free(response);
}

rest_response_t* rest_response_alloc() {
    auto* record = static_cast<rest_response_record*>(calloc(1, sizeof(rest_response_record)));
    return record == nullptr ? nullptr : &record->response;
}

CURLcode rest_last_result(const rest_handle_t* handle) {
    return reinterpret_cast<const rest_handle_record*>(handle)->last_result;
}

std::size_t rest_body_length(const rest_response_t* response) {
    const auto* record = reinterpret_cast<const rest_response_record*>(response);
    return response->body != nullptr ? record->body.length : 0;
}

std::size_t rest_append_chunk(const char* data, std::size_t size, std::size_t count,
                              rest_response_t* response, bool is_header) {
    // `response` is the first member of its record, so the two addresses are one.
    auto* record = reinterpret_cast<rest_response_record*>(response);
    char*& target = is_header ? response->header : response->body;
    rest_collected_text& text = is_header ? record->header : record->body;

    if (count != 0 && size > SIZE_MAX / count) return 0;
    const std::size_t n = size * count;

    // A NUL byte ends what this chunk contributes; the bytes after it are dropped although
    // they are reported as taken.
    const void* nul = n != 0 ? memchr(data, '\0', n) : nullptr;
    const std::size_t take =
        nul != nullptr ? static_cast<std::size_t>(static_cast<const char*>(nul) - data) : n;
    if (take > SIZE_MAX - 1 - kRestPadding - text.length) return 0;
    const std::size_t needed = text.length + take + 1 + kRestPadding;

    if (target == nullptr) {
        // Headers arrive a line at a time: one first block holds a usual set of them, or a
        // small answer, without growing; an announced answer gets its whole size at once.
        std::size_t first = needed < kFirstBlock ? kFirstBlock : needed;
        const std::size_t announced =
            text.expected <= kRestLargestExpected ? text.expected + 1 + kRestPadding : 0;
        if (announced > first) {
            target = static_cast<char*>(malloc(announced));
            if (target != nullptr) first = announced;
        }
        if (target == nullptr) target = static_cast<char*>(malloc(first));
        if (target == nullptr) return 0;
        ask_huge_pages(target, first);
        text.length = 0;
        text.capacity = first;
    } else if (needed > text.capacity) {
        // Geometric growth keeps a large answer linear in its size.
        std::size_t grown = text.capacity > SIZE_MAX / 2 ? needed : text.capacity * 2;
        if (grown < needed) grown = needed;
        char* block = static_cast<char*>(realloc(target, grown));
        if (block == nullptr) {
            free(target);
            target = nullptr;
            text = rest_collected_text{};
            return 0;
        }
        target = block;
        text.capacity = grown;
    }

    if (take != 0) memcpy(target + text.length, data, take);
    text.length += take;
    target[text.length] = '\0';
    return n;
}

extern "C" std::size_t rest_write_cb(char* data, std::size_t size, std::size_t count, void* user) {
    if (user == nullptr) return 0;
    auto* response = static_cast<rest_response_t*>(user);
    auto* record = reinterpret_cast<rest_response_record*>(response);
    if (response->body == nullptr && record->curl != nullptr) {
        // The headers are in when the body starts: its Content-Length, if any, is known.
        curl_off_t length = -1;
        if (curl_easy_getinfo(record->curl, CURLINFO_CONTENT_LENGTH_DOWNLOAD_T, &length) ==
                CURLE_OK &&
            length > 0) {
            record->body.expected = static_cast<std::size_t>(length);
        }
    }
    return rest_append_chunk(data, size, count, response, false);
}

extern "C" std::size_t rest_header_cb(char* data, std::size_t size, std::size_t count, void* user) {
    if (user == nullptr) return 0;
    return rest_append_chunk(data, size, count, static_cast<rest_response_t*>(user), true);
}
