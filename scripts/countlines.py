#!/usr/bin/env python3
"""Lines of the files named on standard input, without blank lines and comments."""

import io
import pathlib
import re
import sys
import tokenize

# A string first, so that a comment's mark in it is none.
SLASHES = re.compile(r'("(?:\\.|[^"\\\n])*"|\'(?:\\.|[^\'\\\n])*\'|`(?:\\.|[^`\\])*`)'
                     r'|//[^\n]*|/\*.*?\*/', re.S)
MARKUP = re.compile(r"<!--.*?-->", re.S)


def without_comments(path, text):
    if path.suffix == ".py":
        lines = text.splitlines()
        kept = set()
        statement = True  # a string that is a whole statement is a comment
        for token in tokenize.generate_tokens(io.StringIO(text).readline):
            if token.type in (tokenize.NEWLINE, tokenize.INDENT, tokenize.DEDENT):
                statement = True
            elif token.type in (tokenize.COMMENT, tokenize.NL, tokenize.ENDMARKER):
                pass
            elif token.type == tokenize.STRING and statement:
                statement = False
            else:
                kept.update(range(token.start[0], token.end[0] + 1))
                statement = False
        return "\n".join(lines[number - 1] for number in sorted(kept) if number <= len(lines))
    if path.suffix in (".h", ".cpp", ".c", ".inc", ".rc", ".js", ".mjs", ".ts", ".tsx", ".css"):
        return SLASHES.sub(lambda match: match[1] or "", text)
    if path.suffix in (".html", ".svg", ".xml", ".manifest"):
        return SLASHES.sub(lambda match: match[1] or "", MARKUP.sub("", text))
    if path.suffix in (".sh", ".txt", ".cmake", ".in", "", ".def", ".map", ".toml", ".yml"):
        return re.sub(r"(?m)^\s*#.*$", "", text)
    return text


total = 0
for name in sys.stdin.read().splitlines():
    path = pathlib.Path(name)
    text = without_comments(path, path.read_text(encoding="utf-8"))
    total += sum(1 for line in text.splitlines() if line.strip())
print(total)
