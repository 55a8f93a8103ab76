#pragma once

// What the `zolt` extension's translation units share: the Python client object, how every C++
// type of the API crosses into Python and back, and the few templates that the generated
// per-family code (gen/python/<family>.cpp) calls to bind enumerations, records and methods.
//
// The generated code is a list of descriptions, one per enumeration, record and typed
// function; what a record's attribute, a method's argument or an output does in Python is
// decided here, once. Templates are instantiated per record type and per C++ signature of a
// typed function, never per field or per method, so that a family's translation unit stays
// small: record attributes, equality, repr, copying and pickling are plain functions of
// module.cpp that find the record's layout in its RecordInfo.

#include <json/value.h>
#include <pybind11/pybind11.h>

#include <cstddef>
#include <limits>
#include <map>
#include <mutex>
#include <string>
#include <tuple>
#include <type_traits>
#include <utility>
#include <vector>

#include "client/zoltclient.h"

namespace zolt_py {

namespace py = pybind11;

// Records of the schema (and the shared ones): every class type of the API that is not a text,
// a MAC, a list, a key tuple or a table.
template <class T>
struct is_record : std::is_class<T> {};
template <>
struct is_record<std::string> : std::false_type {};
template <>
struct is_record<zolt_mac_t> : std::false_type {};
template <class T>
struct is_record<std::vector<T>> : std::false_type {};
template <class... T>
struct is_record<std::tuple<T...>> : std::false_type {};
template <class K, class V>
struct is_record<std::map<K, V>> : std::false_type {};

// --- failures ---------------------------------------------------------------------------------

// Thrown by a method whose switch answered a non-zero code; becomes zolt.SwitchError.
struct switch_error : std::exception {
    switch_error(int code, const char* method) : code(code), method(method) {}
    const char* what() const noexcept override { return "switch error"; }
    int code;
    const char* method;
};

// Thrown by a call on a closed client; becomes zolt.ClosedError.
struct closed_error : std::exception {
    const char* what() const noexcept override { return "the client is closed"; }
};

// Where a value goes, for the text of a refusal: "zolt_appl_port_mib_conf_t.MTU" (a record
// field: owner and name) or "port_config_set: argument value" (owner, "argument " and name).
struct Where {
    const char* owner;
    const char* name;
    bool argument;
    std::string text() const;
};

[[noreturn]] void refuse_type(py::handle value, const Where& where, const char* expected);

// A class's __name__.
std::string type_name(py::handle type);

// A Python int that must lie in [low, high], as the unsigned bit pattern of the result;
// anything else raises OverflowError (out of range) or TypeError (no int) naming `where`.
// `word` is the schema's name for the width ("u8", "i32", ...).
unsigned long long checked_int(py::handle value, long long low, unsigned long long high,
                               const char* word, const Where& where);

// --- enumerations -----------------------------------------------------------------------------

// The Python class of enumeration E (a zolt.SchemaEnum subclass), set when the family that
// declares E is bound, and its value-to-member dict.
template <class E>
struct EnumClass {
    static inline PyObject* cls = nullptr;
    static inline PyObject* members = nullptr;
};

struct EnumValue {
    int value;
    const char* text;    // the wire text, exactly as the schema writes it
    const char* member;  // the Python member name (the text, made an identifier)
};

struct EnumInfo {
    const char* name;
    const EnumValue* values;
    std::size_t count;
    const char* doc;
    Json::Value (*to_json)(int value);
    py::object (*from_json)(const Json::Value& json);
};

// Creates the enumeration's class in `m` and registers its codec for to_json/from_json;
// returns the class and sets *members to its value-to-member dict.
PyObject* make_enum(py::module_& m, const EnumInfo& info, PyObject** members);

// The member of `value`, or a plain int for a value without text (a record built in C++ with
// zero in a field whose enumeration has no 0).
py::object enum_member(PyObject* members, int value);

// True (and *value set) when `src` is a member of `cls`, or with `convert` an int that is the
// value of one.
bool enum_value(PyObject* cls, PyObject* members, py::handle src, bool convert, int* value);

template <class E>
void bind_enum(py::module_& m, const char* name, const EnumValue* values, std::size_t count,
               const char* doc) {
    static const EnumInfo info{
        name, values, count, doc,
        [](int value) { return serialize(static_cast<E>(value)); },
        [](const Json::Value& json) -> py::object {
            E value{};
            parse(json, value);
            return enum_member(EnumClass<E>::members, static_cast<int>(value));
        }};
    EnumClass<E>::cls = make_enum(m, info, &EnumClass<E>::members);
}

}  // namespace zolt_py

