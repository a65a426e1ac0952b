#!/usr/bin/env python3
"""Turns the product catalogue (data/catalogue.toml) into C++ for the library.

    gen_catalogue.py CATALOGUE.toml OUTPUT.cpp     generate
    gen_catalogue.py --check CATALOGUE.toml        only validate

Tables: [[serial]] kinds, [series] (the base of parallel-bus model numbers),
[[parallel]] modules with their [[parallel.rule]] refinements, and
[[expansion]] boards of the single-slot controller. Every entry is checked
against its schema below: an unknown table or key, a value of the wrong
type or out of range, a duplicate name, name number or ID is an error
naming the file, the entry and the key, and the build fails. The
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

# Type classes a module may report (vex_GetModuleType); 0x40 is kept for
# modules nobody knows.
CLASSES = (0x80, 0x81, 0xC0, 0xC2, 0xC3, 0xE0, 0xE2, 0xE3)
# The suffixes printed after a parallel-bus module's model number.
SUFFIXES = ("", "A", "F", "H", "R", "I", "W", "D", "HC", "MP", "P", "-3G")
# Slot-page registers a naming rule may look at.
RULE_REGISTERS = (0x06, 0x08, 0x0E, 0x10)
# Series number of modules nobody knows: never a catalogue row.
UNKNOWN_SERIES = 238


def _class(where, v):
    if isinstance(v, bool) or not isinstance(v, int) or v not in CLASSES:
        raise CatalogueError(f"{where}: {v!r} is not a type class ({', '.join(hex(c) for c in CLASSES)})")
    return v


def _channels(where, v):
    _int(0, 32)(where, v)
    if v not in (0, 4, 8, 16, 32):
        raise CatalogueError(f"{where}: {v} is not a channel count of a bus module (0, 4, 8, 16, 32)")
    return v


_FIXED_NAME = _text(r"[A-Za-z0-9][A-Za-z0-9-]{0,15}", "a name of 1 to 16 letters, digits or '-'")

RULE_SCHEMA = {
    "register": (_choice(*RULE_REGISTERS), None),
    "mask": (_int(1, 255), None),
    "equals": (_int(0, 255), None),
    "suffix": (_choice(*SUFFIXES), None),
    "series": (_int(1, UNKNOWN_SERIES - 1), None),
    "class": (_class, None),
    "fixed_name": (_FIXED_NAME, None),
}

PARALLEL_SCHEMA = {
    "id": (_int(1, 197), None),
    "series": (_int(1, UNKNOWN_SERIES - 1), None),
    "class": (_class, 0x80),
    "suffix": (_choice(*SUFFIXES), ""),
    "fixed_name": (_FIXED_NAME, ""),
    "description": (_text(r"[ -~]{0,80}", "printable ASCII of at most 80 characters"), ""),
    "di": (_channels, 0),
    "do": (_channels, 0),
    "ai": (_int(0, 32), 0),
    "ao": (_int(0, 32), 0),
    "counters": (_int(0, 32), 0),
    "readback": (_bool, False),
    "watchdog": (_bool, False),
    "rule": (None, []),  # checked entry by entry below
}

SERIES_SCHEMA = {"base": (_int(0, 60000), None)}

EXPANSION_SCHEMA = {
    "id": (_int(1, 18), None),
    "number": (_int(0, 999), None),
    "letter": (_text(r"[A-Z]?", "empty or one upper-case letter"), ""),
    "class": (_class, 0x80),
    "description": (_text(r"[ -~]{0,80}", "printable ASCII of at most 80 characters"), ""),
    "di": (_int(0, 32), 0),
    "do": (_int(0, 32), 0),
}

TABLES = {"serial": SERIAL_SCHEMA, "series": SERIES_SCHEMA, "parallel": PARALLEL_SCHEMA,
          "expansion": EXPANSION_SCHEMA}


def _entry(path, table, index, raw, schema):
    where = f"{path}: [[{table}]] #{index + 1}"
    if not isinstance(raw, dict):
        raise CatalogueError(f"{where}: expected a table")
    if isinstance(raw.get("name"), str):
        where = f"{path}: [[{table}]] {raw['name']!r}"
    elif isinstance(raw.get("id"), int) and not isinstance(raw.get("id"), bool):
        where = f"{path}: [[{table}]] id 0x{raw['id']:02X}"
    for key in raw:
        if key not in schema:
            raise CatalogueError(f"{where}: unknown key {key!r}")
    out = {}
    for key, (check, default) in schema.items():
        if check is None:
            out[key] = raw.get(key, default)
        elif key in raw:
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
    serial = _entries(doc, path, "serial")
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
    return {"serial": kinds, **_load_parallel(doc, path)}


def _entries(doc, path, table):
    entries = doc.get(table, [])
    if not isinstance(entries, list):
        raise CatalogueError(f"{path}: {table}: expected [[{table}]] entries")
    return entries


def _check_rules(where, e):
    raw_rules = e["rule"]
    if not isinstance(raw_rules, list):
        raise CatalogueError(f"{where}: rule: expected [[parallel.rule]] entries")
    rules = []
    for i, raw in enumerate(raw_rules):
        rwhere = f"{where}: rule #{i + 1}"
        if not isinstance(raw, dict):
            raise CatalogueError(f"{rwhere}: expected a table")
        for key in raw:
            if key not in RULE_SCHEMA:
                raise CatalogueError(f"{rwhere}: unknown key {key!r}")
        r = {}
        for key, (check, default) in RULE_SCHEMA.items():
            if key in raw:
                r[key] = check(f"{rwhere}: {key}", raw[key])
            elif key in ("register", "mask", "equals"):
                raise CatalogueError(f"{rwhere}: {key} is missing")
            else:
                r[key] = None
        if r["equals"] & ~r["mask"]:
            raise CatalogueError(f"{rwhere}: equals: 0x{r['equals']:02X} has bits outside mask 0x{r['mask']:02X}")
        if all(r[k] is None for k in ("suffix", "series", "class", "fixed_name")):
            raise CatalogueError(f"{rwhere}: changes nothing (give suffix, series, class or fixed_name)")
        # Registers 0x06 and 0x08 carry inputs 16..31 on wide input modules,
        # and 0x10 the outputs on read-back modules: a rule there would name
        # the module by its signals.
        if r["register"] in (0x06, 0x08) and e["di"] > 16:
            raise CatalogueError(f"{rwhere}: register: 0x{r['register']:02X} carries inputs on a module with "
                                 f"more than 16 inputs")
        if r["register"] == 0x10 and e["readback"]:
            raise CatalogueError(f"{rwhere}: register: 0x10 carries the outputs of a read-back module")
        rules.append(r)
    e["rule"] = rules


def _load_parallel(doc, path):
    series = doc.get("series")
    if series is None:
        if doc.get("parallel"):
            raise CatalogueError(f"{path}: [series]: missing (the parallel-bus modules need its base)")
        base = 0
    else:
        if not isinstance(series, dict):
            raise CatalogueError(f"{path}: series: expected a [series] table")
        _, s = _entry(path, "series", 0, series, SERIES_SCHEMA)
        base = s["base"]
    parallel, ids, names = [], {}, {}
    for i, raw in enumerate(_entries(doc, path, "parallel")):
        where, e = _entry(path, "parallel", i, raw, PARALLEL_SCHEMA)
        _check_rules(where, e)
        if e["counters"] > e["di"]:
            raise CatalogueError(f"{where}: counters: cannot exceed the digital inputs (di)")
        if e["readback"] and not e["do"]:
            raise CatalogueError(f"{where}: readback: needs outputs")
        if e["readback"] and not e["watchdog"]:
            raise CatalogueError(f"{where}: readback: read-back modules carry a watchdog (watchdog = true)")
        if e["fixed_name"] and e["suffix"]:
            raise CatalogueError(f"{where}: suffix: a fixed name takes no suffix")
        if e["id"] in ids:
            raise CatalogueError(f"{where}: id: duplicate of entry #{ids[e['id']] + 1}")
        ids[e["id"]] = i
        for name in _parallel_names(e, base):
            if name in names and names[name] != e["id"]:
                raise CatalogueError(f"{where}: name {name!r} is also given by id 0x{names[name]:02X}")
            names[name] = e["id"]
        parallel.append(e)
    expansion, board_ids = [], {}
    for i, raw in enumerate(_entries(doc, path, "expansion")):
        where, e = _entry(path, "expansion", i, raw, EXPANSION_SCHEMA)
        if e["id"] in board_ids:
            raise CatalogueError(f"{where}: id: duplicate of entry #{board_ids[e['id']] + 1}")
        board_ids[e["id"]] = i
        expansion.append(e)
    return {"base": base, "parallel": parallel, "expansion": expansion}


def _parallel_names(e, base):
    """Every name a module of this row can print: its own and its rules'."""
    def name(series, suffix, fixed):
        return fixed if fixed else f"{base + series}{suffix}"
    out = [name(e["series"], e["suffix"], e["fixed_name"])]
    for r in e["rule"]:
        fixed = r["fixed_name"] if r["fixed_name"] is not None else e["fixed_name"]
        suffix = r["suffix"] if r["suffix"] is not None else e["suffix"]
        out.append(name(r["series"] or e["series"], suffix, fixed))
    return out


