"""Finds what can be changed in a C++ source file, by clang's syntax tree."""

import dataclasses
import re

from clang.cindex import Config, CursorKind, Index, TranslationUnit, TypeKind

Config.set_compatibility_check(False)

# What each operator is replaced with, one mutant for each replacement.
REPLACEMENTS = {
    "+": ["-"], "-": ["+"], "*": ["/"], "/": ["*"], "%": ["*"],
    "<": ["<=", ">="], "<=": ["<", ">"], ">": [">=", "<="], ">=": [">", "<"], "==": ["!="], "!=": ["=="],
    "&&": ["||"], "||": ["&&"], "&": ["|"], "|": ["&"], "^": ["&"], "<<": [">>"], ">>": ["<<"],
    "+=": ["-="], "-=": ["+="], "*=": ["/="], "/=": ["*="], "%=": ["*="],
    "&=": ["|="], "|=": ["&="], "^=": ["&="], "<<=": [">>="], ">>=": ["<<="],
    "++": ["--"], "--": ["++"],
}
COMPARISONS = {"<", "<=", ">", ">=", "==", "!="}
# Of classes, these write and read text; every other operator is replaced if the result compiles.
STREAMING = {"<<", ">>"}
TEXT = re.compile(r"\b(QString|QByteArray|QStringBuilder|basic_string)\b")
NUMBER = re.compile(r"(0[xX][\da-fA-F']+|0[bB][01']+|[\d']+|[\d'.]+([eE][+-]?\d+)?|\d+[eE][+-]?\d+)[uUlLfF]*")

# Nothing below these runs, or it has to be a constant; a default argument belongs to the caller.
LEFT_ALONE = {
    CursorKind.STATIC_ASSERT, CursorKind.ENUM_DECL, CursorKind.CXX_UNARY_EXPR, CursorKind.PARM_DECL,
    CursorKind.TEMPLATE_TYPE_PARAMETER, CursorKind.TEMPLATE_NON_TYPE_PARAMETER, CursorKind.TYPEDEF_DECL,
    CursorKind.TYPE_ALIAS_DECL,
}
FUNCTIONS = {
    CursorKind.FUNCTION_DECL, CursorKind.CXX_METHOD, CursorKind.CONSTRUCTOR, CursorKind.DESTRUCTOR,
    CursorKind.FUNCTION_TEMPLATE, CursorKind.CONVERSION_FUNCTION,
}
CASTS = {
    CursorKind.CXX_STATIC_CAST_EXPR, CursorKind.CXX_REINTERPRET_CAST_EXPR, CursorKind.CXX_CONST_CAST_EXPR,
    CursorKind.CXX_DYNAMIC_CAST_EXPR,
}
LABELS = {CursorKind.CASE_STMT, CursorKind.DEFAULT_STMT}
CONTROLS = {CursorKind.IF_STMT, CursorKind.FOR_STMT, CursorKind.WHILE_STMT, CursorKind.CXX_FOR_RANGE_STMT,
            CursorKind.DO_STMT}
JUMPS = {CursorKind.BREAK_STMT, CursorKind.CONTINUE_STMT}
INTEGERS = {
    TypeKind.CHAR_U, TypeKind.UCHAR, TypeKind.USHORT, TypeKind.UINT, TypeKind.ULONG, TypeKind.ULONGLONG,
    TypeKind.CHAR_S, TypeKind.SCHAR, TypeKind.SHORT, TypeKind.INT, TypeKind.LONG, TypeKind.LONGLONG,
}
NUMBERS = INTEGERS | {TypeKind.FLOAT, TypeKind.DOUBLE, TypeKind.LONGDOUBLE}


@dataclasses.dataclass
class Mutant:
    """One change of the text from start to end, which are bytes of the file. A statement's end is behind its
    semicolon."""

    file: str
    line: int
    column: int
    text: str  # of the line
    start: int
    end: int
    kind: str  # operator, constant, statement or result
    original: str  # as it is shown
    mutated: str
    code: str  # the replacement as it is compiled; of no meaning for a statement

    @property
    def name(self):
        return f"{self.file}:{self.line}:{self.column}: {self.original} -> {self.mutated}"


def one_line(text):
    """Text in one line, without comments, so that the lines of an instrumented file keep their numbers."""
    text = re.sub(r"//[^\n]*|/\*.*?\*/", " ", text, flags=re.DOTALL)
    return re.sub(r"\s*\n\s*", " ", text).strip()


