#!/usr/bin/env python3
"""Writes the manual's section 3: man_pages.py DATE DIRECTORY HEADER...

A page for each header, named midware_FAMILY.3, and for each function and variable a page that leads to it."""

import os
import re

from headers import Function, Source, Variable, blocks, main, read_headers

def escaped(text):
    """Text as roff takes it: nothing in it is a request or an escape."""
    text = text.replace("\\", "\\e").replace("`", "")
    text = re.sub(r"(?<![\w-])-(?=\d)", r"\\-", text)
    return re.sub(r"^([.'])", r"\\&\1", text)


def lines_of(text):
    """Running text, a line a sentence, as the formatter wants it."""
    words = " ".join(text.split())
    return [escaped(line) for line in re.sub(r"([.!?]\)?) (?=[A-Z\"(])", r"\1\n", words).split("\n")]


def literal(text):
    return [".Bd -literal"] + [escaped(line) for line in text.split("\n")] + [".Ed"]


def described(comment):
    """A comment as the body of a section or of a list item."""
    out, open_list, fresh = [], None, True

    def switch(kind):
        nonlocal open_list
        if open_list == kind:
            return
        if open_list:
            out.append(".El")
        if kind:
            out.append(".Bl -bullet -compact" if kind == "item" else ".Bl -tag -width Ds -compact")
        open_list = kind

    for block in blocks(comment):
        if block.kind == "item":
            switch("item")
            out.extend([".It"] + lines_of(block.text))
        elif block.kind == "param":
            switch("param")
            out.extend([".It Fa " + block.name.replace(",", " ,").replace("  ", " ")] + lines_of(block.text))
        elif block.kind == "literal":
            switch(None)
            out.extend(literal(block.text))
        else:
            switch(None)
            if not fresh:
                out.append(".Pp")
            text = "Returns " + block.text if block.kind == "return" else block.text
            out.extend(lines_of(text))
        fresh = False
    switch(None)
    return out


def synopsis(declaration):
    if isinstance(declaration, Variable):
        return [f".Vt {escaped(declaration.source)}"]
    words = [f".Ft {declaration.result}", f".Fo {declaration.name}"]
    words += [f".Fa \"{parameter.declaration()}\"" for parameter in declaration.parameters] or [".Fa void"]
    return words + [".Fc"]


def item_lines(item):
    """One item of a header: a heading, a note, or what is declared."""
    if item.heading:
        return [f".Ss {escaped(item.comment[0].upper() + item.comment[1:])}"]
    sources = [d for d in item.declarations if isinstance(d, Source)]
    if sources:
        remarks = {name: f"  /* {' '.join(text.split())} */" for name, text in item.remarks.items()}
        code = literal("\n".join(d.text + remarks.get(d.name, "") for d in sources))
        return ([".Pp"] + described(item.comment) if item.comment else []) + code
    if not item.declarations:
        return [".Pp"] + described(item.comment)
    names = " , ".join(f"{'Fn' if isinstance(d, Function) else 'Va'} {d.name}" for d in item.declarations)
    out = [".Bl -tag -width Ds", ".It " + names] + described(item.comment)
    for name, text in item.remarks.items():
        out += [".Pp", f"{name}:"] + lines_of(text)
    return out + [".El"]


def section(title, parts):
    """Paragraphs are set off from what stands before them, not from headings."""
    out = [f".Sh {title}"]
    for part in parts:
        out += part[1:] if part[:1] == [".Pp"] and out[-1].startswith((".Sh", ".Ss")) else part
    return out


def page(header, date):
    exported = [d for item in header.items for d in item.declarations if isinstance(d, (Function, Variable))]
    out = [f".\\\" Made from midware/{header.name}.h by man_pages.py.", f".Dd {date}",
           f".Dt MIDWARE_{header.name.upper()} 3", ".Os libmidware", ".Sh NAME"]
    names = [f"midware_{header.name}"] + [d.name for d in exported]
    title = re.match(r"[^.]*", header.summary)[0]
    out += [f".Nm {name} ," for name in names[:-1]] + [f".Nm {names[-1]}", ".Nd " + " ".join(lines_of(title))]
    out += [".Sh SYNOPSIS", ".In midware.h"]
    for declaration in exported:
        out += synopsis(declaration)
    # What the functions take and hand out stands before them in a header, and behind them in a manual page.
    records = max((i for i, item in enumerate(header.items) for d in item.declarations if isinstance(d, Source)),
                  default=-1) + 1
    out += section("DESCRIPTION", [described(header.summary)] + [item_lines(item) for item in header.items[records:]])
    if records:
        out += section("RECORDS AND CONSTANTS", [item_lines(item) for item in header.items[:records]])
    out += [".Sh SEE ALSO", ".Xr mwctl 1 ,", ".Xr libmidware 7"]
    return "\n".join(out) + "\n", [d.name for d in exported]


def run(arguments):
    date, directory, *paths = arguments
    for header in read_headers(paths):
        text, names = page(header, date)
        pages = {f"midware_{header.name}.3": text}
        pages.update({f"{name}.3": f".so man3/midware_{header.name}.3\n" for name in names})
        for name, content in pages.items():
            with open(os.path.join(directory, name), "w", encoding="utf-8") as file:
                file.write(content)


if __name__ == "__main__":
    main(run)
