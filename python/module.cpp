// The `zolt._zolt` extension: the client object, MAC addresses, the translation of the library's
// exceptions, to_json/from_json, and the plain functions behind every record class. The
// families' enumerations, records and methods are bound by the generated translation units
// (gen/python/<family>.cpp), which bind_families (gen/python/families.cpp) calls in turn.

#include <curl/curl.h>
#include <json/reader.h>
#include <json/writer.h>

#include <cstring>
#include <memory>
#include <string>
#include <unordered_map>

#include "client/errors.h"
#include "python/binding.h"

namespace zolt_py {

void bind_families(py::module_& m, py::class_<Client>& client);

namespace {

// Handles that live as long as the process: the interpreter may be gone by the time static
// destructors run, so these are never released.
PyObject* g_base = nullptr;        // the module zolt._base
PyObject* g_builtins = nullptr;

py::object base_attr(const char* name) { return py::handle(g_base).attr(name); }

std::unordered_map<PyObject*, const RecordInfo*>& record_types() {
    static auto* types = new std::unordered_map<PyObject*, const RecordInfo*>();
    return *types;
}

std::unordered_map<PyObject*, const EnumInfo*>& enum_types() {
    static auto* types = new std::unordered_map<PyObject*, const EnumInfo*>();
    return *types;
}

[[noreturn]] void raise(PyObject* type, const std::string& message) {
    PyErr_SetString(type, message.c_str());
    throw py::error_already_set();
}

using Attrs = std::initializer_list<std::pair<const char*, py::object>>;

// Sets zolt.<cls>(message, detail), with further attributes, as the pending exception.
void set_error(const char* cls, const std::string& message, const std::string& detail = {},
               Attrs attrs = {}) {
    py::object type = base_attr(cls);
    py::object error = type(message, detail);
    for (const auto& attr : attrs) error.attr(attr.first) = attr.second;
    PyErr_SetObject(type.ptr(), error.ptr());
}

[[noreturn]] void raise_error(const char* cls, const std::string& message) {
    set_error(cls, message);
    throw py::error_already_set();
}

// --- libcurl's global state -------------------------------------------------------------------
//
// libcurl counts curl_global_init calls and tears its global state down when
// curl_global_cleanup brings the count to zero, whatever handles are still in use. The library
// calls curl_global_cleanup each time a handle is closed, without a matching init (the first
// curl_easy_init did that work). The module therefore takes one count for itself at import,
// returned at exit, and gives the count back before every close, so that a close only ever
// takes the count from two to one: the clients still calling on other threads keep working.

std::mutex g_curl_mutex;

void close_handle(void* handle) {
    std::lock_guard<std::mutex> lock(g_curl_mutex);
    curl_global_init(CURL_GLOBAL_DEFAULT);
    zoltclient_deinit(handle);
}

}  // namespace

// --- refusals ---------------------------------------------------------------------------------

std::string Where::text() const {
    if (argument) return std::string(owner) + ": argument " + name;
    return std::string(owner) + "." + name;
}

std::string type_name(py::handle type) { return py::str(type.attr("__name__")); }

void refuse_type(py::handle value, const Where& where, const char* expected) {
    raise(PyExc_TypeError, where.text() + ": expected " + expected + ", got " +
                               Py_TYPE(value.ptr())->tp_name);
}

unsigned long long checked_int(py::handle value, long long low, unsigned long long high,
                               const char* word, const Where& where) {
    if (!PyLong_Check(value.ptr()) || PyBool_Check(value.ptr())) refuse_type(value, where, "int");
    int overflow = 0;
    const long long v = PyLong_AsLongLongAndOverflow(value.ptr(), &overflow);
    if (v == -1 && PyErr_Occurred()) throw py::error_already_set();
    bool fits = false;
    unsigned long long bits = 0;
    if (overflow == 0) {
        fits = v >= low && (v < 0 || static_cast<unsigned long long>(v) <= high);
        bits = static_cast<unsigned long long>(v);
    } else if (overflow > 0) {
        bits = PyLong_AsUnsignedLongLong(value.ptr());
        if (PyErr_Occurred()) {
            PyErr_Clear();
        } else {
            fits = bits <= high;
        }
    }
    if (!fits) {
        raise(PyExc_OverflowError, where.text() + ": " + py::repr(value).cast<std::string>() +
                                       " does not fit " + word + " (" + std::to_string(low) +
                                       ".." + std::to_string(high) + ")");
    }
    return bits;
}

// --- values -----------------------------------------------------------------------------------

py::object to_py(const zolt_mac_t& v) {
    return py::cast(zolt_mac_t(v), py::return_value_policy::move);
}

template <class T>
py::object list_to_py(const std::vector<T>& v) {
    py::list list(v.size());
    for (std::size_t i = 0; i < v.size(); ++i) list[i] = to_py(v[i]);
    return std::move(list);
}

py::object to_py(const std::vector<std::string>& v) { return list_to_py(v); }
py::object to_py(const std::vector<unsigned short>& v) { return list_to_py(v); }
py::object to_py(const std::vector<unsigned int>& v) { return list_to_py(v); }

void from_py(py::handle v, bool& out, const Where& where) {
    if (!PyBool_Check(v.ptr())) refuse_type(v, where, "bool");
    out = v.ptr() == Py_True;
}

void from_py(py::handle v, std::string& out, const Where& where) {
    if (!PyUnicode_Check(v.ptr())) refuse_type(v, where, "str");
    Py_ssize_t size = 0;
    const char* text = PyUnicode_AsUTF8AndSize(v.ptr(), &size);
    if (text == nullptr) throw py::error_already_set();
    out.assign(text, static_cast<std::size_t>(size));
}

// A MAC from a zolt.Mac, its text (read as the library reads the wire) or six bytes.
void from_py(py::handle v, zolt_mac_t& out, const Where& where) {
    if (py::isinstance<zolt_mac_t>(v)) {
        out = v.cast<const zolt_mac_t&>();
    } else if (PyUnicode_Check(v.ptr())) {
        std::string text;
        from_py(v, text, where);
        try {
            parse(Json::Value(text), out);
        } catch (const std::runtime_error& e) {
            raise(PyExc_ValueError,
                  where.text() + ": " + e.what() + ": " + py::repr(v).cast<std::string>());
        }
    } else if (PyBytes_Check(v.ptr())) {
        if (PyBytes_Size(v.ptr()) != 6) {
            raise(PyExc_ValueError, where.text() + ": a MAC address is six bytes, not " +
                                        std::to_string(PyBytes_Size(v.ptr())));
        }
        std::memcpy(out.addr, PyBytes_AsString(v.ptr()), 6);
    } else {
        refuse_type(v, where, "Mac");
    }
}

void from_py(py::handle v, std::vector<unsigned char>& out, const Where& where) {
    py::detail::make_caster<std::vector<unsigned char>> caster;
    if (!caster.load(v, true)) refuse_type(v, where, "bytes");
    out = py::detail::cast_op<std::vector<unsigned char>&&>(std::move(caster));
}

template <class T>
void list_from_py(py::handle v, std::vector<T>& out, const Where& where) {
    if (!PyList_Check(v.ptr()) && !PyTuple_Check(v.ptr())) refuse_type(v, where, "list");
    std::vector<T> values;
    std::size_t index = 0;
    for (py::handle item : py::reinterpret_borrow<py::sequence>(v)) {
        const std::string name = std::string(where.name) + "[" + std::to_string(index++) + "]";
        T value{};
        from_py(item, value, Where{where.owner, name.c_str(), where.argument});
        values.push_back(std::move(value));
    }
    out = std::move(values);
}

void from_py(py::handle v, std::vector<std::string>& out, const Where& where) {
    list_from_py(v, out, where);
}
void from_py(py::handle v, std::vector<unsigned short>& out, const Where& where) {
    list_from_py(v, out, where);
}
void from_py(py::handle v, std::vector<unsigned int>& out, const Where& where) {
    list_from_py(v, out, where);
}

// --- methods ---------------------------------------------------------------------------------

bool fits_int(py::handle src) { return PyLong_Check(src.ptr()) && !PyBool_Check(src.ptr()); }
bool fits_bool(py::handle src) { return PyBool_Check(src.ptr()); }
bool fits_str(py::handle src) { return PyUnicode_Check(src.ptr()); }
bool fits_mac(py::handle src) {
    return py::isinstance<zolt_mac_t>(src) || PyUnicode_Check(src.ptr()) || PyBytes_Check(src.ptr());
}

namespace {

// The refusal when no overload takes the arguments: each overload's signature, and the types
// given.
[[noreturn]] void no_overload(const std::vector<const Method*>& overloads, const py::args& args) {
    std::string text = std::string(overloads.front()->name) + "(): no overload takes (";
    for (std::size_t i = 0; i < args.size(); ++i) {
        text += (i ? ", " : "") + std::string(Py_TYPE(args[i].ptr())->tp_name);
    }
    text += "); the overloads are:";
    for (const Method* m : overloads) {
        const std::string doc = m->doc;
        text += "\n    " + doc.substr(0, doc.find('\n'));
    }
    raise(PyExc_TypeError, text);
}

}  // namespace

void def_methods(py::class_<Client>& cls, const Method* methods, std::size_t count) {
    // Each overload's docstring starts with its Python signature; pybind11's own would only show
    // the dispatcher's (*args).
    py::options options;
    options.disable_function_signatures();
    std::vector<std::string> names;
    std::map<std::string, std::vector<const Method*>> by_name;
    for (std::size_t i = 0; i < count; ++i) {
        if (by_name.count(methods[i].name) == 0) names.push_back(methods[i].name);
        by_name[methods[i].name].push_back(&methods[i]);
    }
    for (const std::string& name : names) {
        // Owned by the Python method for the life of the module.
        auto* overloads = new std::vector<const Method*>(by_name[name]);
        std::string doc;
        for (const Method* m : *overloads) doc += (doc.empty() ? "" : "\n") + std::string(m->doc);
        cls.def(overloads->front()->name,
                [overloads](Client& client, py::args args) -> py::object {
                    for (const Method* m : *overloads) {
                        if (args.size() == m->arity && m->fits(args)) {
                            return m->invoke(client, *m, args);
                        }
                    }
                    no_overload(*overloads, args);
                },
                py::doc(doc.c_str()));
    }
}

// --- enumerations -----------------------------------------------------------------------------

PyObject* make_enum(py::module_& m, const EnumInfo& info, PyObject** members) {
    py::list names;
    py::dict texts;
    for (std::size_t i = 0; i < info.count; ++i) {
        names.append(py::make_tuple(info.values[i].member, info.values[i].value));
        texts[py::int_(info.values[i].value)] = py::str(info.values[i].text);
    }
    py::object cls = base_attr("SchemaEnum")(info.name, names, py::arg("module") = "zolt",
                                                        py::arg("qualname") = info.name);
    cls.attr("_zolt_texts") = texts;
    cls.attr("__doc__") = info.doc;
    m.attr(info.name) = cls;
    enum_types()[cls.ptr()] = &info;
    *members = py::object(cls.attr("_value2member_map_")).release().ptr();
    return cls.release().ptr();
}

py::object enum_member(PyObject* members, int value) {
    py::int_ key(value);
    PyObject* member = PyDict_GetItemWithError(members, key.ptr());
    if (member != nullptr) return py::reinterpret_borrow<py::object>(member);
    if (PyErr_Occurred()) throw py::error_already_set();
    return std::move(key);
}

bool enum_value(PyObject* cls, PyObject* members, py::handle src, bool convert, int* value) {
    const int is = PyObject_IsInstance(src.ptr(), cls);
    if (is < 0) throw py::error_already_set();
    if (is == 0) {
        // Plain ints only: a member of another enumeration is refused, not read as its value.
        if (!convert || !PyLong_CheckExact(src.ptr())) return false;
        const int known = PyDict_Contains(members, src.ptr());
        if (known < 0) throw py::error_already_set();
        if (known == 0) return false;
    }
    const long v = PyLong_AsLong(src.ptr());
    if (v == -1 && PyErr_Occurred()) throw py::error_already_set();
    *value = static_cast<int>(v);
    return true;
}

// --- records ----------------------------------------------------------------------------------

namespace {

char* record_of(const RecordInfo& info, py::handle self) {
    return static_cast<char*>(info.self(self));
}

const Field* field_named(const RecordInfo& info, const std::string& key) {
    for (std::size_t i = 0; i < info.count; ++i) {
        if (key == info.fields[i].key) return &info.fields[i];
    }
    return nullptr;
}

void set_fields(const RecordInfo& info, char* record, const py::dict& values) {
    for (auto item : values) {
        const std::string key = py::str(item.first);
        const Field* f = field_named(info, key);
        if (f == nullptr) {
            raise(PyExc_TypeError,
                  std::string(info.name) + "() got an unexpected keyword argument '" + key + "'");
        }
        f->access->set(record + f->offset, item.second, Where{info.name, f->key, false});
    }
}

py::object field_value(const RecordInfo& info, const Field& f, py::handle self) {
    return f.access->get(record_of(info, self) + f.offset, self);
}

// A value as the record's repr shows it: an enumeration member as Class.member.
std::string value_repr(py::handle value) {
    py::handle cls = py::handle(reinterpret_cast<PyObject*>(Py_TYPE(value.ptr())));
    if (enum_types().count(cls.ptr()) != 0) {
        return py::str(cls.attr("__name__")).cast<std::string>() + "." +
               py::str(value.attr("name")).cast<std::string>();
    }
    return py::repr(value);
}

// Lists become tuples so that a record holding one can still be hashed.
py::object hashable(py::handle value) {
    if (PyList_Check(value.ptr())) return py::tuple(py::reinterpret_borrow<py::list>(value));
    return py::reinterpret_borrow<py::object>(value);
}

py::dict state_of(const RecordInfo& info, py::handle self) {
    py::dict state;
    for (std::size_t i = 0; i < info.count; ++i) {
        state[info.fields[i].key] = field_value(info, info.fields[i], self);
    }
    return state;
}

}  // namespace

void finish_record(py::handle cls, const RecordInfo& info) {
    const RecordInfo* r = &info;
    record_types()[cls.ptr()] = r;
    auto method = [&cls](const char* name, py::cpp_function f) {
        py::setattr(cls, name, f);
    };

    method("__init__",
           py::cpp_function(
               [r](py::detail::value_and_holder& v_h, py::args args, py::kwargs kwargs) {
                   if (!args.empty()) {
                       raise(PyExc_TypeError,
                             std::string(r->name) + "() takes keyword arguments only");
                   }
                   std::unique_ptr<void, void (*)(void*)> record(r->make(), r->destroy);
                   set_fields(*r, static_cast<char*>(record.get()), kwargs);
                   v_h.value_ptr() = record.release();
               },
               py::name("__init__"), py::is_method(cls),
               py::detail::is_new_style_constructor()));

    py::object property = py::handle(g_builtins).attr("property");
    py::tuple keys(info.count);
    for (std::size_t i = 0; i < info.count; ++i) {
        const Field* f = &info.fields[i];
        keys[i] = py::str(f->key);
        py::cpp_function get([r, f](py::handle self) { return field_value(*r, *f, self); });
        py::cpp_function set([r, f](py::handle self, py::handle value) {
            f->access->set(record_of(*r, self) + f->offset, value, Where{r->name, f->key, false});
        });
        py::setattr(cls, f->key, property(get, set));
    }
    py::setattr(cls, "_fields", keys);

    method("__eq__", py::cpp_function(
                         [r](py::handle self, py::handle other) -> py::object {
                             if (Py_TYPE(self.ptr()) != Py_TYPE(other.ptr())) {
                                 return py::reinterpret_borrow<py::object>(Py_NotImplemented);
                             }
                             if (r->less == nullptr) return py::bool_(true);
                             const void* a = r->self(self);
                             const void* b = r->self(other);
                             return py::bool_(!r->less(a, b) && !r->less(b, a));
                         },
                         py::is_method(cls)));
    method("__hash__", py::cpp_function(
                           [r](py::handle self) {
                               py::tuple values(r->count);
                               for (std::size_t i = 0; i < r->count; ++i) {
                                   values[i] = hashable(field_value(*r, r->fields[i], self));
                               }
                               return py::hash(values);
                           },
                           py::is_method(cls)));
    method("__repr__", py::cpp_function(
                           [r](py::handle self) {
                               std::string text = std::string(r->name) + "(";
                               for (std::size_t i = 0; i < r->count; ++i) {
                                   if (i) text += ", ";
                                   text += r->fields[i].key;
                                   text += "=" + value_repr(field_value(*r, r->fields[i], self));
                               }
                               return text + ")";
                           },
                           py::is_method(cls)));
    method("__copy__", py::cpp_function([r](py::handle self) { return r->copy(r->self(self)); },
                                        py::is_method(cls)));
    method("__deepcopy__",
           py::cpp_function([r](py::handle self, py::handle) { return r->copy(r->self(self)); },
                            py::is_method(cls)));
    // Pickled as the class and its fields by name, so that a pickle survives a new field.
    method("__reduce__", py::cpp_function(
                             [r](py::handle self) {
                                 return py::make_tuple(py::type::handle_of(self), py::tuple(),
                                                       state_of(*r, self));
                             },
                             py::is_method(cls)));
    method("__setstate__", py::cpp_function(
                               [r](py::handle self, py::dict state) {
                                   set_fields(*r, record_of(*r, self), state);
                               },
                               py::is_method(cls)));
    py::setattr(cls, "__module__", py::str("zolt"));
}

// --- the client -------------------------------------------------------------------------------

namespace {

void copy_text(char* target, std::size_t size, const std::string& text, const char* what) {
    if (text.size() >= size) {
        raise(PyExc_ValueError, std::string(what) + " is longer than " +
                                    std::to_string(size - 1) + " bytes");
    }
    std::memcpy(target, text.c_str(), text.size() + 1);
}

}  // namespace

Client::Client(const std::string& url, const std::string& user, const std::string& password,
               long timeout, const std::string& content_type)
    : url_(url) {
    if (timeout < 0) raise(PyExc_ValueError, "timeout must not be negative");
    auto conn = std::make_unique<rest_conn_t>();
    copy_text(conn->url, sizeof conn->url, url, "url");
    copy_text(conn->user, sizeof conn->user, user, "user");
    copy_text(conn->password, sizeof conn->password, password, "password");
    copy_text(conn->content_type, sizeof conn->content_type, content_type, "content_type");
    conn->timeout = timeout;
    {
        py::gil_scoped_release release;
        handle_ = zoltclient_init(conn.get());
    }
    if (handle_ == nullptr) raise_error("Error", "the connection could not be set up");
}

Client::~Client() {
    if (handle_ != nullptr) close_handle(handle_);
}

void Client::close() {
    py::gil_scoped_release release;
    std::lock_guard<std::mutex> lock(mutex_);
    if (handle_ != nullptr) close_handle(handle_);
    handle_ = nullptr;
}

// --- to_json / from_json ----------------------------------------------------------------------

namespace {

Json::Value json_of(py::handle v) {
    PyObject* p = v.ptr();
    PyObject* type = reinterpret_cast<PyObject*>(Py_TYPE(p));
    if (p == Py_None) return Json::Value();
    if (PyBool_Check(p)) return Json::Value(p == Py_True);
    const auto e = enum_types().find(type);
    if (e != enum_types().end()) return e->second->to_json(static_cast<int>(PyLong_AsLong(p)));
    const auto r = record_types().find(type);
    if (r != record_types().end()) {
        if (r->second->to_json == nullptr) {
            raise(PyExc_TypeError, std::string(r->second->name) + " is opaque: it has no JSON form");
        }
        return r->second->to_json(r->second->self(v));
    }
    if (py::isinstance<zolt_mac_t>(v)) return zolt::to_json(v.cast<const zolt_mac_t&>());
    if (PyUnicode_Check(p)) {
        std::string text;
        from_py(v, text, Where{"to_json", "value", true});
        return Json::Value(text);
    }
    if (PyBytes_Check(p) || PyByteArray_Check(p)) {
        std::vector<unsigned char> bytes;
        from_py(v, bytes, Where{"to_json", "value", true});
        return zolt::to_json(bytes);
    }
    if (PyLong_Check(p)) {
        const Where where{"to_json", "value", true};
        if (_PyLong_Sign(p) < 0) {
            return Json::Value(static_cast<Json::Int64>(checked_int(
                v, std::numeric_limits<long long>::min(), 0, "i64", where)));
        }
        return Json::Value(static_cast<Json::UInt64>(
            checked_int(v, 0, std::numeric_limits<unsigned long long>::max(), "u64", where)));
    }
    // A get-all's dict goes out as the rows of its answer, in the dict's order.
    if (PyDict_Check(p)) {
        Json::Value rows(Json::arrayValue);
        for (auto item : py::reinterpret_borrow<py::dict>(v)) {
            Json::Value row(Json::objectValue);
            row["key"] = json_of(item.first);
            row["val"] = json_of(item.second);
            rows.append(row);
        }
        return rows;
    }
    if (PyList_Check(p) || PyTuple_Check(p)) {
        Json::Value array(Json::arrayValue);
        for (py::handle item : py::reinterpret_borrow<py::sequence>(v)) array.append(json_of(item));
        return array;
    }
    raise(PyExc_TypeError, std::string("to_json: no JSON form for ") + Py_TYPE(p)->tp_name);
}

std::string to_json_text(py::handle value) {
    const Json::Value json = json_of(value);
    Json::StreamWriterBuilder writer;
    writer["indentation"] = "";
    return Json::writeString(writer, json);
}

template <class T>
py::object parsed(const Json::Value& json) {
    T value{};
    parse(json, value);
    return to_py(std::move(value));
}

py::object from_json(py::handle type, const std::string& text) {
    Json::Value json;
    Json::Reader reader;
    if (!reader.parse(text, json)) {
        raise(PyExc_ValueError, "from_json: not JSON: " + reader.getFormattedErrorMessages());
    }
    const auto e = enum_types().find(type.ptr());
    if (e != enum_types().end()) return e->second->from_json(json);
    const auto r = record_types().find(type.ptr());
    if (r != record_types().end()) return r->second->from_json(json);
    if (type.is(py::type::of<zolt_mac_t>())) return parsed<zolt_mac_t>(json);
    PyObject* t = type.ptr();
    if (t == reinterpret_cast<PyObject*>(&PyBytes_Type)) {
        return parsed<std::vector<unsigned char>>(json);
    }
    if (t == reinterpret_cast<PyObject*>(&PyUnicode_Type)) return parsed<std::string>(json);
    if (t == reinterpret_cast<PyObject*>(&PyBool_Type)) return parsed<bool>(json);
    if (t == reinterpret_cast<PyObject*>(&PyLong_Type)) {
        if (json.isUInt64() && !json.isInt64()) return parsed<unsigned long long>(json);
        return parsed<long long>(json);
    }
    raise(PyExc_TypeError, "from_json: no codec for " + py::repr(type).cast<std::string>());
}

// --- exceptions -------------------------------------------------------------------------------

void translate(std::exception_ptr p) {
    try {
        std::rethrow_exception(p);
    } catch (const py::error_already_set&) {
        throw;
    } catch (const py::builtin_exception&) {
        throw;
    } catch (const switch_error& e) {
        py::object type = base_attr("SwitchError");
        py::object error = type(e.code, e.method);
        PyErr_SetObject(type.ptr(), error.ptr());
    } catch (const closed_error& e) {
        py::object type = base_attr("ClosedError");
        PyErr_SetObject(type.ptr(), type(e.what()).ptr());
    } catch (const zolt::transfer_error& e) {
        set_error("TransferError", e.what(), zolt::describe(e),
                    {{"curl_code", py::int_(e.curl_code())},
                     {"curl_text", py::str(e.curl_text())}});
    } catch (const zolt::status_error& e) {
        set_error("StatusError", e.what(), zolt::describe(e),
                    {{"status", py::int_(e.status())}});
    } catch (const zolt::answer_error& e) {
        set_error("AnswerError", e.what(), zolt::describe(e),
                    {{"status", py::int_(e.status())},
                     {"excerpt", py::reinterpret_steal<py::object>(PyUnicode_DecodeUTF8(
                                     e.excerpt().data(),
                                     static_cast<Py_ssize_t>(e.excerpt().size()), "replace"))}});
    } catch (const zolt::decode_error& e) {
        set_error("DecodeError", e.what(), zolt::describe(e), {{"path", py::str(e.path())}});
    } catch (const zolt::decode_logic_error& e) {
        set_error("DecodeLogicError", e.what(), zolt::describe(e),
                    {{"path", py::str(e.path())}});
    } catch (const std::logic_error& e) {
        set_error("LogicError", e.what());
    } catch (const std::runtime_error& e) {
        set_error("Error", e.what(), zolt::describe(e));
    }
}

}  // namespace

}  // namespace zolt_py

