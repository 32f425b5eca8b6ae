"""Makes mutants of C++ sources with libclang, and writes copies of the sources that hold all of them at once.

A mutant is one small mistake. Each stands beside the text that it replaces and is chosen while the program runs
(a mutant schema), so that a tree is compiled once for all of its mutants:

    (FYR_MUTANT(17) ? (a <= b) : (a < b))         if (FYR_MUTANT(18)) {} else { statement; }

No line moves, so what the sources say of their lines stays true.
"""

import bisect
import ctypes
import dataclasses
import re

from clang import cindex
from clang.cindex import CursorKind, TypeKind

cindex.Config.set_library_file("libclang-19.so.1")

OPERATORS = {
    "+": ["-"],
    "-": ["+"],
    "*": ["/"],
    "/": ["*"],
    "%": ["*"],
    "&": ["|"],
    "|": ["&"],
    "^": ["&"],
    "<<": [">>"],
    ">>": ["<<"],
    "+=": ["-="],
    "-=": ["+="],
    "*=": ["/="],
    "/=": ["*="],
    "&=": ["|="],
    "|=": ["&="],
    "^=": ["&="],
    "<<=": [">>="],
    ">>=": ["<<="],
    "==": ["!="],
    "!=": ["=="],
    "<": ["<=", ">="],
    "<=": ["<", ">"],
    ">": [">=", "<="],
    ">=": [">", "<"],
    "&&": ["||"],
    "||": ["&&"],
}
COMPARISONS = {"==", "!=", "<", "<=", ">", ">="}
UNARY = {"++": "--", "--": "++", "-": "", "~": "", "!": ""}
FUNCTIONS = {
    CursorKind.FUNCTION_DECL,
    CursorKind.CXX_METHOD,
    CursorKind.CONSTRUCTOR,
    CursorKind.DESTRUCTOR,
    CursorKind.CONVERSION_FUNCTION,
    CursorKind.FUNCTION_TEMPLATE,
}
# What the compiler evaluates: no mutant can be chosen there while the program runs.
CONSTANT = {
    CursorKind.STATIC_ASSERT,
    CursorKind.REQUIRES_EXPR,
    CursorKind.CONCEPT_SPECIALIZATION_EXPR,
    CursorKind.ENUM_DECL,
    CursorKind.PARM_DECL,
    CursorKind.TEMPLATE_NON_TYPE_PARAMETER,
    CursorKind.TEMPLATE_TYPE_PARAMETER,
    CursorKind.CXX_UNARY_EXPR,
}
LOOPS = {CursorKind.WHILE_STMT, CursorKind.FOR_STMT, CursorKind.DO_STMT}
BRANCHES = {CursorKind.IF_STMT, CursorKind.WHILE_STMT, CursorKind.FOR_STMT}
JUMPS = {CursorKind.BREAK_STMT, CursorKind.CONTINUE_STMT, CursorKind.RETURN_STMT}
LITERALS = {CursorKind.INTEGER_LITERAL, CursorKind.CXX_BOOL_LITERAL_EXPR}


class Unreadable(Exception):
    """A source that does not compile as it is."""


@dataclasses.dataclass(eq=False)
class Mutant:
    """One mistake: where it stands, and how its lines read without it and with it."""

    file: str
    line: int
    function: str
    original: str
    mutated: str
    number: int = 0

    @property
    def key(self):
        """What an exemption names it by."""
        return self.file, self.function, self.original, self.mutated


@dataclasses.dataclass
class Site:
    """A span of the source with the mutants that replace it."""

    start: int
    end: int
    kind: str  # "expression", "condition", "statement", or "declaration" of a variable that is a condition
    name: str = ""  # of that variable
    alternatives: list = dataclasses.field(default_factory=list)  # of replacement and mutant


def one_line(text):
    """The text without comments and line ends, so that it can stand anywhere."""
    text = re.sub(r"//[^\n]*|/\*.*?\*/|\\(?=\n)|\\$", " ", text, flags=re.DOTALL)
    return re.sub(r"\s+", " ", text).strip()


