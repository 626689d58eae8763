"""Mutants of C++ sources, all in one copy of them: each waits behind a switch (Mutant.h)."""
import collections
import ctypes
import functools
import json
import os
import re
import shlex

from clang import cindex
from clang.cindex import CursorKind as Kind, TypeKind

# One mutant: what stands in [begin, end) of a file becomes `text`; `key` names it whatever its line.
Mutant = collections.namedtuple("Mutant", "id file begin end form text key")

BOUNDARY = {"<": "<=", "<=": "<", ">": ">=", ">=": ">", "==": "!=", "!=": "=="}
SWAPPED = {"+": "-", "-": "+", "&&": "||", "||": "&&", "+=": "-=", "-=": "+="}
NUMBERS = {TypeKind.INT, TypeKind.UINT, TypeKind.LONG, TypeKind.ULONG, TypeKind.SHORT,
           TypeKind.USHORT, TypeKind.LONGLONG, TypeKind.ULONGLONG, TypeKind.DOUBLE, TypeKind.FLOAT}
# Constant expressions, in which no switch can stand.
CONSTANT = {Kind.STATIC_ASSERT, Kind.ENUM_DECL, Kind.PARM_DECL, Kind.TYPE_ALIAS_DECL,
            Kind.CXX_UNARY_EXPR, Kind.TEMPLATE_NON_TYPE_PARAMETER}
FUNCTIONS = {Kind.FUNCTION_DECL, Kind.CXX_METHOD, Kind.CONSTRUCTOR, Kind.DESTRUCTOR,
             Kind.FUNCTION_TEMPLATE, Kind.CONVERSION_FUNCTION}
LOOPS = {Kind.WHILE_STMT, Kind.DO_STMT, Kind.FOR_STMT}
PLAIN = {Kind.UNEXPOSED_EXPR, Kind.PAREN_EXPR}
# A step whose failure ends the function; what its macro is made of is not changed.
STEP = re.compile(r"NX_RETURN_IF_FAILED\((.*)\)", re.S)


@functools.cache
def file_location():
    function = cindex.conf.lib.clang_getFileLocation
    function.argtypes = [cindex.SourceLocation, ctypes.c_void_p, *[ctypes.POINTER(ctypes.c_uint)] * 3]
    function.restype = None
    return function


def span(cursor):
    """Where it begins and ends in its file, also as the argument of a macro."""
    offsets = []
    for place in (cursor.extent.start, cursor.extent.end):
        line, column, offset = ctypes.c_uint(), ctypes.c_uint(), ctypes.c_uint()
        file_location()(place, None, ctypes.byref(line), ctypes.byref(column), ctypes.byref(offset))
        offsets.append(offset.value)
    return tuple(offsets)


class Source:
    """The text of one file and the places in it where a mutant is possible."""

    def __init__(self, root, path):
        self.path = path
        with open(os.path.join(root, path), "rb") as file:
            self.text = file.read()
        self.sites = {}  # (begin, end, form, alternative) -> function

    def part(self, begin, end):
        return self.text[begin:end].decode()

    def of(self, cursor):
        return self.part(*span(cursor))

    def between(self, left, right):
        return self.part(span(left)[1], span(right)[0]).strip()

    def add(self, cursor, form, alternative, function):
        begin, end = span(cursor)
        # On one line, so that what the compiler says of those below names their own.
        alternative = re.sub(r"\s*(//[^\n\"]*)?\n\s*", " ", alternative)
        if begin < end:
            self.sites.setdefault((begin, end, form, alternative), function)

    def mutants(self, first):
        """Numbered from `first`; the same text at several places of a function is counted."""
        counts = collections.Counter()
        found = []
        for (begin, end, form, text), function in sorted(self.sites.items()):
            now = " ".join(self.part(begin, end).split())
            then = " ".join(written(form, text).split()) or "(nothing)"
            key = f"{self.path}: {function}: {now} -> {then}"
            counts[key] += 1
            if counts[key] > 1:
                key += f" ({counts[key]})"
            found.append(Mutant(first + len(found), self.path, begin, end, form, text, key))
        return found

    def lines(self, mutant):
        """The first line of a mutant's place and the one after its last."""
        return (self.text.count(b"\n", 0, mutant.begin) + 1,
                self.text.count(b"\n", 0, mutant.end) + 2)

    def mutated(self, mutants):
        spans = collections.defaultdict(list)
        for mutant in mutants:
            spans[(mutant.begin, -mutant.end, mutant.form)].append(mutant)
        rest = sorted(spans.items(), key=lambda item: (item[0][:2], "SRCE".index(item[0][2])))
        return "#include <Mutant.h>\n#line 1\n" + self._render(0, len(self.text), rest)

    def _render(self, begin, end, rest):
        # `rest` is in the order of the text, outer before inner; what is done is taken from it.
        out = ""
        while rest and rest[0][0][0] < end:
            (start, minus_stop, form), mutants = rest.pop(0)
            out += self.part(begin, start)
            begin = -minus_stop
            out += wrap(form, mutants, self._render(start, begin, rest))
        return out + self.part(begin, end)


