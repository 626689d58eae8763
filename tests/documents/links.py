#!/usr/bin/env python3
"""Checks the links of all Markdown files below a folder, and every "docs/….md" in any other file.

    links.py FOLDER

A link leads to a file or folder of the tree, and its anchor to a heading, as GitHub forms anchors.
Links to the web are not followed. Status 1 when a link is dead, one line each on the standard error.
"""

import os
import re
import sys

FENCE = re.compile(r"^(```|~~~).*?^\1[ \t]*$", re.MULTILINE | re.DOTALL)
CODE = re.compile(r"(`+)(?!`).*?(?<!`)\1(?!`)", re.DOTALL)
LINK = re.compile(r"\]\(\s*<?([^)\s>]+)>?(?:\s+\"[^\"]*\")?\s*\)|<img[^>]*\ssrc=\"([^\"]+)\"")
HEADING = re.compile(r"^#{1,6}[ \t]+(.*?)[ \t#]*$", re.MULTILINE)
MENTION = re.compile(r"\bdocs/[\w./-]*\.md\b")
NOT_OURS = {".git", "build", "corpus"}


def without(text, pattern):
    """The text with every match blanked, so that lines keep their numbers."""
    return pattern.sub(lambda match: "\n" * match.group(0).count("\n"), text)


def anchors(text):
    found = {}
    for heading in HEADING.findall(without(text, FENCE)):
        heading = re.sub(r"\[([^\]]*)\]\([^)]*\)", r"\1", heading)
        anchor = re.sub(r"[^\w\- ]", "", heading.strip().lower()).replace(" ", "-")
        found[anchor] = found.get(anchor, -1) + 1
    return {name if i == 0 else f"{name}-{i}" for name, last in found.items() for i in range(last + 1)}


def read(path):
    try:
        with open(path, encoding="utf-8") as file:
            return file.read()
    except UnicodeDecodeError:
        return ""


def dead_links(root, path, text):
    """Pairs of line number and what is wrong there."""
    prose = without(without(text, FENCE), CODE)
    for match in LINK.finditer(prose):
        target = match.group(1) or match.group(2)
        if re.match(r"[a-z][a-z0-9+.-]*:", target):
            continue
        file, _, anchor = target.partition("#")
        found = os.path.normpath(os.path.join(os.path.dirname(path), file)) if file else path
        line = prose.count("\n", 0, match.start()) + 1
        if os.path.relpath(found, root).startswith(".."):
            yield line, f"{target} leads out of the repository"
        elif not os.path.exists(found):
            yield line, f"{target} does not exist"
        elif anchor and anchor not in anchors(read(found)):
            yield line, f"{target}: {os.path.basename(found)} has no heading for that anchor"


def main(root):
    links = mentions = 0
    wrong = []
    for folder, folders, files in os.walk(root):
        folders[:] = sorted(name for name in folders if name not in NOT_OURS)
        for name in sorted(files):
            path = os.path.join(folder, name)
            text = read(path)
            where = os.path.relpath(path, root)
            if name.endswith(".md"):
                links += len(LINK.findall(without(without(text, FENCE), CODE)))
                wrong += [f"{where}:{line}: {what}" for line, what in dead_links(root, path, text)]
            else:
                for match in MENTION.finditer(text):
                    mentions += 1
                    if not os.path.exists(os.path.join(root, match.group(0))):
                        line = text.count("\n", 0, match.start()) + 1
                        wrong.append(f"{where}:{line}: {match.group(0)} does not exist")
    for line in wrong:
        print(line, file=sys.stderr)
    if not links:
        print(f"no link found below {root}", file=sys.stderr)
        return 1
    print(f"{links} links and {mentions} mentions, {len(wrong)} dead")
    return 1 if wrong else 0


if __name__ == "__main__":
    sys.exit(main(os.path.abspath(sys.argv[1])))