def closing(text, at):
    """Where the parenthesis that opens at `at` is closed; literals are skipped."""
    depth = 0
    for token in re.finditer(r"//[^\n]*|\"(?:\\.|[^\"\\])*\"|'(?:\\.|[^'\\])'|[()\[\]{}]", text[at:]):
        if token.group() in "([{":
            depth += 1
        elif token.group() in ")]}":
            depth -= 1
            if depth == 0:
                return at + token.start()
    raise ValueError(f"nothing closes {text[at : at + 40]!r}")


def parts(text, start, end):
    """The ranges between the semicolons of the outermost level of a range."""
    found = []
    depth = 0
    begin = start
    for token in re.finditer(r"\"(?:\\.|[^\"\\])*\"|'(?:\\.|[^'\\])'|[()\[\]{};]", text[start:end]):
        if token.group() in "([{":
            depth += 1
        elif token.group() in ")]}":
            depth -= 1
        elif token.group() == ";" and depth == 0:
            found.append((begin, start + token.start()))
            begin = start + token.end()
    return found + [(begin, end)]


def trimmed(text, start, end):
    inside = text[start:end]
    return start + len(inside) - len(inside.lstrip()), end - len(inside) + len(inside.rstrip())


def qualified(cursor):
    """The name of a function or variable, with its class."""
    name = cursor.spelling if cursor.spelling.startswith("operator") else re.sub("<.*", "", cursor.spelling)
    parent = cursor.semantic_parent
    outside = (CursorKind.NAMESPACE, CursorKind.TRANSLATION_UNIT)
    return name if parent.kind in outside else f"{parent.spelling}::{name}"


class Node:
    """A cursor and where it stands in the file: the argument of a macro where it is written, the rest of a macro where
    it is used."""

    def __init__(self, cursor):
        self.cursor = cursor
        self.kind = cursor.kind
        self.start = offset(cursor.extent.start)
        self.end = offset(cursor.extent.end)

    def children(self):
        return [Node(child) for child in self.cursor.get_children()]


def offset(location):
    numbers = [ctypes.c_uint() for _ in range(3)]
    file = ctypes.c_void_p()
    cindex.conf.lib.clang_getFileLocation(location, ctypes.byref(file), *map(ctypes.byref, numbers))
    return numbers[2].value


