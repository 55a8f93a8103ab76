#pragma once

// The exceptions a typed function throws, with the detail an operator needs to act on them.
//
// Each keeps the standard type and the exact what() text that callers match on ("Post error",
// "Failed to parse!", "Unexpected type", ...): code that catches std::runtime_error or
// std::logic_error and prints what() sees exactly what it always saw. A caller that wants to
// know more catches the subclass, or asks zolt::describe() for one line of detail:
//
//   try {
//       rc = zolt_port_config_get(handle, "Gi 1/1", &conf);
//   } catch (const zolt::transfer_error& e) {      // "Post error"
//       std::fprintf(stderr, "%s (%s)\n", e.what(), e.curl_text().c_str());
//   } catch (const std::runtime_error& e) {
//       std::fprintf(stderr, "%s (%s)\n", e.what(), zolt::describe(e).c_str());
//   }
//
// Everything here is inline: the classes carry no key function and their type information is
// matched by name, so a catch in the application works across the shared library's boundary.

#include <cstddef>
#include <exception>
#include <stdexcept>
#include <string>
#include <utility>

#include "codec/errors.h"

namespace zolt {

// "Post error": the transfer did not complete (refused connection, time-out, name resolution,
// TLS, a connection closed without an answer...). Carries libcurl's result code (a CURLcode, 0
// when the failure came before any transfer, for instance a null handle or exhausted memory) and
// libcurl's text for it.
class transfer_error : public std::runtime_error {
public:
    transfer_error(int curl_code, std::string curl_text)
        : std::runtime_error("Post error"),
          curl_code_(curl_code),
          curl_text_(std::move(curl_text)) {}
    int curl_code() const noexcept { return curl_code_; }
    const std::string& curl_text() const noexcept { return curl_text_; }

private:
    int curl_code_;
    std::string curl_text_;
};

// "Network error, return code: N": an HTTP status outside 200-299 and 500-599.
class status_error : public std::runtime_error {
public:
    explicit status_error(long status)
        : std::runtime_error("Network error, return code: " + std::to_string(status)),
          status_(status) {}
    long status() const noexcept { return status_; }

private:
    long status_;
};

// An answer that is not a JSON-RPC answer: "Failed to parse!", "Not a object",
// "No error member", "No result member", and "Result is not an array" from a get-all. Carries the
// HTTP status and the first bytes of the answer's body (at most kExcerptSize).
class answer_error : public std::runtime_error {
public:
    static constexpr std::size_t kExcerptSize = 128;

    answer_error(const char* what, long status, std::string excerpt)
        : std::runtime_error(what), status_(status), excerpt_(std::move(excerpt)) {}
    long status() const noexcept { return status_; }
    const std::string& excerpt() const noexcept { return excerpt_; }

private:
    long status_;
    std::string excerpt_;
};

// One line of detail for any exception of the library, without its what() text: libcurl's text,
// the status, the first bytes of an answer, or the path of a decode failure; empty when there is
// nothing to add.
inline std::string describe(const std::exception& e) {
    if (const auto* t = dynamic_cast<const transfer_error*>(&e)) return t->curl_text();
    if (const auto* s = dynamic_cast<const status_error*>(&e)) {
        return "HTTP status " + std::to_string(s->status());
    }
    if (const auto* a = dynamic_cast<const answer_error*>(&e)) {
        std::string line = "HTTP status " + std::to_string(a->status());
        if (a->excerpt().empty()) return line + ", no body";
        line += ", body: ";
        for (char c : a->excerpt()) line += (c == '\n' || c == '\r' || c == '\t') ? ' ' : c;
        return line;
    }
    if (const auto* d = dynamic_cast<const decode_error*>(&e)) {
        return d->path().empty() ? std::string() : "at " + d->path();
    }
    if (const auto* l = dynamic_cast<const decode_logic_error*>(&e)) {
        return l->path().empty() ? std::string() : "at " + l->path();
    }
    return std::string();
}

}  // namespace zolt
