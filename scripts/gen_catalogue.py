#!/usr/bin/env python3
"""Turns the product catalogue (data/catalogue.toml) into C++ for the library.

    gen_catalogue.py CATALOGUE.toml OUTPUT.cpp     generate
    gen_catalogue.py --check CATALOGUE.toml        only validate

Every entry is checked against the schema below: an unknown table or key, a
value of the wrong type or out of range, a duplicate name or name number is
an error naming the file, the entry and the key, and the build fails. The
output is written only when it changes, so an unchanged catalogue rebuilds
nothing. Standard library only (tomllib, Python 3.11+).
"""
import re
import sys
import tomllib


class CatalogueError(Exception):
    pass


def _int(lo, hi):
    def check(where, v):
        if isinstance(v, bool) or not isinstance(v, int):
            raise CatalogueError(f"{where}: expected an integer, got {type(v).__name__}")
        if not lo <= v <= hi:
            raise CatalogueError(f"{where}: {v} is out of range {lo}..{hi}")
        return v
    return check


def _bool(where, v):
    if not isinstance(v, bool):
        raise CatalogueError(f"{where}: expected true or false, got {type(v).__name__}")
    return v


def _text(pattern, what):
    rx = re.compile(pattern)

    def check(where, v):
        if not isinstance(v, str):
            raise CatalogueError(f"{where}: expected a string, got {type(v).__name__}")
        if not rx.fullmatch(v):
            raise CatalogueError(f"{where}: {v!r} is not {what}")
        return v
    return check


def _choice(*values):
    def check(where, v):
        if v not in values:
            raise CatalogueError(f"{where}: {v!r} is not one of {', '.join(map(repr, values))}")
        return v
    return check


def _range(where, v):
    if not isinstance(v, list) or len(v) != 2:
        raise CatalogueError(f"{where}: expected [low, high]")
    out = []
    for i, x in enumerate(v):
        if isinstance(x, bool) or not isinstance(x, (int, float)):
            raise CatalogueError(f"{where}[{i}]: expected a number, got {type(x).__name__}")
        if not -9999.0 <= x <= 9999.0:
            raise CatalogueError(f"{where}[{i}]: {x} is out of range -9999..9999")
        out.append(float(x))
    if out[0] >= out[1]:
        raise CatalogueError(f"{where}: low {out[0]} is not below high {out[1]}")
    return out


def _variants(where, v):
    if not isinstance(v, list):
        raise CatalogueError(f"{where}: expected a list of strings")
    marks = [_text(r"[A-Z]{1,4}", "1 to 4 upper-case letters")(f"{where}[{i}]", x) for i, x in enumerate(v)]
    if len(set(marks)) != len(marks):
        raise CatalogueError(f"{where}: duplicate variant mark")
    return marks


# key: (checker, default). A default of None means the key is required.
SERIAL_SCHEMA = {
    "name": (_text(r"[0-9]{1,5}[A-Za-z0-9-]{0,10}", "a name text of 1 to 5 digits and up to 10 more letters, digits or '-'"), None),
    "description": (_text(r"[ -~]{0,80}", "printable ASCII of at most 80 characters"), ""),
    "di": (_int(0, 32), 0),
    "do": (_int(0, 32), 0),
    "ai": (_int(0, 32), 0),
    "ao": (_int(0, 32), 0),
    "counters": (_int(0, 32), 0),
    "counter_bits": (_choice(16, 32), 32),
    "latches": (_bool, False),
    "watchdog": (_bool, False),
    "range": (_range, []),
    "unit": (_text(r"[A-Za-z%]{1,8}", "a unit of 1 to 8 letters"), ""),
    "variants": (_variants, []),
    "ao_power_on_read": (_choice("none", "$AA7", "~AA7"), "none"),
    "ao_power_on_variant": (_text(r"[A-Z]{1,4}", "1 to 4 upper-case letters"), ""),
    "ao_power_on_set": (_choice("$AA4", "$AAS"), "$AA4"),
}

# Later tables (the parallel-bus modules) get their own schema here.
TABLES = {"serial": SERIAL_SCHEMA}


def _entry(path, table, index, raw, schema):
    where = f"{path}: [[{table}]] #{index + 1}"
    if not isinstance(raw, dict):
        raise CatalogueError(f"{where}: expected a table")
    if isinstance(raw.get("name"), str):
        where = f"{path}: [[{table}]] {raw['name']!r}"
    for key in raw:
        if key not in schema:
            raise CatalogueError(f"{where}: unknown key {key!r}")
    out = {}
    for key, (check, default) in schema.items():
        if key in raw:
            out[key] = check(f"{where}: {key}", raw[key])
        elif default is None:
            raise CatalogueError(f"{where}: {key} is missing")
        else:
            out[key] = default
    return where, out


