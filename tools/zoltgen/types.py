"""The type table: every type word of the schema and what each output needs to know of it.

A `Type` is a resolved reference: its kind, its C++ spelling, its parts (the element of a list,
the key and value of a map, the members of a tuple) and, for an enumeration, record or opaque
type, the declaration it names (`decl`, left out of equality so that a type compares by its
spelling). Scalars, MAC addresses, byte lists, integer and text lists and the time stamp are the
codec layer's own types; each has one `Word` below, and every emitter draws from that one table.
"""

from dataclasses import dataclass, field
from typing import Callable, Optional, Tuple

# The kinds a type can have.
SCALAR, MAC_KIND, BYTES_KIND, TIMESTAMP_KIND = "scalar", "mac", "bytes", "timestamp"
ENUM, RECORD, OPAQUE, LIST, MAP, TUPLE = "enum", "record", "opaque", "list", "map", "tuple"


@dataclass(frozen=True)
class Type:
    kind: str
    cpp: str                          # the C++ spelling
    args: Tuple["Type", ...] = ()     # list: element; map: key, value; tuple: members
    name: str = ""                    # a scalar's schema word, or the declared name
    decl: object = field(default=None, compare=False, hash=False, repr=False)

    def __str__(self):
        return self.cpp

    @property
    def word(self) -> Optional["Word"]:
        """The type table's entry, for the codec layer's own types; None for declared types,
        maps and tuples."""
        return WORD_OF.get(self)

    @property
    def enum(self):
        return self.decl if self.kind == ENUM else None

    @property
    def record(self):
        return self.decl if self.kind == RECORD else None

    @property
    def members(self):
        """A record's fields as (JSON key, type) pairs; empty for any other kind."""
        return [(f.key, f.type) for f in self.decl.fields] if self.kind == RECORD else []

    @property
    def key_only(self):
        return self.kind == TUPLE and not self.args

    @property
    def integer(self):
        return self.kind == SCALAR and self.word.check == "integer"


def scalar(name, cpp):
    return Type(SCALAR, cpp, name=name)


BOOL = scalar("bool", "bool")
U8 = scalar("u8", "unsigned char")
U16 = scalar("u16", "unsigned short")
U32 = scalar("u32", "unsigned int")
U64 = scalar("u64", "unsigned long long")
I16 = scalar("i16", "short")
I32 = scalar("i32", "int")
I64 = scalar("i64", "long long")
STRING = scalar("string", "std::string")
MAC = Type(MAC_KIND, "zolt_mac_t", name="zolt_mac_t")
BYTES = Type(BYTES_KIND, "std::vector<unsigned char>", (U8,), name="byte list")
STRINGS = Type(LIST, "std::vector<std::string>", (STRING,))
U16S = Type(LIST, "std::vector<unsigned short>", (U16,))
U32S = Type(LIST, "std::vector<unsigned int>", (U32,))
# The syslog history's time stamp: a 32-bit signed time_t.
TIMESTAMP = Type(TIMESTAMP_KIND, "zolt_time32_t", name="timestamp")
KEY_ONLY = Type(TUPLE, "std::tuple<>")


@dataclass(frozen=True)
class Word:
    """Everything the emitters know of one of the codec layer's types: the header takes its C++
    spelling, the typed functions its passing, the reference pages its wire form, the simulator
    its check and default, the sweep its sample. Enumerations and records follow the rules of
    the functions below."""
    type: Type
    field: Optional[str]     # the word in a record, None where no field may have the type
    arg: Optional[str]       # the word as an argument or output, None where none may have it
    passing: str             # "value", "ref", "either" (`T` or `T const&`), "" for no argument
    wire: str                # the JSON form, for the reference pages
    check: str               # the simulator's check: a Kind of sim/sim_schema.h
    low: int = 0             # the range of an integer (of each element of an integer list)
    high: int = 0
    default: object = None   # the value a fresh switch holds
    sample: Callable = None  # seed -> a value unlike the default, different for each seed