class Source:
    """A file, its mutants, and its copy with them."""

    def __init__(self, root, name):
        self.name = name
        self.text = (root / name).read_text()
        self.lines = [0] + [match.end() for match in re.finditer("\n", self.text)]
        self.sites = {}
        self.mutants = []
        self.known = set()
        self.function = ""
        assert self.text.isascii(), f"{name}: offsets count bytes"
        unit = cindex.Index.create().parse(
            str(root / name), args=["-x", "c++", "-std=c++20", "-Wno-everything", f"-I{root}"]
        )
        errors = [str(error) for error in unit.diagnostics if error.severity >= cindex.Diagnostic.Error]
        if errors:
            raise Unreadable("\n".join(errors))
        for cursor in unit.cursor.get_children():
            if cursor.location.file and cursor.location.file.name == str(root / name):
                self.visit(Node(cursor), body=False)
        for macro in re.finditer(r"^#define (\w+)\(.*\\\n(?:.*\\\n)+", self.text, re.MULTILINE):
            self.function = macro.group(1)
            self.macro(macro.start(), macro.end())
        self.drop_crossing()

    # What is a mutant

    def line_of(self, at):
        return bisect.bisect_right(self.lines, at)

    def lines_around(self, start, end):
        """The range of the whole lines in which a range stands."""
        begin = self.lines[self.line_of(start) - 1]
        found = self.text.find("\n", max(start, end - 1))
        return begin, len(self.text) if found < 0 else found

    def mutant(self, kind, *changes, name=""):
        """Adds a mutant that replaces each (start, end, replacement), in order."""
        begin, end = self.lines_around(changes[0][0], changes[-1][1])
        mutated, at = "", begin
        for start, stop, replacement in changes:
            mutated += self.text[at:start] + (replacement or " ")
            at = stop
        mutated = one_line(mutated + self.text[at:end])
        original = one_line(self.text[begin:end])
        if mutated == original:
            return
        mutant = Mutant(self.name, self.line_of(changes[0][0]), self.function, original, mutated)
        if (mutant.line, mutant.key) in self.known:
            return
        self.known.add((mutant.line, mutant.key))
        self.mutants.append(mutant)
        for start, stop, replacement in changes:
            family = "expression" if kind == "condition" else kind
            site = self.sites.setdefault((start, stop, family), Site(start, stop, kind, name))
            if kind == "condition":
                site.kind = kind
            site.alternatives.append((one_line(replacement), mutant))

    def macro(self, start, end):
        """The conditions and calls in a macro of many lines, found by their looks: the compiler knows only its uses."""
        for found in re.finditer(r"\bif \(", self.text[start:end]):
            opened = start + found.end() - 1
            closed = closing(self.text, opened)
            for forced in ("false", "true"):
                self.mutant("condition", (opened + 1, closed, forced))
        before = None
        for found in re.finditer(r"^ *([\w:#.]+\(.*\);) *\\$", self.text[start:end], re.MULTILINE):
            span = start + found.start(1), start + found.end(1)
            call = found.group(1)
            if call.startswith(("static_assert", "KOB_")) or call.count("(") != call.count(")"):
                continue
            self.mutant("statement", (*span, ""))
            if before is not None and not self.text[before[1] : span[0]].strip("\\ \n"):
                self.mutant("statement", (*before, self.text[slice(*span)]), (*span, self.text[slice(*before)]))
            before = span

    def visit(self, node, body):
        if node.kind in CONSTANT or node.cursor.kind.is_attribute():
            return
        if node.kind in FUNCTIONS:
            self.visit_function(node)
            return
        if node.kind in (CursorKind.VAR_DECL, CursorKind.FIELD_DECL):
            self.visit_variable(node)
            return
        if body:
            self.mutate(node)
        children = node.children()
        if node.kind == CursorKind.CASE_STMT or self.is_constant_branch(node):
            children = children[1:]
        for child in children:
            self.visit(child, body or child.kind == CursorKind.COMPOUND_STMT)

    def is_constant_branch(self, node):
        return node.kind == CursorKind.IF_STMT and re.match(r"if\s+constexpr\b", self.text[node.start : node.end])

    def visit_function(self, node):
        head = self.text[node.start : offset(node.cursor.location)]
        if re.search(r"\bconsteval\b", head) or node.start == node.end:
            return
        before = self.function
        self.function = qualified(node.cursor)
        for child in node.children():
            if child.kind == CursorKind.COMPOUND_STMT or node.kind == CursorKind.CONSTRUCTOR:
                self.visit(child, body=True)
        self.function = before

    def visit_variable(self, node):
        named = offset(node.cursor.location)
        if re.search(r"\b(constexpr|constinit)\b", self.text[node.start : named]):
            return
        before = self.function
        self.function = before or qualified(node.cursor)
        begin = named + len(node.cursor.spelling)
        while self.text[begin : begin + 1] == "[":
            begin = closing(self.text, begin) + 1
        for child in node.children():
            if child.start >= begin:
                self.visit(child, body=True)
        self.function = before

    def mutate(self, node):
        if node.start >= node.end:
            return
        if node.kind == CursorKind.COMPOUND_STMT and self.text[node.start] == "{":  # not that of a macro
            self.statements(node)
        elif node.kind in BRANCHES and not self.is_constant_branch(node):
            self.branch(node)
        elif node.kind == CursorKind.CONDITIONAL_OPERATOR:
            self.choice(node)
        elif node.kind == CursorKind.RETURN_STMT:
            self.result(node)
        elif node.kind in LITERALS:
            self.literal(node)
        elif node.kind == CursorKind.UNARY_OPERATOR:
            self.unary(node)
        self.binary(node)

    def operator(self, node):
        """The operands of a binary operator as it is written here, and where the operator stands; or nothing."""
        children = [child for child in node.children() if child.start < child.end]
        text = [self.text[child.start : child.end] for child in children]
        operands = [child for child, written in zip(children, text) if written not in OPERATORS]
        if len(operands) != 2:
            return None
        left, right = operands
        if left.end > right.start:
            return None
        gap = self.text[left.end : right.start]
        if one_line(gap) not in OPERATORS:
            return None
        at = left.end + gap.index(one_line(gap))
        return left, right, at, at + len(one_line(gap))

    def binary(self, node):
        found = self.operator(node)
        if found is None:
            return
        left, right, start, end = found
        operator = self.text[start:end]
        if operator in ("<<", ">>") and not self.is_number(left.cursor):
            return  # a stream
        span = left.start, right.end
        for other in OPERATORS[operator]:
            self.mutant("expression", (*span, self.text[span[0] : start] + other + self.text[end : span[1]]))
        if operator in ("&&", "||"):
            for side in (left, right):
                written = self.text[side.start : side.end]
                self.mutant("condition", (*span, written))

    @staticmethod
    def is_number(cursor):
        kind = cursor.type.get_canonical().kind
        return TypeKind.BOOL.value <= kind.value <= TypeKind.LONGDOUBLE.value

    def unary(self, node):
        written = self.text[node.start : node.end]
        operands = [child for child in node.children() if child.start < child.end]
        if len(operands) != 1:
            return
        operand = operands[0]
        for sign, other in UNARY.items():
            if written.startswith(sign) and operand.start > node.start:
                replacement = other + self.text[node.start + len(sign) : node.end]
                self.mutant("condition" if sign == "!" else "expression", (node.start, node.end, replacement))
                return
            if len(sign) == 2 and written.endswith(sign) and operand.start == node.start:
                self.mutant("expression", (node.start, node.end, written[:-2] + other))
                return

    def literal(self, node):
        written = self.text[node.start : node.end]
        if written in ("true", "false"):
            self.mutant("expression", (node.start, node.end, "false" if written == "true" else "true"))
        elif found := re.fullmatch(r"(0x[0-9A-Fa-f]+|\d+)([uUlL]*)", written):
            number, suffix = int(found.group(1), 0), found.group(2)
            for other in (number - 1, number + 1):
                if other >= 0:
                    self.mutant("expression", (node.start, node.end, f"{other}{suffix}"))

    def condition(self, node, loop=False):
        """Forces a condition, and negates it unless an operator in it is exchanged, which is the same."""
        span = node.start, node.end
        written = self.text[slice(*span)]
        if written in ("true", "false"):
            return
        self.mutant("condition", (*span, "false"))
        if not loop:  # a loop without an end teaches nothing
            self.mutant("condition", (*span, "true"))
        if self.operator(node) is None and not written.startswith("!"):
            self.mutant("condition", (*span, f"!({written})"))

    def branch(self, node):
        keyword = re.match(r"\w+\s*", self.text[node.start : node.end])
        opened = node.start + keyword.end()
        if self.text[opened : opened + 1] != "(":
            return  # a macro
        inside = parts(self.text, opened + 1, closing(self.text, opened))
        if node.kind == CursorKind.FOR_STMT:
            if len(inside) != 3:
                return
            inside = inside[:2]
        span = trimmed(self.text, *inside[-1])
        for child in node.children():
            if (child.start, child.end) != span:
                continue
            if child.kind == CursorKind.VAR_DECL:
                name = child.cursor.spelling
                self.mutant("declaration", (span[1], span[1], "; false"), name=name)
                self.mutant("declaration", (span[1], span[1], "; true"), name=name)
            elif child.kind.is_expression():
                self.condition(child, node.kind in LOOPS)
            return

    def choice(self, node):
        children = node.children()
        if len(children) == 3 and children[0].end < children[1].start:
            self.condition(children[0])

    def result(self, node):
        values = [child for child in node.children() if child.start < child.end]
        if len(values) != 1 or values[0].kind in LITERALS:
            return
        value = values[0]
        if value.cursor.type.get_canonical().kind == TypeKind.BOOL:
            for forced in ("true", "false"):
                self.mutant("condition", (value.start, value.end, forced))

    def statement(self, node, statements):
        """The range of a statement that can be left out, with its semicolon; or nothing."""
        if node.start >= node.end:
            return None
        written = self.text[node.start :]
        if not (node.kind.is_expression() or node.kind in JUMPS or written.startswith("KOB_")):
            return None
        if node.kind == CursorKind.RETURN_STMT and list(node.cursor.get_children()):
            return None
        if node.kind in JUMPS and len(statements) == 1:
            return None  # the same as to force the condition
        if node.kind == CursorKind.CXX_THROW_EXPR or written.startswith("KOB_ASSERT_UNTESTABLE"):
            return None
        found = re.match(r"\s*;", self.text[node.end :])
        return (node.start, node.end + found.end()) if found else None

    def statements(self, node):
        children = node.children()
        before = None
        for child in children:
            span = self.statement(child, children)
            self.bodies(child)
            if span is None:
                before = None
                continue
            self.mutant("statement", (*span, ""))
            jumps = child.kind in JUMPS
            if before is not None and not jumps:
                first, second = self.text[slice(*before)], self.text[slice(*span)]
                self.mutant("statement", (*before, second), (*span, first))
            before = None if jumps else span

    def bodies(self, node):
        """Leaves out the single statement of a branch without braces; the branches of a branch are visited too."""
        if node.kind not in BRANCHES | {CursorKind.CXX_FOR_RANGE_STMT}:
            return
        for child in node.children()[1:]:
            if child.kind.is_expression() and re.search(r"(\)|\belse)\s*$", self.text[node.start : child.start]):
                if span := self.statement(child, [child]):
                    self.mutant("statement", (*span, ""))
            elif child.kind in BRANCHES:
                self.bodies(child)

    # The copy

    def drop_crossing(self):
        """Leaves out sites that stand half in another; macros make such."""
        open_sites = []
        for key in sorted(self.sites, key=lambda key: (key[0], -key[1])):
            while open_sites and open_sites[-1][1] <= key[0]:
                open_sites.pop()
            if open_sites and open_sites[-1][1] < key[1]:
                self.drop({mutant for _, mutant in self.sites[key].alternatives})
            else:
                open_sites.append(key)

    def drop(self, mutants):
        self.mutants = [mutant for mutant in self.mutants if mutant not in mutants]
        for site in self.sites.values():
            site.alternatives = [found for found in site.alternatives if found[1] not in mutants]
        self.sites = {key: site for key, site in self.sites.items() if site.alternatives}

    def instrumented(self):
        """The text with its mutants, and the regions in it where each could be at fault: start, end, mutants."""
        writer = Writer(self.text)
        writer.write_range(0, len(self.text), sorted(self.sites.values(), key=lambda site: (site.start, -site.end)))
        return "".join(writer.pieces), writer.regions