// --- casters ----------------------------------------------------------------------------------

namespace pybind11 {
namespace detail {

// Every enumeration of the API is one of the schema's, and each is a zolt.SchemaEnum (an
// enum.IntEnum) in Python: members go out, members (or, when converting, their int values)
// come in.
template <class E>
struct type_caster<E, std::enable_if_t<std::is_enum<E>::value>> {
    PYBIND11_TYPE_CASTER(E, const_name("SchemaEnum"));

    bool load(handle src, bool convert) {
        int v = 0;
        if (!zolt_py::enum_value(zolt_py::EnumClass<E>::cls, zolt_py::EnumClass<E>::members, src,
                                 convert, &v)) {
            return false;
        }
        value = static_cast<E>(v);
        return true;
    }

    static handle cast(E src, return_value_policy, handle) {
        return zolt_py::enum_member(zolt_py::EnumClass<E>::members, static_cast<int>(src))
            .release();
    }
};

// Byte lists are bytes (or bytearray on the way in).
template <>
struct type_caster<std::vector<unsigned char>> {
    PYBIND11_TYPE_CASTER(std::vector<unsigned char>, const_name("bytes"));

    bool load(handle src, bool) {
        char* data = nullptr;
        Py_ssize_t size = 0;
        if (PyBytes_Check(src.ptr())) {
            if (PyBytes_AsStringAndSize(src.ptr(), &data, &size) != 0) throw error_already_set();
        } else if (PyByteArray_Check(src.ptr())) {
            data = PyByteArray_AsString(src.ptr());
            size = PyByteArray_Size(src.ptr());
        } else {
            return false;
        }
        value.assign(reinterpret_cast<unsigned char*>(data),
                     reinterpret_cast<unsigned char*>(data) + size);
        return true;
    }

    static handle cast(const std::vector<unsigned char>& src, return_value_policy, handle) {
        return PyBytes_FromStringAndSize(reinterpret_cast<const char*>(src.data()),
                                         static_cast<Py_ssize_t>(src.size()));
    }
};

}  // namespace detail
}  // namespace pybind11

