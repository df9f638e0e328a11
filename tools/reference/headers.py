"""Reads the public headers: what is declared, and the comment that documents it.

The headers are plain C with comments in a fixed manner, which this relies on and insists on:
- the first comment of a header describes the family;
- a comment directly above a declaration, without a blank line between them, documents it, and documents the
  declarations that follow it line by line as well: they are a group;
- a comment behind a declaration, in its line, adds to that;
- a comment that stands by itself is a note about what follows, or a heading when it is "--- words ---".
"""

import re
import sys
from dataclasses import dataclass, field


class NotUnderstood(Exception):
    """Says in one line where, and what."""


@dataclass
class Parameter:
    name: str
    type: str  # without const and pointer
    pointer: bool
    const: bool

    def declaration(self):
        return f"{'const ' if self.const else ''}{self.type} {'*' if self.pointer else ''}{self.name}"


@dataclass
class Function:
    name: str
    result: str
    parameters: list
    line: int

    def prototype(self):
        return f"{self.result} {self.name}({', '.join(p.declaration() for p in self.parameters) or 'void'})"


@dataclass
class Variable:
    name: str
    source: str
    line: int


@dataclass
class Source:
    """A record with its fields, or lines of the preprocessor: shown as they are."""

    name: str
    text: str
    line: int


@dataclass
class Item:
    """Declarations with the comment that they share, or a note or a heading when there are none."""

    comment: str
    declarations: list = field(default_factory=list)
    remarks: dict = field(default_factory=dict)  # by the name of the declaration, behind which they stand
    heading: bool = False


@dataclass
class Header:
    path: str
    name: str  # of the family: "mem"
    summary: str
    items: list

    def all(self, kind):
        return [d for item in self.items for d in item.declarations if isinstance(d, kind)]

    def functions(self):
        return self.all(Function)


def comment_text(raw):
    """The words of a comment: without its marks, its lines as they are indented behind the star."""
    body = re.sub(r"^/\*+|\*+/$", "", raw)
    lines = [re.sub(r"^\s*\* ?", "", line) if i else line for i, line in enumerate(body.split("\n"))]
    lines = [line.rstrip() for line in lines]
    if lines:
        lines[0] = lines[0].lstrip()
    while lines and not lines[0]:
        lines.pop(0)
    while lines and not lines[-1]:
        lines.pop()
    return "\n".join(lines)


TOKENS = re.compile(
    r"(?P<comment>/\*.*?\*/)|(?P<directive>^[ \t]*#(?:[^\n\\]|\\.|\\\n)*)|(?P<blank>\n[ \t]*(?=\n))|(?P<space>\s+)"
    r"|(?P<check>MW_(?:SIZE_IS|OFFSET_IS)\([^;]*\);)|(?P<mark>MW_(?:BEGIN|END)_DECLS)"
    r"|(?P<struct>typedef\s+(?:struct|union)\b[^{;]*\{.*?\}\s*\w+\s*;|typedef\s+\w+\s+\w+\s*;)|(?P<declaration>[^;#]+;)",
    re.S | re.M,
)
PARAMETER = re.compile(r"(const )?\s*(void|char|u?int(?:8|16|32|64)_t|\w+) ?(\*?) ?(\w+)")
NUMBERS = {"uint8_t", "uint16_t", "uint32_t", "uint64_t", "int8_t", "int16_t", "int32_t", "int64_t"}


def parse_parameter(text):
    match = PARAMETER.fullmatch(text.strip())
    if not match or match[2] in ("int", "long", "short", "unsigned", "float", "double", "struct", "enum"):
        return None
    return Parameter(match[4], match[2], bool(match[3]), bool(match[1]))


def parse_declaration(text, where, line):
    """A prototype or an exported variable."""
    flat = " ".join(re.sub(r"/\*.*?\*/", " ", text, flags=re.S).split())
    variable = re.fullmatch(r"extern MW_API (void \*(\w+)|void \(\*(\w+)\)\(void\));", flat)
    if variable:
        return Variable(variable[2] or variable[3], "extern " + variable[1] + ";", line)
    function = re.fullmatch(r"MW_API (int32_t) (\w+)\((.*)\);", flat)
    parameters = None
    if function:
        given = [] if function[3] == "void" else function[3].split(",")
        parameters = [parse_parameter(one) for one in given]
    if parameters is None or None in parameters:
        raise NotUnderstood(f"{where}:{line}: this declaration is not understood: {flat}")
    return Function(function[2], function[1], parameters, line)


