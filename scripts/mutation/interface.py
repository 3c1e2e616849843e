"""Lists the operations that the headers of src/ offer, by clang's syntax tree, and where each is defined."""

import dataclasses
import json
import pathlib
import re

from clang.cindex import AccessSpecifier, CursorKind, Index, TranslationUnitLoadError

from instrument import Failure, arguments_of

OPERATIONS = {
    CursorKind.FUNCTION_DECL, CursorKind.CXX_METHOD, CursorKind.CONSTRUCTOR, CursorKind.FUNCTION_TEMPLATE,
    CursorKind.CONVERSION_FUNCTION,
}
SCOPES = {CursorKind.NAMESPACE, CursorKind.CLASS_DECL, CursorKind.STRUCT_DECL, CursorKind.CLASS_TEMPLATE}
# Qt's macros declare these, and its tools define them.
OF_QT = {"metaObject", "qt_metacast", "qt_metacall", "qt_metatype_id", "tr", "trUtf8"}
NOT_PUBLIC = {AccessSpecifier.PRIVATE, AccessSpecifier.PROTECTED}


@dataclasses.dataclass
class Operation:
    """A public function, or a signal, which has no body of its own."""

    header: str  # below the project
    line: int
    name: str  # with its classes: ItemView::tick
    bodies: list  # of (file, first line, last line); overloads share one operation


class Interface:
    """Collects the operations of all headers that the source files of src/ include."""

    def __init__(self, project, build):
        self.project = project.resolve()
        self.operations = {}
        self.bodies = {}
        path = build / "compile_commands.json"
        if not path.exists():
            raise Failure(f"{path} is not there")
        for command in json.loads(path.read_text()):
            if self.below_src(command["file"]):
                self.read(command)
        for usr, (key, body) in self.bodies.items():
            if key in self.operations and body not in self.operations[key].bodies:
                self.operations[key].bodies.append(body)

    def below_src(self, path):
        """The path below the project if the file is one of src/, else None."""
        path = pathlib.Path(path).resolve()
        source = self.project / "src"
        return str(path.relative_to(self.project)) if source in path.parents else None

    def read(self, command):
        try:
            unit = Index.create().parse(command["file"], args=["-x", "c++", *arguments_of(command)])
        except TranslationUnitLoadError as error:
            raise Failure(f"clang cannot read {command['file']}") from error
        self.visit(unit.cursor, "")

    def visit(self, scope, prefix):
        for cursor in scope.get_children():
            file = cursor.location.file and self.below_src(cursor.location.file.name)
            if not file:
                continue
            if cursor.kind in SCOPES:
                if cursor.access_specifier not in NOT_PUBLIC and cursor.spelling:
                    self.visit(cursor, prefix + cursor.spelling + "::")
            elif cursor.kind in OPERATIONS:
                self.take(cursor, file)

    def take(self, cursor, file):
        if cursor.spelling in OF_QT:
            return
        name = re.sub(r"^(?!operator)(\w+)<.*", r"\1", cursor.spelling)
        parent = cursor.semantic_parent
        while parent and parent.kind in SCOPES:
            name = f"{parent.spelling}::{name}"
            parent = parent.semantic_parent
        if cursor.is_definition():
            extent = cursor.extent
            self.bodies[cursor.get_usr()] = (name, (file, extent.start.line, extent.end.line))
        declared = cursor.canonical
        header = declared.location.file and self.below_src(declared.location.file.name)
        if not header or not header.endswith(".h") or declared.access_specifier in NOT_PUBLIC:
            return
        if {"default", "delete"} & {token.spelling for token in declared.get_tokens()}:
            return
        self.operations.setdefault(name, Operation(header, declared.location.line, name, []))
