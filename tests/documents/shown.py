#!/usr/bin/env python3
"""Compares the files that pages show with the files themselves.

    shown.py EXAMPLES PAGE…            compares; every file of the folder EXAMPLES must be shown
    shown.py --update EXAMPLES PAGE…   puts the files into the pages

A page shows a file in the code block that follows the line "<!-- path -->", relative to the page. Status 1
when they differ or a file is not shown, one line each on the standard error.
"""

import os
import re
import sys

SHOWN = re.compile(r"^<!-- ([\w./-]+) -->\n(```[^\n]*\n)(.*?)^```$", re.MULTILINE | re.DOTALL)


def main(arguments):
    update = arguments[0] == "--update"
    examples, *pages = arguments[1:] if update else arguments
    wrong = []
    shown = set()
    for page in pages:
        with open(page, encoding="utf-8") as file:
            text = file.read()

        def block(match):
            path = os.path.normpath(os.path.join(os.path.dirname(page), match.group(1)))
            line = text.count("\n", 0, match.start()) + 1
            if not os.path.exists(path):
                wrong.append(f"{page}:{line}: {path} does not exist")
                return match.group(0)
            shown.add(os.path.abspath(path))
            with open(path, encoding="utf-8") as file:
                content = file.read()
            if content != match.group(3) and not update:
                wrong.append(f"{page}:{line}: differs from {path}")
            return f"<!-- {match.group(1)} -->\n{match.group(2)}{content}```"

        new = SHOWN.sub(block, text)
        if update and new != text:
            with open(page, "w", encoding="utf-8") as file:
                file.write(new)
    for name in sorted(os.listdir(examples)):
        if os.path.abspath(os.path.join(examples, name)) not in shown:
            wrong.append(f"{os.path.join(examples, name)} is shown by no page")
    for line in wrong:
        print(line, file=sys.stderr)
    print(f"{len(shown)} files shown, {len(wrong)} differences")
    return 1 if wrong or not shown else 0


if __name__ == "__main__":
    sys.exit(main(sys.argv[1:]))