def written(form, text):
    return f"return {text}" if form == "R" else text


def wrap(form, mutants, inner):
    """`inner`, unless one of these is switched on: S done instead, R returned, C condition, E expression."""
    if form in "SR":
        return "".join(f"if (mutation::Is({m.id})) {{ {written(form, m.text)}; }} else "
                       for m in mutants) + inner
    inner = f"static_cast<bool>({inner})" if form == "C" else f"({inner})"
    return "(" + "".join(f"mutation::Is({m.id}) ? ({m.text}) : " for m in mutants) + inner + ")"


def peel(cursor):
    """The expression itself, without parentheses and conversions that nobody wrote."""
    while cursor.kind in PLAIN:
        children = [child for child in cursor.get_children() if child.kind.is_expression()]
        # The "==" of which C++20 makes "a != b" begins in the middle.
        begins = [span(child)[0] - span(cursor)[0] for child in children]
        if begins not in ([0], [1]):
            break
        cursor = children[0]
    return cursor


class Finder:
    """Finds the places of a translation unit that lie in the given sources."""

    def __init__(self, root, sources):
        self.root = root
        self.sources = sources
        self.source = None

    def visit(self, cursor, function="", result="", macro=None):
        for child in cursor.get_children():
            file = child.location.file
            if cursor.kind == Kind.TRANSLATION_UNIT:
                self.source = self.sources.get(os.path.relpath(file.name, self.root) if file else "")
            if self.source is None or child.kind in CONSTANT or self.is_constant(child):
                continue
            if cursor.kind == Kind.CASE_STMT and child == next(cursor.get_children()):
                continue
            if cursor.kind in (Kind.VAR_DECL, Kind.FIELD_DECL) and (
                    span(child)[0] < cursor.location.offset or
                    self.source.text[span(child)[1]:].startswith(b"]")):
                continue  # of its type
            inside = function
            given = "" if child.kind == Kind.LAMBDA_EXPR else result
            if child.kind in FUNCTIONS or child.kind == Kind.FIELD_DECL:
                inside = child.spelling
                given = child.result_type.spelling
                if child.semantic_parent.kind in (Kind.CLASS_DECL, Kind.STRUCT_DECL):
                    inside = f"{child.semantic_parent.spelling}::{inside}"
            step = STEP.fullmatch(self.source.of(child)) if child.kind == Kind.DO_STMT else None
            if step is not None:
                self.source.add(child, "S", "", inside)
                self.source.add(child, "S", f"(void)({step[1]})", inside)
                self.visit(child, inside, "", span(child))
                continue
            if macro is None or span(child) != macro:
                self.look_at(child, cursor, inside, given)
            if child.kind != Kind.DECL_REF_EXPR:
                self.visit(child, inside, given, macro)

    def is_constant(self, cursor):
        if cursor.kind == Kind.VAR_DECL or cursor.kind in FUNCTIONS:
            begin = span(cursor)[0]
            head = self.source.part(begin, max(cursor.location.offset, begin))
            return re.search(r"\b(constexpr|consteval|constinit)\b", head) is not None
        return False

    def look_at(self, cursor, parent, function, result):
        def add(place, form, alternative):
            self.source.add(place, form, alternative, function)

        kind = cursor.kind
        text = self.source.of(cursor)
        if parent.kind == Kind.COMPOUND_STMT and (
                kind.is_expression() or kind in (Kind.BREAK_STMT, Kind.CONTINUE_STMT) or
                text == "return"):
            add(cursor, "S", "")
        if kind == Kind.RETURN_STMT and text != "return":
            self.look_at_return(cursor, result, add)
        if kind in LOOPS or kind in (Kind.IF_STMT, Kind.CONDITIONAL_OPERATOR):
            condition = self.condition(cursor)
            if condition is not None:
                self.look_at_condition(condition, kind in LOOPS, add)
        if kind in (Kind.BINARY_OPERATOR, Kind.COMPOUND_ASSIGNMENT_OPERATOR):
            left, right = list(cursor.get_children())
            between = self.source.between(left, right)
            other = BOUNDARY.get(between) or SWAPPED.get(between)
            if other and not (between == "-" and right.type.get_canonical().kind == TypeKind.POINTER):
                texts = [self.source.of(left), self.source.of(right)]
                if other in ("&&", "||"):
                    texts = [f"({text})" for text in texts]
                add(cursor, "E", f" {other} ".join(texts))
        if kind == Kind.UNARY_OPERATOR and parent.kind != Kind.FOR_STMT:
            if text.startswith(("++", "--")):
                add(cursor, "E", {"++": "--", "--": "++"}[text[:2]] + text[2:])
        if kind == Kind.CXX_BOOL_LITERAL_EXPR:
            add(cursor, "E", {"true": "false", "false": "true"}.get(text, text))
        if kind == Kind.INTEGER_LITERAL and re.fullmatch(r"[0-9a-fA-FxX']+[uUlL]*", text):
            add(cursor, "E", f"{text} + 1")
            if not re.fullmatch(r"0[uUlL]*", text):
                add(cursor, "E", f"{text} - 1")
        if kind == Kind.DECL_REF_EXPR and cursor.referenced is not None:
            named = cursor.referenced
            if named.kind == Kind.VAR_DECL and named.type.is_const_qualified() and (
                    named.type.get_canonical().kind in NUMBERS and re.fullmatch(r"k[A-Z]\w*", text)):
                add(cursor, "E", f"{text} + 1")
                add(cursor, "E", f"{text} - 1")
            if named.kind == Kind.ENUM_CONSTANT_DECL and not named.semantic_parent.is_scoped_enum():
                add(cursor, "E", f"{text} + 1")

    def look_at_return(self, cursor, result, add):
        value = next(cursor.get_children())
        text = self.source.of(value)
        kind = peel(value).kind
        type_name = value.type.spelling.removeprefix("const ")
        if type_name == "bool":
            if kind not in (Kind.CXX_BOOL_LITERAL_EXPR, Kind.BINARY_OPERATOR) or "&&" in text or "||" in text:
                add(cursor, "R", f"!({text})")
        elif type_name in ("NxResult", "Result"):
            if re.fullmatch(r"\{\}|\w*Result\((kNxOk|kGenFUDone)?\)", text):
                add(cursor, "R", f"{type_name}(0xDEAD)")
            else:
                add(cursor, "R", f"{type_name}()")
                if "Result(" not in text:
                    add(cursor, "R", f"{type_name}(0xDEAD)")
        elif value.type.get_canonical().kind in NUMBERS:
            if not result.endswith("&") and kind not in (Kind.INTEGER_LITERAL, Kind.BINARY_OPERATOR, Kind.CONDITIONAL_OPERATOR):
                add(cursor, "R", f"({text}) + 1")
        elif text not in ("{}", "nullptr", "std::nullopt") and kind != Kind.CONDITIONAL_OPERATOR:
            if result and not result.endswith("&"):
                add(cursor, "R", "{}")

    def condition(self, cursor):
        children = list(cursor.get_children())
        if cursor.kind == Kind.FOR_STMT:
            for child in children:
                begin, end = span(child)
                around = (self.source.part(0, begin).rstrip()[-1:] +
                          self.source.part(end, len(self.source.text)).lstrip()[:1])
                if around == ";;":
                    return child
            return None
        if any(child.kind == Kind.VAR_DECL for child in children):
            return None
        expressions = [child for child in children if child.kind.is_expression()]
        return expressions[0] if expressions else None

    def look_at_condition(self, condition, is_loop, add):
        inner = peel(condition)
        text = self.source.of(inner)
        if inner.kind == Kind.BINARY_OPERATOR:
            left, right = list(inner.get_children())
            between = self.source.between(left, right)
            if between in ("&&", "||"):
                self.look_at_condition(left, is_loop, add)
                self.look_at_condition(right, is_loop, add)
                return
            if between in ("==", "!=") and not is_loop:
                return  # changed as an operator
        # A loop that starts or ends at the wrong moment; one that never ends shows nothing more.
        add(inner if inner.kind != Kind.UNARY_OPERATOR else condition, "C",
            "false" if is_loop else f"!({text})")