namespace zolt_py {

// --- values: C++ to Python --------------------------------------------------------------------

inline py::object to_py(bool v) { return py::bool_(v); }
inline py::object to_py(const std::string& v) { return py::str(v); }
inline py::object to_py(const std::vector<unsigned char>& v) { return py::cast(v); }
py::object to_py(const zolt_mac_t& v);
py::object to_py(const std::vector<std::string>& v);
py::object to_py(const std::vector<unsigned short>& v);
py::object to_py(const std::vector<unsigned int>& v);
// The value of a key-only table's row, which never decodes.
inline py::object to_py(const std::tuple<>&) { return py::none(); }

template <class T, std::enable_if_t<std::is_integral<T>::value, int> = 0>
py::object to_py(T v) {
    return py::int_(v);
}

template <class E, std::enable_if_t<std::is_enum<E>::value, int> = 0>
py::object to_py(E v) {
    return enum_member(EnumClass<E>::members, static_cast<int>(v));
}

// Records: a new Python object holding a copy of the value, or the value itself where the
// caller gives it up. The copy is made here: pybind11 hands back the existing Python object for
// an address it already knows, whatever the return value policy.
template <class R, std::enable_if_t<is_record<std::decay_t<R>>::value, int> = 0>
py::object to_py(R&& v) {
    std::decay_t<R> value(std::forward<R>(v));
    return py::cast(std::move(value), py::return_value_policy::move);
}

template <class... M>
py::object to_py(const std::tuple<M...>& key) {
    return std::apply([](const M&... member) { return py::make_tuple(to_py(member)...); }, key);
}

// A get-all's table: a dict in the map's key order, the values moved out of the map.
template <class K, class V>
py::object to_py(std::map<K, V>&& table) {
    py::dict rows;
    for (auto& row : table) rows[to_py(row.first)] = to_py(std::move(row.second));
    return std::move(rows);
}

// --- values: Python to C++ (checked; refusals name `where`) -----------------------------------

void from_py(py::handle v, bool& out, const Where& where);
void from_py(py::handle v, std::string& out, const Where& where);
void from_py(py::handle v, zolt_mac_t& out, const Where& where);
void from_py(py::handle v, std::vector<unsigned char>& out, const Where& where);
void from_py(py::handle v, std::vector<std::string>& out, const Where& where);
void from_py(py::handle v, std::vector<unsigned short>& out, const Where& where);
void from_py(py::handle v, std::vector<unsigned int>& out, const Where& where);

// The schema's word for an integer width: "u8" .. "u64", "i16" .. "i64".
template <class T>
constexpr const char* int_word() {
    constexpr int bits = static_cast<int>(sizeof(T)) * 8;
    if (std::is_signed<T>::value) {
        return bits == 8 ? "i8" : bits == 16 ? "i16" : bits == 32 ? "i32" : "i64";
    }
    return bits == 8 ? "u8" : bits == 16 ? "u16" : bits == 32 ? "u32" : "u64";
}

template <class T, std::enable_if_t<std::is_integral<T>::value, int> = 0>
void from_py(py::handle v, T& out, const Where& where) {
    out = static_cast<T>(checked_int(v, static_cast<long long>(std::numeric_limits<T>::min()),
                                     static_cast<unsigned long long>(std::numeric_limits<T>::max()),
                                     int_word<T>(), where));
}

template <class E, std::enable_if_t<std::is_enum<E>::value, int> = 0>
void from_py(py::handle v, E& out, const Where& where) {
    int value = 0;
    if (!enum_value(EnumClass<E>::cls, EnumClass<E>::members, v, true, &value)) {
        refuse_type(v, where, type_name(EnumClass<E>::cls).c_str());
    }
    out = static_cast<E>(value);
}

template <class R, std::enable_if_t<is_record<R>::value, int> = 0>
void from_py(py::handle v, R& out, const Where& where) {
    if (!py::isinstance<R>(v)) {
        refuse_type(v, where, type_name(py::type::handle_of<R>()).c_str());
    }
    out = v.cast<const R&>();
}

// --- records ----------------------------------------------------------------------------------

// How one C++ field type is read and written from Python. `field` points at the member inside
// the record; `owner` is the Python object holding the record, which a nested record's
// attribute keeps alive.
struct Access {
    py::object (*get)(const void* field, py::handle owner);
    void (*set)(void* field, py::handle value, const Where& where);
};

template <class T>
const Access* access_of() {
    static const Access access{
        [](const void* field, py::handle owner) -> py::object {
            if constexpr (is_record<T>::value) {
                // A nested record is the parent's own member: `conf.inner.x = 1` changes conf.
                return py::cast(const_cast<T*>(static_cast<const T*>(field)),
                                py::return_value_policy::reference_internal, owner);
            } else {
                return to_py(*static_cast<const T*>(field));
            }
        },
        [](void* field, py::handle value, const Where& where) {
            from_py(value, *static_cast<T*>(field), where);
        }};
    return &access;
}

struct Field {
    const char* key;     // the JSON key, which is the attribute's name
    std::size_t offset;  // of the member within the record
    const Access* access;
};

// The byte offset of a member, measured on a real object (offsetof does not apply to records
// that hold strings).
template <class R, class T>
Field field(const char* key, T R::*member) {
    static const R probe{};
    const auto offset = static_cast<std::size_t>(reinterpret_cast<const char*>(&(probe.*member)) -
                                                 reinterpret_cast<const char*>(&probe));
    return Field{key, offset, access_of<T>()};
}

// Everything the plain functions of module.cpp need to treat a record generically.
struct RecordInfo {
    const char* name;
    const char* doc;
    const Field* fields;
    std::size_t count;
    void* (*self)(py::handle instance);  // the C++ record inside an instance
    void* (*make)();                     // a new value-initialised record
    void (*destroy)(void* record);
    py::object (*copy)(const void* record);
    Json::Value (*to_json)(const void* record);             // null for an opaque type
    py::object (*from_json)(const Json::Value& json);
    bool (*less)(const void* a, const void* b);              // null for an opaque type
};

// Constructor from keywords, attributes, ==, hash, repr, copying and pickling; registers the
// record's codec for to_json/from_json.
void finish_record(py::handle cls, const RecordInfo& info);

template <class R>
void bind_record(py::module_& m, RecordInfo& info) {
    info.self = [](py::handle h) -> void* { return &h.cast<R&>(); };
    info.make = []() -> void* { return new R(); };
    info.destroy = [](void* p) { delete static_cast<R*>(p); };
    info.copy = [](const void* p) { return to_py(*static_cast<const R*>(p)); };
    info.from_json = [](const Json::Value& json) -> py::object {
        R value{};
        parse(json, value);
        return py::cast(std::move(value));
    };
    py::class_<R> cls(m, info.name, info.doc);
    finish_record(cls, info);
}

template <class R>
RecordInfo record_info(const char* name, const char* doc, const Field* fields, std::size_t count) {
    RecordInfo info{};
    info.name = name;
    info.doc = doc;
    info.fields = fields;
    info.count = count;
    info.to_json = [](const void* p) { return serialize(*static_cast<const R*>(p)); };
    info.less = [](const void* a, const void* b) {
        return *static_cast<const R*>(a) < *static_cast<const R*>(b);
    };
    return info;
}

// A type that only answers carry: no fields, no writer, no order.
template <class R>
RecordInfo opaque_info(const char* name, const char* doc) {
    RecordInfo info{};
    info.name = name;
    info.doc = doc;
    return info;
}

// --- the client -------------------------------------------------------------------------------

// One handle of the library. Every call runs without the GIL and under the client's own lock,
// so that threads on different clients run in parallel and two threads on one client take
// turns; close() waits for a call in progress.
class Client {
public:
    Client(const std::string& url, const std::string& user, const std::string& password,
           long timeout, const std::string& content_type);
    ~Client();
    Client(const Client&) = delete;
    Client& operator=(const Client&) = delete;

