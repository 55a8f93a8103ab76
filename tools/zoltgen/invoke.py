"""The library driven from JSON (tools/invoke.h): an invoker per typed function (JSON arguments
in, the typed function called, its output back as JSON) and a round trip per type of the schema.
The command line, the configuration engine, the suite's sweep and the codec fuzzer all call the
library through these."""

from .text import banner, c_string, signature


def round_trip(t):
    if t.kind == "timestamp":
        return "&round_trip_timestamp"
    return f"&round_trip<{t.cpp}>"


def invokers(model):
    order = [t for t in model.types() if t.kind not in ("tuple", "opaque", "map")]
    out = [banner("the schema: the library driven from JSON"),
           '#include "tools/invoke.h"\n\n#include "client/zoltclient.h"\n\n',
           "namespace zolt_tool {\n\nconst Codec kCodecs[] = {\n"]
    for t in sorted(order, key=lambda t: t.cpp):
        out.append(f"    {{{c_string(t.cpp)}, {round_trip(t)}}},\n")
    out.append("};\n\nconst std::size_t kCodecCount = sizeof(kCodecs) / sizeof(kCodecs[0]);\n\n")
    out.append("namespace {\n\n")
    methods = model.methods
    for i, m in enumerate(methods):
        names = [f"a{k}" for k in range(len(m.args))]
        out.append(f"// {signature(m)}\n"
                   f"int invoke{i}(void* handle, const Json::Value& args, Json::Value* output) {{\n")
        if not m.args:
            out.append("    (void)args;\n")
        if m.out is None or m.out.kind == "opaque":
            out.append("    (void)output;\n")
        for k, (a, n) in enumerate(zip(m.args, names)):
            out.append(f"    const auto {n} = argument<{a.type.cpp}>(args, {k});\n")
        call = ", ".join(["handle"] + names + (["&out"] if m.out is not None else []))
        if m.out is not None:
            out.append(f"    {m.out.cpp} out{{}};\n")
        out.append(f"    const int code = {m.exported}({call});\n")
        if m.out is not None and m.out.kind != "opaque":
            out.append("    if (code == 0) *output = output_json(out);\n")
        out.append("    return code;\n}\n\n")
    out.append("}  // namespace\n\nconst Invoker kInvokers[] = {\n")
    for i, m in enumerate(methods):
        out.append(f"    {{{c_string(signature(m))}, {c_string(m.rpc)}, {c_string(m.shape)}, &invoke{i}}},\n")
    out.append("};\n\nconst std::size_t kInvokerCount = sizeof(kInvokers) / sizeof(kInvokers[0]);\n\n"
               "}  // namespace zolt_tool\n")
    return "".join(out)


def emit(model):
    return [("invoke", "tools/invoke.cpp", invokers(model))]
