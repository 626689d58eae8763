"""Markdown tables."""


def table(head, rows):
    lines = [head, ["---"] * len(head), *rows]
    return "".join("| " + " | ".join(str(cell) for cell in line) + " |\n" for line in lines)