class Finder:
    """Collects the mutants of one file of a translation unit."""

    def __init__(self, name, cursors, path, texts):
        """@p name: as it is reported; @p cursors: those of the file at the unit's top; @p texts: of all files, by
        path."""
        self.file = name
        self.text = texts[path]
        self.texts = texts
        self.cursors = cursors
        self.mutants = {}
        self.constants = {}
        self.macros = []

    def find(self):
        for cursor in self.cursors:
            if cursor.kind == CursorKind.MACRO_INSTANTIATION:
                self.macros.append((cursor.extent.start.offset, cursor.extent.end.offset))
        for cursor in self.cursors:
            if not cursor.kind.is_preprocessing():
                self.visit(cursor, None)
        return list(self.mutants.values())

    # Text and places

    def range(self, cursor):
        """Where a node begins and ends; a macro that it ends with belongs to it as a whole."""
        start, end = cursor.extent.start.offset, cursor.extent.end.offset
        for first, last in self.macros:
            if first <= start < last:
                start = first
            if first < end <= last:
                end = last
        return start, end

    def in_macro(self, start, end):
        return any(first <= start and end <= last for first, last in self.macros)

    def source(self, start, end):
        return self.text[start:end].decode()

    def before(self, start):
        return self.text[:start].rstrip()

    def add(self, place, kind, mutated, code=None):
        """Adds a mutant unless its text holds what cannot be copied to one line. @p mutated is what is shown, @p code
        what is compiled if that differs."""
        start, end = place
        original = self.source(start, end)
        if self.in_macro(start, end) or re.search(r'^\s*#|R"', original, flags=re.MULTILINE):
            return
        line = self.text.count(b"\n", 0, start) + 1
        column = start - (self.text.rfind(b"\n", 0, start) + 1) + 1
        line_text = self.text.split(b"\n")[line - 1].decode().strip()
        mutant = Mutant(self.file, line, column, line_text, start, end, kind, one_line(original),
                        one_line(mutated), one_line(code or mutated))
        self.mutants.setdefault((start, end, mutant.code), mutant)

    # The walk

    def visit(self, cursor, parent):
        kind = cursor.kind
        if kind in LEFT_ALONE or (kind in FUNCTIONS and self.is_constant(cursor)):
            return
        self.mutate(cursor, parent)
        for child in self.running_children(cursor):
            self.visit(child, cursor)

    def running_children(self, cursor):
        """The children of a node whose code runs."""
        kind = cursor.kind
        children = list(cursor.get_children())
        if kind in (CursorKind.VAR_DECL, CursorKind.FIELD_DECL):
            return [] if self.is_constant(cursor) else self.initialisers(cursor, children)
        if kind == CursorKind.DECL_REF_EXPR:
            return []
        if kind == CursorKind.MEMBER_REF_EXPR:
            return [child for child in children if child.extent.end.offset <= cursor.location.offset]
        if kind in CASTS or kind == CursorKind.CASE_STMT:
            return children[-1:]
        if kind == CursorKind.LAMBDA_EXPR:
            return [child for child in children if child.kind == CursorKind.COMPOUND_STMT]
        if kind == CursorKind.IF_STMT and re.match(rb"if\s+constexpr\b", self.text[cursor.extent.start.offset:]):
            return children[1:]
        return children

    def is_constant(self, cursor):
        """Whether a declaration is constexpr."""
        return b"constexpr" in self.text[cursor.extent.start.offset:cursor.location.offset].split()

    def initialisers(self, cursor, children):
        name_end = cursor.location.offset + len(cursor.spelling.encode())
        found = []
        for child in children:
            start = child.extent.start.offset
            between = self.source(name_end, start).strip() if start >= name_end else ""
            # Behind a bracket stands the size of an array, behind a colon that of a bit-field.
            if child.kind.is_expression() and start >= name_end and not re.fullmatch(r"(\[|:|.*\]\s*\[)", between):
                found.append(child)
        return found

    # The kinds of mutants

    def mutate(self, cursor, parent):
        kind = cursor.kind
        self.mutate_statement(cursor, parent)
        if kind in (CursorKind.BINARY_OPERATOR, CursorKind.COMPOUND_ASSIGNMENT_OPERATOR):
            self.mutate_binary(cursor, list(cursor.get_children()))
        elif kind == CursorKind.CALL_EXPR:
            self.mutate_overloaded(cursor)
        elif kind == CursorKind.UNARY_OPERATOR:
            self.mutate_unary(cursor)
        elif kind in (CursorKind.INTEGER_LITERAL, CursorKind.FLOATING_LITERAL):
            self.mutate_number(cursor, parent)
        elif kind == CursorKind.CXX_BOOL_LITERAL_EXPR:
            place = self.range(cursor)
            self.add(place, "constant", {"true": "false", "false": "true"}.get(self.source(*place), "false"))
        elif kind == CursorKind.DECL_REF_EXPR:
            self.mutate_named(cursor)
        elif kind == CursorKind.RETURN_STMT:
            self.mutate_result(cursor)

    def mutate_binary(self, cursor, operands):
        if len(operands) != 2:
            return
        place = self.range(cursor)
        left, right = self.range(operands[0]), self.range(operands[1])
        operator = one_line(self.source(left[1], right[0]))
        for replacement in REPLACEMENTS.get(operator, []):
            lhs, rhs = self.source(*left), self.source(*right)
            # Parentheses, since the replacement may bind less.
            self.add(place, "operator", f"{lhs} {replacement} {rhs}", code=f"({lhs}) {replacement} ({rhs})")

    def mutate_overloaded(self, cursor):
        """An operator of a class, which is a call of operator+ or the like."""
        name = cursor.spelling
        operands = list(cursor.get_children())
        if not name.startswith("operator") or len(operands) != 3 or name[8:] in STREAMING:
            return
        if TEXT.search(cursor.type.get_canonical().spelling) or TEXT.search(operands[0].type.get_canonical().spelling):
            if name[8:] not in ("==", "!="):
                return
        self.mutate_binary(cursor, [operands[0], operands[2]])

    def mutate_unary(self, cursor):
        place = self.range(cursor)
        text = self.source(*place)
        operand = next(cursor.get_children(), None)
        if operand is None:
            return
        inner = self.source(*self.range(operand))
        if text.startswith(("++", "--")):
            self.add(place, "operator", REPLACEMENTS[text[:2]][0] + text[2:])
        elif text.endswith(("++", "--")):
            self.add(place, "operator", text[:-2] + REPLACEMENTS[text[-2:]][0])
        elif text.startswith("!"):
            self.add(place, "operator", inner, code=f"static_cast<bool>({inner})")
        elif text.startswith(("-", "~")):
            self.add(place, "operator", inner, code=f"+({inner})")

    def mutate_number(self, cursor, parent):
        place = self.range(cursor)
        text = self.source(*place)
        if not NUMBER.fullmatch(text) or (parent and parent.type.kind in (TypeKind.POINTER, TypeKind.NULLPTR)):
            return
        if text == "0":
            self.add(place, "constant", "1")
        elif text == "1":
            self.add(place, "constant", "0")
        else:
            self.add(place, "constant", f"{text} + 1")

    def mutate_named(self, cursor):
        """A use of a named constant stands for the constant itself, which the compiler must know."""
        declaration = cursor.referenced
        if declaration is None or declaration.kind != CursorKind.VAR_DECL or not declaration.location.file:
            return
        kind = cursor.type.get_canonical().kind
        place = self.range(cursor)
        if kind not in NUMBERS and kind != TypeKind.BOOL or not self.is_named_constant(declaration):
            return
        text = self.source(*place)
        self.add(place, "constant", f"!{text}" if kind == TypeKind.BOOL else f"{text} + 1")

    def is_named_constant(self, declaration):
        usr = declaration.get_usr()
        if usr not in self.constants:
            text = self.texts.get(declaration.location.file.name, b"")
            words = text[declaration.extent.start.offset:declaration.location.offset].split()
            self.constants[usr] = b"constexpr" in words
        return self.constants[usr]

    def mutate_result(self, cursor):
        """A bool that is returned; constants, negations and comparisons have mutants that do the same."""
        value = next(cursor.get_children(), None)
        if value is None or value.type.get_canonical().kind != TypeKind.BOOL:
            return
        place = self.range(value)
        text = self.source(*place)
        inner = value
        while inner.kind == CursorKind.UNEXPOSED_EXPR and len(nested := list(inner.get_children())) == 1:
            inner = nested[0]
        if inner.kind in (CursorKind.CXX_BOOL_LITERAL_EXPR, CursorKind.UNARY_OPERATOR) or self.is_comparison(inner):
            return
        if inner.type.get_canonical().kind == TypeKind.BOOL:
            self.add(place, "result", f"!({text})")

    def is_comparison(self, cursor):
        operands = list(cursor.get_children())
        if cursor.kind != CursorKind.BINARY_OPERATOR or len(operands) != 2:
            return False
        return one_line(self.source(self.range(operands[0])[1], self.range(operands[1])[0])) in COMPARISONS

    def mutate_statement(self, cursor, parent):
        """A statement is left out: a call, an assignment, a jump or a return without a value."""
        if parent is None or not (cursor.kind.is_expression() or cursor.kind in JUMPS or self.returns_nothing(cursor)):
            return
        start, end = self.range(cursor)
        if parent.kind in CONTROLS and not re.search(rb"(\)|\belse|\bdo)$", self.before(start)):
            return
        if parent.kind not in CONTROLS | LABELS | {CursorKind.COMPOUND_STMT} or self.in_macro(start, end):
            return
        semicolon = re.match(rb"\s*;", self.text[end:])
        if semicolon and (parent.kind not in LABELS or self.before(start).endswith(b":")):
            self.add((start, end + semicolon.end()), "statement", "(nothing)")

    @staticmethod
    def returns_nothing(cursor):
        return cursor.kind == CursorKind.RETURN_STMT and next(cursor.get_children(), None) is None


def find(path, arguments, root, texts, done):
    """The mutants of a source file and of the headers of src/ that it includes, without the files that are done, which
    become more. @p texts: of all files by path, which are read as if they had these texts."""
    options = TranslationUnit.PARSE_DETAILED_PROCESSING_RECORD
    unsaved = [(name, text.decode()) for name, text in texts.items()]
    unit = Index.create().parse(path, arguments, unsaved, options)
    cursors = {}
    for cursor in unit.cursor.get_children():
        file = cursor.location.file
        if file and file.name in texts and file.name not in done:
            cursors.setdefault(file.name, []).append(cursor)
    done.update(cursors)
    found = []
    for name, of_file in sorted(cursors.items()):
        found += Finder(name.removeprefix(f"{root}/"), of_file, name, texts).find()
    return found
