#!/usr/bin/env python3
"""Turns a manual page written in a small subset of Markdown into man(7) roff.

    manpage.py --readme README.md --version 1.0.1 --date 2024-05-01 \
        [--define NAME=value ...] --output page.8 page.md

writes page.8 and page.8.gz, compressed as Debian ships manual pages (gzip -9n).

The page's first line is its title, "# name(section) -- what it does"; the NAME section
is made from it. Then, separated by blank lines:

    ## SECTION / ### Subsection    .SH / .SS
    paragraph lines                 .PP, one source line an output line
    - item (continued indented)     a bulleted list
    term                            a tagged paragraph (.TP): the term on its line,
    : definition (continued)        the definition after ": " on the next ones
    ```fenced code```               an indented, unfilled example
    | pipe | table |                a tbl(1) table; the first row is the header
    <!-- README: heading | kind n -->
                                    the n-th block of that kind (table, list, code,
                                    paragraph) in the README's section of that heading,
                                    converted like the page's own: the README's tables
                                    are written once and reach the pages at build time

Inline: `code` and **strong** are bold, *emphasis* italic, [text](target) keeps the text;
@NAME@ is replaced by a --define. Anything else fails loudly (status 1, a message naming
the line) so that a page or README change the converter cannot carry breaks the build.
"""

import argparse
import gzip
import re
import sys

TITLE = re.compile(r"^# (?P<name>[\w.-]+)\((?P<section>[1-9])\) -- (?P<summary>.+)$")
HEADING = re.compile(r"^(?P<level>#{1,6}) (?P<text>.+)$")
INCLUDE = re.compile(r"^<!-- README: (?P<heading>.+?) \| (?P<kind>table|list|code|paragraph) (?P<n>[1-9]\d*) -->$")
SECTION_NAMES = {"1": "User Commands", "5": "File Formats", "8": "System Administration"}


class PageError(Exception):
    pass


def escape(text):
    """Text safe in roff: backslashes doubled, non-ASCII as named code points."""
    text = text.replace("\\", "\\e")
    return "".join(c if ord(c) < 128 else "\\[u%04X]" % ord(c) for c in text)


def inline(text):
    """Markdown inline markup to roff font changes."""
    out = []
    pieces = re.split(r"(`[^`]*`)", text)
    for piece in pieces:
        if piece.startswith("`") and piece.endswith("`") and len(piece) >= 2:
            out.append("\\fB" + escape(piece[1:-1]).replace("-", "\\-") + "\\fR")
            continue
        piece = re.sub(r"\[([^\]]+)\]\([^)]*\)", r"\1", piece)
        piece = escape(piece)
        piece = re.sub(r"\*\*(.+?)\*\*", r"\\fB\1\\fR", piece)
        piece = re.sub(r"(?<![\w*])\*(?!\s)(.+?)(?<!\s)\*(?![\w*])", r"\\fI\1\\fR", piece)
        out.append(piece)
    return "".join(out)


def line(text):
    """One output line of running text: a leading dot or quote would be a request."""
    text = inline(text.strip())
    return "\\&" + text if text.startswith((".", "'")) else text


def split_blocks(lines, where):
    """Blocks of (kind, lines): heading, code, table, list, definition, paragraph, include."""
    blocks = []
    i = 0
    while i < len(lines):
        text = lines[i]
        if not text.strip():
            i += 1
            continue
        if text.startswith("```"):
            end = i + 1
            while end < len(lines) and not lines[end].startswith("```"):
                end += 1
            if end == len(lines):
                raise PageError("%s:%d: code block without its end" % (where, i + 1))
            blocks.append(("code", lines[i + 1:end]))
            i = end + 1
            continue
        if HEADING.match(text):
            blocks.append(("heading", [text]))
            i += 1
            continue
        if INCLUDE.match(text):
            blocks.append(("include", [text]))
            i += 1
            continue
        end = i
        while end < len(lines) and lines[end].strip() and not lines[end].startswith("```") \
                and not HEADING.match(lines[end]):
            end += 1
        body = lines[i:end]
        if text.startswith("|"):
            kind = "table"
        elif text.startswith("- "):
            kind = "list"
        elif len(body) > 1 and body[1].startswith(": "):
            kind = "definition"
        elif text.startswith("<!--"):
            raise PageError("%s:%d: unknown directive: %s" % (where, i + 1, text))
        else:
            kind = "paragraph"
        blocks.append((kind, body))
        i = end
    return blocks