WORDS = [
    Word(BOOL, "bool", "bool", "ref", "boolean", "boolean", default=False,
         sample=lambda seed: True),
    Word(U8, "u8", "unsigned char", "value", "number 0..255", "integer", 0, 2**8 - 1, 0,
         lambda seed: 7 + seed % 100),
    Word(U16, "u16", "unsigned short", "either", "number 0..65535", "integer", 0, 2**16 - 1, 0,
         lambda seed: 1000 + seed),
    Word(U32, "u32", "unsigned int", "value", "number 0..4294967295", "integer", 0, 2**32 - 1,
         0, lambda seed: 1000 + seed),
    Word(U64, "u64", None, "", "number 0..2^64-1", "integer", 0, 2**64 - 1, 0,
         lambda seed: 5000000000 + seed),
    Word(I16, "i16", None, "", "signed number, 16 bits", "integer", -2**15, 2**15 - 1, 0,
         lambda seed: 7 + seed % 100),
    Word(I32, "i32", "int", "value", "signed number, 32 bits", "integer", -2**31, 2**31 - 1, 0,
         lambda seed: 1000 + seed),
    Word(I64, "i64", None, "", "signed number, 64 bits", "integer", -2**63, 2**63 - 1, 0,
         lambda seed: 5000000000 + seed),
    Word(STRING, "string", "string", "ref", "string", "text", default="",
         sample=lambda seed: f"text {seed}"),
    Word(MAC, "zolt_mac_t", "zolt_mac_t", "ref", '"00:1F:A2:0B:3C:D4"', "mac",
         default="00:00:00:00:00:00",
         sample=lambda seed: "02:00:00:00:%02X:%02X" % (seed // 256 % 256, seed % 256)),
    Word(BYTES, "byte list", None, "", "lower-case hex text", "hex", default="",
         sample=lambda seed: "0a0b%02x" % (seed % 256)),
    Word(STRINGS, "list of string", "vector<string>", "", "array of strings", "text_list",
         default=[], sample=lambda seed: ["Gi 1/2", f"Gi 1/{3 + seed % 5}"]),
    Word(U16S, "list of u16", None, "", "array of numbers 0..65535", "integer_list", 0,
         2**16 - 1, [], lambda seed: [1, 10 + seed]),
    Word(U32S, "list of u32", None, "", "array of numbers 0..4294967295", "integer_list", 0,
         2**32 - 1, [], lambda seed: [1, 10 + seed]),
    # Written as the number of seconds, read as local-time text: the switch sends the text, and a
    # fresh switch holds the text of second 0.
    Word(TIMESTAMP, "timestamp", None, "", 'written as a number, read as "YYYY-MM-DD HH:MM:SS"',
         "timestamp", -2**31, 2**31 - 1, "1970-01-01 00:00:00", lambda seed: 1700000000 + seed),
]
WORD_OF = {w.type: w for w in WORDS}
# Record field words and argument/output words (the scalars alone: vector<...> is read by its
# parts, zolt_mac_t by its name).
FIELD_WORDS = {w.field: w.type for w in WORDS if w.field}
CPP_WORDS = {w.arg: w.type for w in WORDS if w.arg and w.type.kind == SCALAR}
# Types that may key a table, alone or as a member of a tuple key.
KEY_SCALARS = (STRING, I32, U32, U16, U8)
TUPLE_MEMBER_SCALARS = (STRING, I32, U32, U16, MAC)
SCALAR_OUTPUTS = (BOOL, U32, U16)
TABLE_SCALAR_VALUES = (BOOL, U32, U16, STRING, STRINGS)


def passing_of(t):
    """"value", "ref" or "either" for a type that can be an argument, "" otherwise."""
    if t.word is not None:
        return t.word.passing
    return {ENUM: "value", RECORD: "ref"}.get(t.kind, "")


# --- values as JSON: what a fresh switch holds, what a write sends ------------------------------

def default_json(t):
    """A value as a freshly set-up switch would hold it: numbers 0, texts and lists empty,
    enumerations at their first text."""
    if t.word is not None:
        return t.word.default
    if t.kind == ENUM:
        return t.enum.values[0][1]
    if t.kind == OPAQUE:
        return {}
    if t.kind == RECORD:
        return {k: default_json(ft) for k, ft in t.members}
    if t.kind == TUPLE:
        return None
    raise AssertionError(t)


def written_json(t, seed=0):
    """A value unlike a fresh switch's in every field, so that a read after a write can tell
    whether each field made the trip: numbers away from 0, texts and lists not empty,
    enumerations at their last text."""
    if t.word is not None:
        return t.word.sample(seed)
    if t.kind == ENUM:
        return t.enum.values[-1][1]
    if t.kind == RECORD:
        return {k: written_json(ft, seed + i) for i, (k, ft) in enumerate(t.members)}
    raise AssertionError(t)


def key_json(t):
    """A key member the simulator's fresh state knows: interface keys name its first port."""
    if t == STRING:
        return "Gi 1/1"
    if t in (I32, U32, U16, U8):
        return 1
    if t == MAC:
        return "00:00:00:00:00:01"
    return default_json(t)