def _c_string(s):
    return '"' + s.replace("\\", "\\\\").replace('"', '\\"') + '"'


def _c_float(x):
    return f"{x!r}f" if "." in repr(x) or "e" in repr(x) else f"{x!r}.0f"


def render(doc, source):
    kinds = doc["serial"]
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
    ]
    lines += _render_parallel(doc)
    lines += [
        "}  // namespace vex::catalogue::data",
        "",
    ]
    return "\n".join(lines)


def _opt(v, fmt=str):
    return "-1" if v is None else fmt(v)


def _render_parallel(doc):
    lines = [f"const uint16_t kSeriesBase = {doc['base']};", ""]
    rows = []
    for e in doc["parallel"]:
        rules = e["rule"]
        name = f"kRules{e['id']:02X}"
        if rules:
            lines.append(f"const ParallelRule {name}[] = {{")
            for r in rules:
                lines.append(
                    f"    {{0x{r['register']:02X}, 0x{r['mask']:02X}, 0x{r['equals']:02X}, "
                    f"{_opt(r['series'])}, {_opt(r['class'], hex)}, "
                    f"{'nullptr' if r['suffix'] is None else _c_string(r['suffix'])}, "
                    f"{'nullptr' if r['fixed_name'] is None else _c_string(r['fixed_name'])}}},")
            lines.append("};")
        rows.append(
            f"    {{0x{e['id']:02X}, {e['series']}, 0x{e['class']:02X}, {_c_string(e['suffix'])}, "
            f"{_c_string(e['fixed_name'])}, {_c_string(e['description'])}, "
            f"{e['di']}, {e['do']}, {e['ai']}, {e['ao']}, {e['counters']}, "
            f"{'true' if e['readback'] else 'false'}, {'true' if e['watchdog'] else 'false'}, "
            f"{name if rules else 'nullptr'}, {len(rules)}}},")
    lines.append("const ParallelKind kParallelKinds[] = {")
    lines += rows or ["    {},"]
    lines += ["};", f"const size_t kParallelKindCount = {len(doc['parallel'])};", ""]
    lines.append("const ExpansionBoard kExpansionBoards[] = {")
    for e in doc["expansion"]:
        letter = f"'{e['letter']}'" if e["letter"] else "'\\0'"
        lines.append(f"    {{{e['id']}, {e['number']}, {letter}, 0x{e['class']:02X}, {_c_string(e['description'])}, "
                     f"{e['di']}, {e['do']}}},")
    if not doc["expansion"]:
        lines.append("    {},")
    lines += ["};", f"const size_t kExpansionBoardCount = {len(doc['expansion'])};", ""]
    return lines


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