def arguments(command):
    words = shlex.split(command)
    kept = []
    for i, word in enumerate(words):
        if word.startswith(("-I", "-D", "-std")) or (i and words[i - 1] == "-isystem"):
            kept += ["-isystem", word] if words[i - 1] == "-isystem" else [word]
    return kept


def find(root, commands, paths):
    """The mutants of these files below `root`, by the compile commands of its sources."""
    sources = {path: Source(root, path) for path in paths}
    finder = Finder(root, sources)
    index = cindex.Index.create()
    for path in paths:
        command = commands.get(os.path.join(root, path))
        if command:
            finder.visit(index.parse(os.path.join(root, path), arguments(command)).cursor)
    mutants = []
    for source in sources.values():
        mutants += source.mutants(len(mutants) + 1)
    return sources, mutants


def diff(root, mutant):
    """The lines of a mutant's place without and with it."""
    source = Source(root, mutant.file)
    begin = source.text.rfind(b"\n", 0, mutant.begin) + 1
    end = source.text.find(b"\n", mutant.end)
    before = source.part(begin, end)
    after = (source.part(begin, mutant.begin) + written(mutant.form, mutant.text) +
             source.part(mutant.end, end))
    marked = [f"-{line}" for line in before.split("\n")] + [f"+{line}" for line in after.split("\n")]
    return "\n".join([f"{mutant.file}:{source.lines(mutant)[0]}", *marked])


def write(tree, sources, mutants):
    for path, source in sources.items():
        text = source.mutated([mutant for mutant in mutants if mutant.file == path])
        target = os.path.join(tree, path)
        if not os.path.exists(target) or open(target).read() != text:
            with open(target, "w") as file:
                file.write(text)
