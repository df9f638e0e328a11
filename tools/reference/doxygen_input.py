#!/usr/bin/env python3
"""Doxygen's filter for the public headers: writes HEADER with its comments as Doxygen reads them, each declaration of
a group documented by the group's comment. doxygen_input.py HEADER"""

import re
import sys

from headers import Function, Source, blocks, comment_text, documentation, main, read_header


def escaped(text):
    """Doxygen's own characters mean themselves; words in backquotes stay as they are."""
    text = re.sub(r"([\\@&$#<>%])", r"\\\1", text)
    return text.replace("*/", "* /").replace("::", "\\::")


def described(comment, parameters=None):
    """A comment in Doxygen's notation. Of tags for parameters only those of this declaration."""
    lines = []
    for block in blocks(comment):
        text = escaped(" ".join(block.text.split()))
        if block.kind == "literal":
            lines += ["", "@verbatim", block.text, "@endverbatim"]
        elif block.kind == "item":
            lines.append("- " + text)
        elif block.kind == "return":
            lines.append("@return " + text)
        elif block.kind == "param":
            for name in block.name.split(", "):
                if parameters is None or name in parameters:
                    lines.append(f"@param {name} {text}")
        else:
            lines += ["", text]
    return "\n".join(lines).strip()


def with_field_comments(source):
    """A record or constant whose comments belong to what they stand behind, or above."""
    def turned(match):
        above = not source[source.rfind("\n", 0, match.start()) + 1:match.start()].strip()
        text = escaped(" ".join(comment_text(match[0]).split()))
        return f"/**{'' if above else '<'} {text} */"
    return re.sub(r"/\*.*?\*/", turned, source, flags=re.S)


def run(arguments):
    header = read_header(arguments[0])
    out = ["/** @file", described(header.summary), "*/"]
    section = 0
    for item in header.items:
        if item.heading:
            if section:
                out.append("/** @} */")
            section += 1
            out.append(f"/** @name {escaped(item.comment)}\n@{{ */")
        elif not item.declarations:
            out.append(f"/** @file\n{described(item.comment)} */")
        for declaration in item.declarations:
            names = [p.name for p in declaration.parameters] if isinstance(declaration, Function) else []
            text = described(documentation(item, declaration), names)
            if text:
                out.append(f"/** {text} */")
            if isinstance(declaration, Function):
                out.append(declaration.prototype() + ";")
            elif isinstance(declaration, Source):
                out.append(with_field_comments(declaration.text))
            else:
                out.append(declaration.source)
    if section:
        out.append("/** @} */")
    sys.stdout.write("\n".join(out) + "\n")


if __name__ == "__main__":
    main(run)