class Writer:
    """Writes a text with its sites, and remembers what stands where."""

    def __init__(self, text):
        self.text = text
        self.pieces = []
        self.length = 0
        self.regions = []

    def write(self, piece):
        self.pieces.append(piece)
        self.length += len(piece)

    def write_range(self, start, end, sites):
        at = start
        while sites:
            site = sites[0]
            inner = [other for other in sites[1:] if other.start < site.end and other.end <= site.end]
            self.write(self.text[at : site.start])
            begin = self.length
            getattr(self, site.kind)(site, inner)
            self.regions.append((begin, self.length, [mutant for _, mutant in site.alternatives]))
            at = site.end
            sites = sites[1 + len(inner) :]
        self.write(self.text[at:end])

    def alternative(self, replacement, mutant):
        begin = self.length
        self.write(replacement)
        self.regions.append((begin, self.length, [mutant]))

    def expression(self, site, inner, wrapped="("):
        self.write("(")
        for replacement, mutant in site.alternatives:
            self.write(f"FYR_MUTANT({mutant.number}) ? {wrapped}")
            self.alternative(replacement, mutant)
            self.write(") : ")
        self.write(wrapped)
        self.write_range(site.start, site.end, inner)
        self.write("))")

    def condition(self, site, inner):
        self.expression(site, inner, "static_cast<bool>(")

    def statement(self, site, inner):
        self.write("{ ")
        for replacement, mutant in site.alternatives:
            self.write(f"if (FYR_MUTANT({mutant.number})) {{ ")
            self.alternative(replacement, mutant)
            self.write(" } else ")
        self.write("{ ")
        self.write_range(site.start, site.end, inner)
        self.write(" } }")

    def declaration(self, site, inner):
        assert not inner
        self.write("; ")
        for replacement, mutant in site.alternatives:
            self.write(f"FYR_MUTANT({mutant.number}) ? {replacement.removeprefix('; ')} : ")
        self.write(f"static_cast<bool>({site.name})")