def _check_serial(where, e):
    def need(cond, key, why):
        if not cond:
            raise CatalogueError(f"{where}: {key}: {why}")
    need(e["di"] + e["do"] + e["ai"] + e["ao"] > 0, "di", "a module needs at least one channel")
    need(e["counters"] <= e["di"], "counters", "cannot exceed the digital inputs (di)")
    need(not e["latches"] or e["di"] > 0, "latches", "need digital inputs")
    need(not e["watchdog"] or e["do"] + e["ao"] > 0, "watchdog", "needs outputs")
    analog = e["ai"] + e["ao"] > 0
    need(analog == bool(e["range"]), "range", "required for analog kinds, not allowed otherwise")
    need(analog == bool(e["unit"]), "unit", "required for analog kinds, not allowed otherwise")
    need(e["ao_power_on_read"] == "none" or e["ao"] > 0, "ao_power_on_read", "needs analog outputs")
    need(e["ao_power_on_read"] != "~AA7" or e["ao"] <= 16, "ao_power_on_read",
         "~AA7 carries one channel digit: at most 16 outputs")
    need(e["ao_power_on_set"] == "$AA4" or e["ao"] == 1, "ao_power_on_set", "$AAS is for single-output kinds")
    if e["ao_power_on_variant"]:
        need(e["ao_power_on_read"] != "none", "ao_power_on_variant", "needs a readable power-on value")
        need(e["ao_power_on_variant"] in e["variants"], "ao_power_on_variant", "must be one of the variants")
    e["number"] = int(re.match(r"[0-9]+", e["name"]).group(0))


def load(path):
    try:
        with open(path, "rb") as f:
            doc = tomllib.load(f)
    except OSError as err:
        raise CatalogueError(f"{path}: {err.strerror}")
    except tomllib.TOMLDecodeError as err:
        raise CatalogueError(f"{path}: {err}")
    for table in doc:
        if table not in TABLES:
            raise CatalogueError(f"{path}: unknown table {table!r}")
    serial = doc.get("serial", [])
    if not isinstance(serial, list):
        raise CatalogueError(f"{path}: serial: expected [[serial]] entries")
    kinds, names, numbers = [], {}, {}
    for i, raw in enumerate(serial):
        where, e = _entry(path, "serial", i, raw, SERIAL_SCHEMA)
        _check_serial(where, e)
        if e["name"] in names:
            raise CatalogueError(f"{where}: name: duplicate of entry #{names[e['name']] + 1}")
        if e["number"] in numbers:
            raise CatalogueError(f"{where}: name: name number {e['number']} already used by "
                                 f"{kinds[numbers[e['number']]]['name']!r}")
        names[e["name"]] = numbers[e["number"]] = i
        kinds.append(e)
    if not kinds:
        raise CatalogueError(f"{path}: no [[serial]] entries")
    return kinds


def _c_string(s):
    return '"' + s.replace("\\", "\\\\").replace('"', '\\"') + '"'


def _c_float(x):
    return f"{x!r}f" if "." in repr(x) or "e" in repr(x) else f"{x!r}.0f"


def render(kinds, source):
    read = {"none": "None", "$AA7": "Dollar", "~AA7": "Tilde"}
    put = {"$AA4": "Channel", "$AAS": "SingleS"}
    lines = [
        f"// Generated from {source} by scripts/gen_catalogue.py. Do not edit.",
        '#include "frame/catalogue.h"',
        "",
        "namespace vex::catalogue::data {",
        "",
        "const SerialKind kSerialKinds[] = {",
    ]
    for e in kinds:
        low, high = e["range"] or [0.0, 0.0]
        lines.append(
            f"    {{{_c_string(e['name'])}, {e['number']}, {_c_string(e['description'])}, "
            f"{e['di']}, {e['do']}, {e['ai']}, {e['ao']}, {e['counters']}, {e['counter_bits']}, "
            f"{'true' if e['latches'] else 'false'}, {'true' if e['watchdog'] else 'false'}, "
            f"{_c_float(low)}, {_c_float(high)}, {_c_string(e['unit'])}, "
            f"{_c_string(','.join(e['variants']))}, "
            f"AoPowerOnRead::{read[e['ao_power_on_read']]}, {_c_string(e['ao_power_on_variant'])}, "
            f"AoPowerOnSet::{put[e['ao_power_on_set']]}}},")
    lines += [
        "};",
        f"const size_t kSerialKindCount = {len(kinds)};",
        "",
        "}  // namespace vex::catalogue::data",
        "",
    ]
    return "\n".join(lines)


def main(argv):
    if len(argv) == 3 and argv[1] == "--check":
        load(argv[2])
        return 0
    if len(argv) != 3:
        print(__doc__.strip().splitlines()[2], file=sys.stderr)
        return 2
    text = render(load(argv[1]), "data/catalogue.toml")
    with open(argv[2], "w", encoding="utf-8") as f:
        f.write(text)
    return 0


if __name__ == "__main__":
    try:
        sys.exit(main(sys.argv))
    except CatalogueError as err:
        print(f"catalogue error: {err}", file=sys.stderr)
        sys.exit(1)