def read_header(path):
    with open(path, encoding="utf-8") as file:
        text = file.read()
    name = re.sub(r".*/|\.h$", "", path)
    items, comment, group, position = [], None, None, 0
    newline_since = False  # since the last declaration

    def flush():
        nonlocal comment
        if comment is not None:
            dashes = re.fullmatch(r"-{2,} *(.*?) *-{2,}", comment, re.S)
            items.append(Item(dashes[1] if dashes else comment, heading=bool(dashes)))
        comment = None

    def add(declaration):
        nonlocal comment, group
        if comment is not None:
            group = Item(comment)
            items.append(group)
            comment = None
        elif group is None:
            if isinstance(declaration, (Function, Variable)):
                raise NotUnderstood(f"{path}:{declaration.line}: {declaration.name} is not documented: put a comment "
                                    "directly above it, or above the group that it belongs to")
            group = Item("")
            items.append(group)
        group.declarations.append(declaration)

    while position < len(text):
        line = text.count("\n", 0, position) + 1
        token = TOKENS.match(text, position)
        if not token:
            raise NotUnderstood(f"{path}:{line}: this is not understood: {text[position:].splitlines()[0]}")
        position, kind, word = token.end(), token.lastgroup, token[0]
        if kind == "blank":
            flush()
            group = None
            newline_since = True
        elif kind == "space":
            newline_since = newline_since or "\n" in word
        elif kind == "comment":
            if group is not None and not newline_since and group.declarations:
                group.remarks[group.declarations[-1].name] = comment_text(word)
                continue
            flush()
            comment, group = comment_text(word), None
        elif kind == "directive":
            word = word.strip()
            if re.match(r"#\s*define\s+\w+\s+\S", word):
                add(Source(word.split()[1], word, line))
                newline_since = False
        elif kind == "struct":
            add(Source(re.search(r"(\w+)\s*;$", word)[1], word, line))
            newline_since = False
        elif kind == "declaration":
            add(parse_declaration(word, path, line))
            newline_since = False
        else:
            flush()
            group = None
    flush()
    if not items or items[0].declarations:
        raise NotUnderstood(f"{path}:1: the header does not begin with a comment that describes it")
    return Header(path, name, items[0].comment, items[1:])


def read_headers(paths):
    """Those that declare something, in the order of their names."""
    headers = [read_header(path) for path in sorted(paths)]
    return [header for header in headers if header.functions()]


# --- documentation ---

@dataclass
class Block:
    kind: str  # text, item, literal, param, return
    text: str
    name: str = ""  # of a parameter


def blocks(comment):
    """The paragraphs, list items, literal lines and tags of a comment."""
    found, literal = [], []
    after_blank = True

    def end_literal():
        if literal:
            found.append(Block("literal", "\n".join(literal)))
            literal.clear()

    text = re.sub(r"(?<=\S) (?=@(?:param|return)\b)", "\n", comment)
    for line in text.split("\n"):
        stripped = line.strip()
        indent = len(line) - len(line.lstrip())
        tag = re.match(r"@(param|return)\b\s*(.*)", stripped)
        open_block = found[-1] if found and not after_blank and not literal else None
        if not stripped:
            end_literal()
        elif tag:
            end_literal()
            match = re.match(r"(\w+(?:, \w+)*)\s*(.*)", tag[2])
            name, words = (match[1], match[2]) if tag[1] == "param" else ("", tag[2])
            found.append(Block(tag[1], words, name))
        elif re.match(r"- \S", stripped):
            end_literal()
            found.append(Block("item", stripped[2:]))
        elif indent and (open_block is None or open_block.kind == "text" and indent > 1):
            literal.append(line)
        elif open_block is not None and (indent or open_block.kind == "text" or open_block.kind in ("param", "return")):
            open_block.text += " " + stripped
        else:
            end_literal()
            found.append(Block("text", stripped))
        after_blank = not stripped
    end_literal()
    return found


def documentation(item, declaration):
    """Of one declaration: its group's comment, and what stands behind it."""
    remark = item.remarks.get(declaration.name, "")
    return item.comment + ("\n\n" + remark if remark else "")


def main(run):
    """Runs a program that says in one line what is wrong with its input."""
    try:
        run(sys.argv[1:])
    except NotUnderstood as problem:
        sys.exit(str(problem))
    except OSError as problem:
        sys.exit(f"{problem.filename}: {problem.strerror}")