    void close();
    bool closed() const { return handle_ == nullptr; }
    const std::string& url() const { return url_; }

    // Runs `call(handle)` without the GIL, under the lock; throws closed_error when closed.
    template <class Call>
    int run(Call&& call) {
        py::gil_scoped_release release;
        std::lock_guard<std::mutex> lock(mutex_);
        if (handle_ == nullptr) throw closed_error();
        return call(handle_);
    }

private:
    std::mutex mutex_;
    void* handle_ = nullptr;
    std::string url_;
};

// --- methods ---------------------------------------------------------------------------------
//
// Each typed function is described by a Method; the methods of one Python name (the overloads
// of one C++ name, in schema order) become one Python method whose single dispatcher, a plain
// function of module.cpp, picks the first overload whose arity matches and whose arguments all
// have the right Python types, as `zolt call` picks. The chosen overload then converts its
// arguments (checking widths, naming the argument), calls without the GIL and converts the
// output. Only `fits` and `invoke` below are instantiated, once per C++ signature.

using AnyFunction = void (*)();
struct Method;
using Fits = bool (*)(const py::args& args);
using Invoke = py::object (*)(Client& client, const Method& method, const py::args& args);

struct Method {
    const char* name;      // Python name: the C++ name without "zolt_"
    const char* rpc;       // the method string
    const char* args[4];   // argument names, for refusals
    std::size_t arity;
    bool exists;           // an existence get: True/False instead of raising
    const char* doc;       // the overload's docstring, its Python signature first
    AnyFunction function;  // the typed function, its type erased; `invoke` restores it
    Fits fits;
    Invoke invoke;
};

// Whether `src` can be an argument of type T at all: the right Python type (or, for a MAC, its
// text or bytes; for an enumeration, an int that is the value of a member).
bool fits_int(py::handle src);
bool fits_bool(py::handle src);
bool fits_str(py::handle src);
bool fits_mac(py::handle src);

template <class T>
bool fits(py::handle src) {
    if constexpr (std::is_same<T, bool>::value) {
        return fits_bool(src);
    } else if constexpr (std::is_integral<T>::value) {
        return fits_int(src);
    } else if constexpr (std::is_enum<T>::value) {
        int v = 0;
        return enum_value(EnumClass<T>::cls, EnumClass<T>::members, src, true, &v);
    } else if constexpr (std::is_same<T, std::string>::value) {
        return fits_str(src);
    } else if constexpr (std::is_same<T, zolt_mac_t>::value) {
        return fits_mac(src);
    } else {
        return py::isinstance<T>(src);
    }
}

template <std::size_t... I, class... T>
bool fits_all(const py::args& args, std::index_sequence<I...>, T*...) {
    return (fits<T>(args[I]) && ...);
}

// Every argument converted, in order; `I` numbers them for the refusals.
template <class... T, std::size_t... I>
std::tuple<T...> take_all(const Method& method, const py::args& args, std::index_sequence<I...>) {
    std::tuple<T...> values;
    (from_py(args[I], std::get<I>(values), Where{method.name, method.args[I], true}), ...);
    return values;
}

// A typed function with an output: `Out` is the output type, `A` the parameter types.
template <class Out, class... A>
py::object invoke_get(Client& client, const Method& method, const py::args& args) {
    auto values = take_all<std::decay_t<A>...>(method, args, std::index_sequence_for<A...>());
    const auto fn = reinterpret_cast<int (*)(void*, A..., Out*)>(method.function);
    Out out{};
    const int code = client.run([&](void* handle) {
        return std::apply([&](auto&... v) { return fn(handle, v..., &out); }, values);
    });
    if (code != 0) throw switch_error(code, method.rpc);
    return to_py(std::move(out));
}

// Bare calls, sets, adds, deletes and existence gets.
template <class... A>
py::object invoke_call(Client& client, const Method& method, const py::args& args) {
    auto values = take_all<std::decay_t<A>...>(method, args, std::index_sequence_for<A...>());
    const auto fn = reinterpret_cast<int (*)(void*, A...)>(method.function);
    const int code = client.run([&](void* handle) {
        return std::apply([&](auto&... v) { return fn(handle, v...); }, values);
    });
    if (method.exists) return py::bool_(code == 0);
    if (code != 0) throw switch_error(code, method.rpc);
    return py::none();
}

template <class... A>
bool fits_args(const py::args& args) {
    return fits_all(args, std::index_sequence_for<A...>(), static_cast<std::decay_t<A>*>(nullptr)...);
}

// What the generated tables write for a typed function: typed_get<Out, A...>(&zolt_x) for one with
// an output, typed_call<A...>(&zolt_x) for one without; the parameter types pick the overload.
struct Typed {
    AnyFunction function;
    std::size_t arity;
    Fits fits;
    Invoke invoke;
};

// The typed function's pointer type, spelled so that it is never deduced: the explicit template
// arguments alone decide it (a pack before the output pointer cannot be deduced anyway).
template <class Out, class... A>
struct GetFunction {
    using type = int (*)(void*, A..., Out*);
};
template <class... A>
struct CallFunction {
    using type = int (*)(void*, A...);
};

template <class Out, class... A>
Typed typed_get(typename GetFunction<Out, A...>::type fn) {
    return Typed{reinterpret_cast<AnyFunction>(fn), sizeof...(A), &fits_args<A...>,
                 &invoke_get<Out, A...>};
}

template <class... A>
Typed typed_call(typename CallFunction<A...>::type fn) {
    return Typed{reinterpret_cast<AnyFunction>(fn), sizeof...(A), &fits_args<A...>,
                 &invoke_call<A...>};
}

// A Method from its names and its typed function.
inline Method method(const char* name, const char* rpc, std::initializer_list<const char*> args,
                     bool exists, const char* doc, const Typed& typed) {
    Method m{name, rpc, {}, typed.arity, exists, doc, typed.function, typed.fits, typed.invoke};
    std::size_t i = 0;
    for (const char* arg : args) m.args[i++] = arg;
    return m;
}

// Adds the methods to zolt.Client, one Python method per name (module.cpp).
void def_methods(py::class_<Client>& cls, const Method* methods, std::size_t count);

}  // namespace zolt_py
