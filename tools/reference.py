#!/usr/bin/env python3
"""reference.py: holds docs/reference.md to the interface definition, the result codes and the table of formats.

Prints each row or signature that the page lacks or has too many; then, or where nothing was found to compare, it ends
non-zero.
"""
import re
import sys
from pathlib import Path

ROOT = Path(__file__).resolve().parent.parent
PAGE = (ROOT / "docs/reference.md").read_text(encoding="utf-8")
IDL = re.sub(r"//.*", "", (ROOT / "sdk/TalvoBinaryEncoding.idl").read_text(encoding="utf-8"))
CODES = (ROOT / "server/results/result_codes.def").read_text(encoding="utf-8")
ENGINE = "".join(path.read_text(encoding="utf-8") for path in (ROOT / "engine").glob("*.cpp"))  # the table of formats
FORMATS = ["UU", "XX", "Base64", "Hexa", "BinHex", "QuotedPrintable"]  # in the order of the columns
METHOD = r"(?:\[([^\]]*)\]\s*)?HRESULT (\w+)\((.*?)\);"


def rows(heading, columns):
    """The first cells of each row below a heading that begins with a name in code type."""
    section = re.search(rf"^##+ {re.escape(heading)}\n(.*?)(?=^##|\Z)", PAGE, re.M | re.S)
    lines = re.findall(r"^\| (`.*) \|$", section[1] if section else "", re.M)
    return [tuple(cell.strip("`") for cell in line.split(" | ")[:columns]) for line in lines]


def methods(interface, text):
    """(interface, attributes, name, parameters) of each declaration, without white space and descriptions."""
    for marks, name, parameters in re.findall(METHOD, re.sub(r'helpstring\("[^"]*"\)', "", text), re.S):
        marks = sorted(mark for mark in re.sub(r"\s", "", marks).split(",") if mark)
        yield interface, ",".join(marks), name, re.sub(r"\s", "", parameters)


def properties(interface):
    """Name -> (identifier, type) of each property."""
    getters = [m for m in methods(interface, interfaces[interface]) if "propget" in m[1]]
    identifier = {name: re.search(r"id\((\d+)\)", marks) for _, marks, name, _ in getters}
    kind = {name: re.sub(r"^\[out,retval\]|\*\w+$", "", parameter).replace("*", " *") for *_, name, parameter in getters}
    return {name: (identifier[name] and identifier[name][1], kind[name]) for name in kind}


def signed(value):
    number = int(value, 0) & 0xFFFFFFFF
    return str(number - (1 << 32) if number >> 31 else number)


interfaces = dict(re.findall(r"interface (\w+) : \w+\s*\{(.*?)\};", IDL, re.S))
tables = {}  # of what is compared -> (as defined, as on the page)

coclass = r"uuid\(([-\w]+)\)[^\]]*\]\s*coclass (\w+)\s*\{\s*\[default\] interface (\w+);\s*interface (\w+);"
tables["class"] = (
    [(name, f"{{{uuid}}}", dual, native) for uuid, name, dual, native in re.findall(coclass, IDL)],
    [row[:1] + row[2:] for row in rows("Classes", 5)])

defined = {}  # (property, automation type, native type) -> identifiers
for column, name in enumerate(FORMATS):
    native = properties(f"ITalvo{name}EncodingFormat")
    for key, (identifier, kind) in properties(f"DTalvo{name}EncodingFormat").items():
        defined.setdefault((key, kind, native[key][1]), ["–"] * len(FORMATS))[column] = identifier
tables["property"] = ([key + tuple(value) for key, value in defined.items()], rows("Types and identifiers", 9))
tables["meaning"] = (sorted({(key[0],) for key in defined}), rows("Meaning, default, range", 1))

in_detail = [name for name in interfaces if not name.endswith("Format")]
tables["method"] = (
    [method for name in in_detail for method in methods(name, interfaces[name])],
    [method for block in re.findall(r"```idl\n(.*?)```", PAGE, re.S)
     for name, text in re.findall(r"// (\w+)\n(.*?)(?=//|\Z)", block, re.S) for method in methods(name, text)])

enums = {name: re.findall(r"(\w+) = ([-\w]+)", body) for name, body in re.findall(r"enum (\w+)\s*\{(.*?)\}", IDL, re.S)}
errors = dict(enums.pop("ETBError"))
for name, values in enums.items():
    tables[name] = (values, rows(name, 2))
texts = {name: (value, text) for name, value, text in re.findall(r'RESULT_CODE\((\w+), (\w+)u, "(.*)"\)', CODES)}
tables["result code"] = (
    [(name, texts[name][0], signed(errors[name]), texts[name][1]) for name in {**errors, **texts}],
    [row for part in ("Defects of the text", "Warnings", "Conversions", "Files and parameters") for row in rows(part, 4)])

lengths = re.findall(r"/\* (\w+) *\*/ \{(\w+), (\w+), (\w+),", ENGINE)
tables["line length"] = (
    [(name, default, least, "–" if most == "kNoMaximum" else most) for name, default, least, most in lengths],
    rows("Lines", 4))

broken = 0
for what, (expected, found) in tables.items():
    wrong = [f"{what}: the page lacks {row}" for row in expected if row not in found]
    wrong += [f"{what}: not defined so: {row}" for row in found if row not in expected]
    if not expected or (not wrong and len(expected) != len(found)):
        wrong.append(f"{what}: {len(expected)} defined, {len(found)} on the page")
    print("\n".join(wrong), end="\n" if wrong else "")
    broken += len(wrong)
sys.exit(1 if broken else 0)
