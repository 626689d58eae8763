#!/usr/bin/env python3
"""Compares the messages that a page explains with the string literals of the sources.

    messages.py PAGE EXCEPTIONS FOLDER…        compares
    messages.py --list FOLDER…                 prints the literals

A message is a code span in the first cell of a table row of the page. Words of PLACEHOLDERS in it stand
for what differs from run to run; "…" stands for another message. The text between two of them is a part.

  - Every literal of the sources that has two words or more is in one of the page's messages, or in
    EXCEPTIONS: a new or reworded message has to be explained.
  - Every part of the page's messages that has a letter is in one of the literals, or is made of up to
    three: a message that the code no longer has, or words differently, has to leave the page.
  - Every line of EXCEPTIONS, "literal<tab>reason", is needed: a literal that is there, and not on the
    page.

Literals that the compiler joins are one; of an escape like \\r or \\xFF only a blank is left. Status 1 when
they differ, one line for each difference on the standard error.
"""

import os
import re
import sys

PLACEHOLDERS = ("ADDRESS", "COMMAND", "DEVICE", "FEATURE", "FILE", "INTERFACE", "NAME", "N",
                "PLACE", "REASON", "STATUS", "TEXT")
PLACEHOLDER = re.compile(r"…|\b(?:" + "|".join(PLACEHOLDERS) + r")\b")
TOKEN = re.compile(
    r"//[^\n]*|/\*.*?\*/"                                        # a comment
    r"|^[ \t]*\#[ \t]*(?:include|error|pragma)[^\n]*"            # what holds names of files
    r"|'(?:\\.|[^'\\\n])+'"                                      # a character
    r"|\bR\"(?P<mark>[^(\s]*)\((?P<raw>.*?)\)(?P=mark)\""
    r"|\"(?P<text>(?:\\.|[^\"\\\n])*)\""
    r"|(?P<other>[^\s/\"'\#]+|.)", re.DOTALL | re.MULTILINE)
SPAN = re.compile(r"(?<!`)(`+)(?!`)(.+?)(?<!`)\1(?!`)")
MOST_PIECES = 3
WORD = re.compile(r"[^\W\d_]{2,}")


def plain(text):
    return " ".join(text.split())


def unescaped(text):
    text = re.sub(r'\\(["\\])', r"\1", text)
    return re.sub(r"\\(?:x[0-9a-fA-F]+|[0-7]+|.)", " ", text)


def literals(source):
    """The string literals of C++ source, in order, as the compiler joins them."""
    joined = None
    for token in TOKEN.finditer(source):
        if token.group("raw") is not None:
            joined = (joined or "") + token.group("raw")
        elif token.group("text") is not None:
            joined = (joined or "") + unescaped(token.group("text"))
        elif token.group("other") is not None and token.group("other").strip() and joined is not None:
            yield plain(joined)
            joined = None
    if joined is not None:
        yield plain(joined)


def literals_of(folders):
    """Each literal, with the first file that has it."""
    found = {}
    for top in folders:
        for folder, _, names in sorted(os.walk(top)):
            for name in sorted(names):
                if name.endswith((".h", ".cpp")):
                    path = os.path.join(folder, name)
                    with open(path, encoding="utf-8") as file:
                        for literal in literals(file.read()):
                            found.setdefault(literal, path)
    return found


def is_message(literal):
    return sum(1 for word in literal.split() if WORD.search(word)) > 1


def messages(page):
    """Pairs of line number and message."""
    for number, line in enumerate(page.splitlines(), 1):
        if line.startswith("|"):
            cell = re.split(r"(?<!\\)\|", line)[1]
            for span in SPAN.finditer(cell):
                yield number, plain(span.group(2).replace("\\|", "|"))


def is_composed(part, found):
    """Whether it is the end of a literal, perhaps another one, and the beginning of one; any number of
    them may be mere punctuation."""
    states = [(part, "", 0)]  # what is left, the longest piece, the number of pieces that have words
    while states:
        rest, longest, pieces = states.pop()
        for literal in found:
            if not literal:
                continue
            if longest and literal.startswith(rest) and is_message(max(longest, rest, key=len)):
                return True
            piece = literal
            if not longest:
                at = next((at for at in range(len(literal)) if rest.startswith(literal[at:])), None)
                piece = "" if at is None else literal[at:]
            if piece and rest.startswith(piece) and pieces < MOST_PIECES:
                has_words = WORD.search(piece) is not None
                states.append((rest[len(piece):].lstrip(), max(longest, piece, key=len),
                               pieces + has_words))
    return False


def main(page_path, exceptions_path, folders):
    found = literals_of(folders)
    with open(page_path, encoding="utf-8") as file:
        explained = list(messages(file.read()))
    with open(exceptions_path, encoding="utf-8") as file:
        lines = [line for line in file.read().splitlines() if line and not line.startswith("#")]
    exceptions = dict(line.split("\t", 1) for line in lines)
    wrong = []

    def is_explained(literal):
        return any(literal in message for _, message in explained)

    def is_printed(part):
        return any(part in literal for literal in found) or is_composed(part, found)

    for literal, path in found.items():
        if is_message(literal) and literal not in exceptions and not is_explained(literal):
            wrong.append(f'{path}: "{literal}" is not explained in {page_path}')
    for literal, reason in exceptions.items():
        if literal not in found:
            wrong.append(f'{exceptions_path}: "{literal}" is not in the sources')
        elif is_explained(literal) or not is_message(literal) or not reason.strip():
            wrong.append(f'{exceptions_path}: "{literal}" needs no exception, or has no reason')
    for number, message in explained:
        for part in PLACEHOLDER.split(message):
            part = part.strip()
            if re.search(r"[^\W\d_]", part) and not is_printed(part):
                wrong.append(f'{page_path}:{number}: "{part}" is in no message of the sources')
    for line in wrong:
        print(line, file=sys.stderr)
    print(f"{sum(map(is_message, found))} literals, {len(explained)} messages explained, "
          f"{len(exceptions)} exceptions, {len(wrong)} differences")
    return 1 if wrong or not explained else 0


if __name__ == "__main__":
    if sys.argv[1] == "--list":
        for text, where in literals_of(sys.argv[2:]).items():
            if is_message(text):
                print(f"{where}: {text}")
    else:
        sys.exit(main(sys.argv[1], sys.argv[2], sys.argv[3:]))