def table_cells(row):
    row = row.strip()
    if not (row.startswith("|") and row.endswith("|")):
        raise PageError("table row without its bars: " + row)
    return [cell.strip().replace("\\|", "|") for cell in re.split(r"(?<!\\)\|", row[1:-1])]


# A table's text on an 80-column terminal: 73 columns past the page's indent, less a
# border and two blanks per column and the last border. Columns of cells no longer than
# SHORT_COLUMN are set as wide as their longest cell.
LINE_WIDTH = 73
SHORT_COLUMN = 16


def plain(cell):
    return re.sub(r"[`*]", "", cell)


def column_widths(rows):
    """Each column's width in ens: what its cells need, shared out when they need more than
    the line has, and never less than its longest word."""
    columns = list(zip(*rows))
    room = LINE_WIDTH - 3 * len(columns) - 1
    natural = [max(len(plain(cell)) for cell in column[1:]) for column in columns]
    words = [max(len(word) for cell in column for word in plain(cell).split() or [""]) for column in columns]
    natural = [max(n, w) for n, w in zip(natural, words)]
    if sum(natural) <= room:
        return natural
    fixed = [n if n <= SHORT_COLUMN else None for n in natural]
    least = [f if f is not None else w for f, w in zip(fixed, words)]
    spare = max(0, room - sum(least))
    want = sum(n - l for n, l, f in zip(natural, least, fixed) if f is None) or 1
    return [f if f is not None else l + spare * (n - l) // want for n, l, f in zip(natural, least, fixed)]


def render_table(body):
    rows = [table_cells(row) for row in body]
    if len(rows) < 2 or not all(re.fullmatch(r":?-+:?", cell) for cell in rows[1]):
        raise PageError("table without its header separator: " + body[0])
    width = len(rows[0])
    if any(len(row) != width for row in rows):
        raise PageError("table rows of different widths: " + body[0])
    rows = [rows[0]] + rows[2:]
    widths = column_widths(rows)
    formats = ["lw(%dn)" % w for w in widths]
    # Narrow columns are set ragged and unhyphenated: justified, they would gape.
    out = [".na", ".nh", ".TS", "allbox tab(\t);", " ".join(f.replace("l", "lb", 1) for f in formats),
           " ".join(formats) + "."]
    for number, row in enumerate(rows):
        cells = []
        for cell, column_width in zip(row, widths):
            text = inline(cell) if number else inline(cell.replace("`", ""))
            text = ("\\&" if text.startswith((".", "'")) else "") + text
            wraps = len(plain(cell)) > column_width
            cells.append("T{\n" + text + "\nT}" if wraps else text)
        out.append("\t".join(cells))
    out += [".TE", ".ad", ".hy", ".sp"]
    return out


def render_items(body):
    items = []
    for text in body:
        if text.startswith("- "):
            items.append([text[2:]])
        elif text.startswith("  ") and items:
            items[-1].append(text)
        else:
            raise PageError("list line neither an item nor indented: " + text)
    out = []
    for item in items:
        out.append(".IP \\(bu 2")
        out.extend(line(text) for text in item)
    return out


def render_definition(body):
    out = [".TP", line(body[0])]
    for text in body[1:]:
        if text.startswith(": "):
            text = text[2:]
        elif not text.startswith("  "):
            raise PageError("definition line neither \": \" nor indented: " + text)
        out.append(line(text))
    return out


def render_block(kind, body, readme):
    if kind == "heading":
        match = HEADING.match(body[0])
        level, text = len(match.group("level")), match.group("text").replace("`", "")
        if level not in (2, 3):
            raise PageError("only ## and ### headings make sections: " + body[0])
        return ['%s "%s"' % (".SH" if level == 2 else ".SS", escape(text.upper() if level == 2 else text))]
    if kind == "code":
        return [".PP", ".RS 4", ".nf"] + [("\\&" + escape(t)).replace("-", "\\-") for t in body] + [".fi", ".RE"]
    if kind == "table":
        return render_table(body)
    if kind == "list":
        return render_items(body)
    if kind == "definition":
        return render_definition(body)
    if kind == "include":
        found_kind, found_body = from_readme(readme, INCLUDE.match(body[0]))
        return render_block(found_kind, found_body, readme)
    return [".PP"] + [line(text) for text in body]


def from_readme(blocks, include):
    """The block an include names in the README's blocks: the n-th of its kind under its
    heading."""
    wanted = include.group("heading")
    start = None
    for index, (kind, body) in enumerate(blocks):
        if kind == "heading" and HEADING.match(body[0]).group("text") == wanted:
            start = index
            break
    if start is None:
        raise PageError("README.md has no heading \"%s\"" % wanted)
    level = len(HEADING.match(blocks[start][1][0]).group("level"))
    found = []
    for kind, body in blocks[start + 1:]:
        if kind == "heading" and len(HEADING.match(body[0]).group("level")) <= level:
            break
        if kind == include.group("kind"):
            found.append((kind, body))
    n = int(include.group("n"))
    if n > len(found):
        raise PageError("README.md's section \"%s\" has no %s %d" % (wanted, include.group("kind"), n))
    return found[n - 1]


def convert(page, readme, version, date, defines):
    def define(match):
        if match.group(1) not in defines:
            raise PageError("no --define for @%s@" % match.group(1))
        return defines[match.group(1)]

    page = [re.sub(r"@([A-Z_]+)@", define, text.rstrip("\n")) for text in page]
    readme = split_blocks(readme, "README.md")
    title = TITLE.match(page[0]) if page else None
    if not title:
        raise PageError("the first line must be \"# name(section) -- what it does\"")
    name, section = title.group("name"), title.group("section")
    out = [
        "'\\\" t",
        '.TH "%s" "%s" "%s" "Grantwright %s" "%s"'
        % (escape(name.upper()), section, date, version, SECTION_NAMES.get(section, "")),
        ".SH NAME",
        "%s \\- %s" % (escape(name).replace("-", "\\-"), inline(title.group("summary"))),
    ]
    for kind, body in split_blocks(page[1:], "page"):
        out.extend(render_block(kind, body, readme))
    return "\n".join(out) + "\n"


def main():
    parser = argparse.ArgumentParser(description=__doc__.splitlines()[0])
    parser.add_argument("--readme", required=True)
    parser.add_argument("--version", required=True)
    parser.add_argument("--date", required=True)
    parser.add_argument("--define", action="append", default=[])
    parser.add_argument("--output", required=True)
    parser.add_argument("page")
    args = parser.parse_args()
    defines = dict(item.split("=", 1) for item in args.define)
    try:
        with open(args.page, encoding="utf-8") as page, open(args.readme, encoding="utf-8") as readme:
            roff = convert(page.readlines(), [t.rstrip("\n") for t in readme], args.version, args.date, defines)
    except PageError as error:
        sys.exit("%s: %s" % (args.page, error))
    with open(args.output, "w", encoding="ascii") as out:
        out.write(roff)
    # No name and no time in the header, so the same page compresses to the same bytes.
    with open(args.output + ".gz", "wb") as raw, \
            gzip.GzipFile(filename="", mode="wb", compresslevel=9, fileobj=raw, mtime=0) as out:
        out.write(roff.encode("ascii"))


if __name__ == "__main__":
    main()
