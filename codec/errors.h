#pragma once

// The exceptions of decoding, with the JSON path where decoding stopped. Each keeps the standard
// type and the exact what() text callers match on; the path is the detail ("result[3].val.MTU").
// The readers throw them with an empty path, and every level that reads a part of a value
// (a record member, an array element, a table row, the answer's "result") puts its own step in
// front as the exception passes through, so the success path pays nothing for it.
//
// Everything here is inline; see client/errors.h for the other exceptions of the library.

#include <stdexcept>
#include <string>

namespace zolt {

// A value of the answer that does not fit its type: "Unexpected type", "out-of-range-enum",
// "Mac address is invalid", "Unexpected HEX string", "not implemented". Carries the JSON path
// where decoding stopped, from the answer's root: "result[3].val.MTU".
class decode_error : public std::runtime_error {
public:
    explicit decode_error(const char* what) : std::runtime_error(what) {}
    const std::string& path() const noexcept { return path_; }
    // Puts `step` in front of the path: a member name, or "[i]" for an array element.
    void within(const std::string& step) { path_ = join(step, path_); }

    static std::string join(const std::string& step, const std::string& rest) {
        if (rest.empty() || rest.front() == '[') return step + rest;
        return step + "." + rest;
    }

private:
    std::string path_;
};

// The logic-error kind of decode failure: a record found where the answer holds an array,
// number, string or boolean, or a number read the wrong way. Same path as decode_error.
class decode_logic_error : public std::logic_error {
public:
    explicit decode_logic_error(const std::string& what) : std::logic_error(what) {}
    const std::string& path() const noexcept { return path_; }
    void within(const std::string& step) { path_ = decode_error::join(step, path_); }

private:
    std::string path_;
};

// Runs `read` and, if it throws a decode exception, puts the step that `step()` names in front of
// its path. Nothing is built unless something is thrown.
template <class Step, class Read>
void in_step(Step step, Read read) {
    try {
        read();
    } catch (decode_error& e) {
        e.within(step());
        throw;
    } catch (decode_logic_error& e) {
        e.within(step());
        throw;
    }
}

// The same for the member `key`.
template <class Read>
void in_member(const char* key, Read read) {
    in_step([key] { return std::string(key); }, read);
}

// The same for array element `index`, whose step is "[index]".
template <class Read>
void in_element(unsigned index, Read read) {
    in_step([index] { return "[" + std::to_string(index) + "]"; }, read);
}

}  // namespace zolt
