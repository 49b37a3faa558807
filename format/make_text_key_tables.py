#!/usr/bin/env python3
"""Writes TextKeyTable.inc from two tab separated lists of collation weights.

    make_text_key_tables.py JET4.tsv JET3.tsv > TextKeyTable.inc

JET4.tsv, one row a range of code units, ranges ascending and without gaps:
    first last class primary step second flag       (hex, '-' for none; step and flag decimal)
JET3.tsv, one row a byte of code page 1252:
    byte primary slots accent
Lines that begin with '#' and the heading line after them are skipped.
"""
import sys

PER_LINE = 4
CLASSES = {"S": "P", "D": "L", "U": "U", "M": "M", "X": "X"}


def rows(path):
    with open(path, encoding="ascii") as lines:
        body = [line.rstrip("\n").split("\t") for line in lines if not line.startswith("#")]
    return body[1:]


def number(text, what, most):
    """A hex string as a number; the length must follow from the value, so no leading zero byte."""
    if text == "-":
        return "0"
    value = int(text, 16)
    assert value != 0 and text[:2] != "00" and len(text) <= 2 * most, (what, text)
    return "0x%X" % value


def jet4(path):
    expected = 0
    for first, last, kind, primary, step, second, flag in rows(path):
        assert int(first, 16) == expected and int(last, 16) >= expected, first
        expected = int(last, 16) + 1
        name = "K" + flag if kind == "K" else CLASSES[kind]
        yield "{0x%s, %s, %s, %s, %s}" % (
            first, name, number(primary, "primary", 4), step, number(second, "second", 2))
    assert expected == 0x10000


def jet3(path):
    for position, (byte, primary, slots, accent) in enumerate(rows(path)):
        assert int(byte, 16) == position
        yield "{%s, %s, %s}" % (number(primary, "primary", 2), slots, "0" if accent == "-" else "0x" + accent)
    assert position == 255


def table(heading, items, per_line):
    items = list(items)
    print(heading)
    for at in range(0, len(items), per_line):
        print("    " + " ".join(item + "," for item in items[at:at + per_line]))
    print("};")


def main():
    print("// Written by make_text_key_tables.py; change the lists, not this file.")
    print("// first unit, class, primary bytes, step, second-level bytes; a row reaches to the next row's first unit.")
    table("constexpr SJet4Weight kJet4Weights[] = {", jet4(sys.argv[1]), PER_LINE)
    print("\n// One row a byte of code page 1252: primary bytes, slots, accent digit.")
    table("constexpr SJet3Weight kJet3Weights[256] = {", jet3(sys.argv[2]), 8)


main()