PYBIND11_MODULE(_zolt, m) {
    namespace py = pybind11;
    using zolt_py::Client;

    // One count of libcurl's global state for the module's lifetime (see close_handle).
    if (curl_global_init(CURL_GLOBAL_DEFAULT) != CURLE_OK) {
        throw std::runtime_error("curl_global_init failed");
    }
    Py_AtExit(&curl_global_cleanup);

    zolt_py::g_base = py::module_::import("zolt._base").release().ptr();
    zolt_py::g_builtins = py::module_::import("builtins").release().ptr();
    py::register_exception_translator(&zolt_py::translate);

    m.doc() = "The typed client of libzolt-client: one method per typed function of the library.";
    m.attr("__version__") = ZOLT_CLIENT_VERSION_STRING;

    py::class_<zolt_mac_t> mac(m, "Mac", "A MAC address: six bytes, written \"00:1F:A2:0B:3C:D4\".");
    mac.def(py::init([](py::handle address) {
                zolt_mac_t value{};
                zolt_py::from_py(address, value, zolt_py::Where{"Mac", "address", true});
                return value;
            }),
            py::arg("address"), "From the address's text (as the switch writes it) or six bytes.")
        .def("__str__", [](const zolt_mac_t& v) { return zolt::to_json(v).asString(); })
        .def("__repr__",
             [](const zolt_mac_t& v) { return "Mac('" + zolt::to_json(v).asString() + "')"; })
        .def("__bytes__",
             [](const zolt_mac_t& v) {
                 return py::bytes(reinterpret_cast<const char*>(v.addr), sizeof v.addr);
             })
        .def("__hash__",
             [](const zolt_mac_t& v) {
                 return py::hash(py::bytes(reinterpret_cast<const char*>(v.addr), sizeof v.addr));
             })
        .def("__eq__",
             [](const zolt_mac_t& a, py::handle b) -> py::object {
                 if (!py::isinstance<zolt_mac_t>(b)) {
                     return py::reinterpret_borrow<py::object>(Py_NotImplemented);
                 }
                 return py::bool_(std::memcmp(a.addr, b.cast<const zolt_mac_t&>().addr, 6) == 0);
             })
        .def("__lt__", [](const zolt_mac_t& a, const zolt_mac_t& b) { return a < b; })
        .def("__copy__", [](const zolt_mac_t& v) { return v; })
        .def("__deepcopy__", [](const zolt_mac_t& v, py::handle) { return v; })
        .def("__reduce__", [](py::handle self) {
            return py::make_tuple(py::type::handle_of(self), py::make_tuple(py::str(self)));
        });
    mac.attr("__module__") = "zolt";

    py::class_<Client> client(m, "Client",
                              "One connection to a switch. Every method releases the GIL for the "
                              "whole call; one client is used by one call at a time.");
    client
        .def(py::init<const std::string&, const std::string&, const std::string&, long,
                      const std::string&>(),
             py::arg("url"), py::arg("user") = "", py::arg("password") = "",
             py::arg("timeout") = 10, py::arg("content_type") = "application/json")
        .def("close", &Client::close,
             "Closes the connection; waits for a call in progress. Closing twice is harmless.")
        .def_property_readonly("closed", &Client::closed)
        .def_property_readonly("url", &Client::url)
        .def("__enter__", [](py::handle self) { return self; })
        .def("__exit__", [](Client& c, py::args) { c.close(); })
        .def("__repr__", [](const Client& c) {
            return "<zolt.Client " + py::repr(py::str(c.url())).cast<std::string>() +
                   (c.closed() ? " closed>" : ">");
        });
    client.attr("__module__") = "zolt";

    m.def("to_json", &zolt_py::to_json_text, py::arg("value"),
          "The JSON text of a value as the library writes it: records, enumerations, Mac, bytes, "
          "numbers, texts, lists and key tuples; a get-all's dict as its rows "
          "[{\"key\": ..., \"val\": ...}].");
    m.def("from_json", &zolt_py::from_json, py::arg("type"), py::arg("json"),
          "Reads JSON text as the library reads an answer's value of `type` (a record or "
          "enumeration class, Mac, bytes, str, int or bool).");

    zolt_py::bind_families(m, client);
}
