#!/usr/bin/env python3
"""Writes the table of functions that `mwctl call` works with: call_table.py ARGUMENTS OUTPUT HEADER..."""

import re
import textwrap

from headers import NUMBERS, Function, NotUnderstood, blocks, documentation, main, read_headers


def read_arguments(path):
    told = {}
    with open(path, encoding="utf-8") as file:
        for number, line in enumerate(file, 1):
            words = line.split("#")[0].split()
            if not words:
                continue
            match = re.fullmatch(r"(\w+) (\w+) (?:(in|out|inout) )?(\w+)(?:\[(\w+)\])?", " ".join(words))
            if not match or (match[1], match[2]) in told:
                raise NotUnderstood(f"{path}:{number}: this line is not understood: {line.strip()}")
            told[match[1], match[2]] = (match[3], match[4], match[5], number)
    return told


def direction_of(function, parameter, where):
    if not parameter.pointer or parameter.const:
        return "in"
    if re.match(r"(MW|HOST)_(Get|Is)", function.name):
        return "out"
    raise NotUnderstood(f"{where}: does {function.name} read or write through {parameter.name}? Neither its name nor "
                        "arguments.txt says it")


def counter_of(function, index, out):
    """The parameter behind a list that counts it."""
    following = function.parameters[index + 1:index + 2]
    wanted = ("pdwCount", True) if out else ("dwCount", False)
    return index + 1 if [(p.name, p.pointer) for p in following] == [wanted] else -1


def describe(function, index, told, where):
    """The initialiser of one parameter."""
    parameter = function.parameters[index]
    way, kind, limit, _ = told.pop((function.name, parameter.name), (None, parameter.type, None, 0))
    way = way or direction_of(function, parameter, where)
    if kind in ("void", "char") or (kind == "uint8_t" and parameter.const):
        raise NotUnderstood(f"{where}: what does {parameter.name} of {function.name} point at? See arguments.txt")
    holds = {"address": "kAddress", "text": "kText", "bytes": "kBytes"}.get(kind)
    holds = holds or ("kNumber" if kind in NUMBERS else "kRecord")
    count, counter = 1, -1
    if limit and limit.isdigit():
        count = int(limit)
    elif limit:
        names = [p.name for p in function.parameters]
        if limit not in names:
            raise NotUnderstood(f"{where}: {function.name} has no parameter {limit} that counts {parameter.name}")
        counter = names.index(limit)
    elif holds == "kText":
        count = 0
    elif holds == "kRecord" and parameter.pointer:
        counter = counter_of(function, index, way != "in")
    width, signed = (int(re.search(r"\d+", kind)[0]) // 8, kind[0] == "i") if holds == "kNumber" else (0, False)
    return (f'{{"{parameter.name}", Way::k{way.capitalize()}, Holds::{holds}, {str(parameter.pointer).lower()}, '
            f'{width}, {str(signed).lower()}, "{kind if holds == "kRecord" else ""}", {count}, {counter}}}')


def words(comment):
    """The documentation as lines for a terminal."""
    lines = []
    for block in blocks(comment):
        lead = {"item": "- ", "return": "Returns ", "param": block.name + ": "}.get(block.kind, "")
        text = lead + " ".join(block.text.split())
        indent = " " * 2 if lead else ""
        wrapped = [block.text] if block.kind == "literal" else textwrap.wrap(text, 90, subsequent_indent=indent)
        lines.extend(line.replace("`", "") for line in wrapped)
    return "\n".join(lines)


def quoted(text):
    return '"' + text.replace("\\", "\\\\").replace('"', '\\"').replace("\n", "\\n") + '"'


def run(arguments):
    table_path, output, *paths = arguments
    told = read_arguments(table_path)
    lists, rows = [], []
    for header in read_headers(paths):
        for item in header.items:
            for function in item.declarations:
                if not isinstance(function, Function):
                    continue
                where = f"{header.path}:{function.line}"
                given = [describe(function, i, told, where) for i in range(len(function.parameters))]
                name = "{}"
                if given:
                    name = f"k{len(lists)}"
                    lists.append(f"constexpr Parameter {name}[] = {{\n    " + ",\n    ".join(given) + "};\n")
                rows.append((function.name, f'    {{"{function.name}", "{header.name}", {quoted(function.prototype())}, '
                             f"{quoted(words(documentation(item, function)))}, {name}, Entry(&::{function.name})}},\n"))
    for (function, parameter), (_, _, _, number) in told.items():
        raise NotUnderstood(f"{table_path}:{number}: there is no parameter {parameter} of a function {function}")
    rows.sort(key=lambda row: row[0].lower())
    with open(output, "w", encoding="utf-8") as file:
        file.write('// Written by call_table.py from the public headers.\n#include "midware.h"\n#include "functions.h"\n\n'
                   "namespace mwctl {\nnamespace {\n\n" + "".join(lists) + "\nconst Function kFunctions[] = {\n"
                   + "".join(row for _, row in rows) + "};\n\n}  // namespace\n\n"
                   "std::span<const Function> Functions() { return kFunctions; }\n\n}  // namespace mwctl\n")


if __name__ == "__main__":
    main(run)
