"""Builds a copy of the project in which every mutant of src/ is compiled in and waits to be chosen at run time."""

import dataclasses
import hashlib
import json
import os
import pathlib
import re
import shlex
import subprocess

from clang.cindex import TranslationUnitLoadError

import finding

HERE = pathlib.Path(__file__).resolve().parent
PRESET = "release"
NOT_COPIED = {".git", "build"}
ERROR = re.compile(r"^([^:\s]+):(\d+):(\d+): (?:fatal )?error: (.*)$", re.MULTILINE)
MOST_ROUNDS = 20  # of builds that leave out what does not compile


class Failure(Exception):
    """One line for the user."""


def without_choice():
    """The environment of what must not run a mutant: a build starts programs, too."""
    return {name: value for name, value in os.environ.items()
            if name not in ("LANTERNIX_MUTANT", "LANTERNIX_REACHED")}


def arguments_of(command):
    """What decides how clang reads a file, of an entry of compile_commands.json."""
    words = shlex.split(command["command"])
    arguments = [word for word in words if word.startswith(("-D", "-I", "-std"))]
    for word, following in zip(words, words[1:]):
        if word == "-isystem":
            arguments += [word, following]
    return arguments


@dataclasses.dataclass
class Span:
    """Where a mutant stands in an instrumented file: its own code, and the whole with the choice."""

    number: int
    code: range
    whole: range


class Instrumented:
    """The text of one file with its mutants, each in the original's place. The original is the last choice; only it
    holds the mutants of its parts, so that the text grows by their number and not by their product."""

    def __init__(self, text, mutants):
        self.original = text
        self.pieces = []
        self.size = 0
        self.spans = []
        if mutants:
            self.write(f'#include "{HERE}/mutant.h"\n#line 1\n'.encode())
        self.prologue = self.size
        self.render(0, len(text), mutants)
        self.text = b"".join(self.pieces)

    def write(self, piece):
        self.pieces.append(piece)
        self.size += len(piece)

    def render(self, start, end, mutants):
        """@p mutants: pairs of number and mutant, by their beginning, outer ones first."""
        index = 0
        while index < len(mutants):
            outer = mutants[index][1]
            same = [pair for pair in mutants[index:] if (pair[1].start, pair[1].end) == (outer.start, outer.end)]
            inside = [pair for pair in mutants[index:] if pair[1].start < outer.end and pair not in same]
            self.write(self.original[start:outer.start])
            if outer.kind == "statement":
                self.statement(same[0], inside)
            else:
                self.expression(same, inside)
            start = outer.end
            index += len(same) + len(inside)
        self.write(self.original[start:end])

    def statement(self, pair, inside):
        number, mutant = pair
        begin = self.size
        self.write(f"{{ if (!lx_mutant({number})) {{ ".encode())
        self.render(mutant.start, mutant.end, inside)
        self.write(b" } }")
        self.spans.append(Span(number, range(begin, begin), range(begin, self.size)))

    def expression(self, same, inside):
        begin = self.size
        own = []
        self.write(b"(")
        for number, mutant in same:
            self.write(f"lx_mutant({number}) ? (".encode())
            first = self.size
            self.write(mutant.code.encode())
            own.append((number, range(first, self.size)))
            self.write(b") : ")
        self.write(b"(")
        self.render(same[0][1].start, same[0][1].end, inside)
        self.write(b"))")
        self.spans += [Span(number, code, range(begin, self.size)) for number, code in own]

    def at_fault(self, line, column):
        """The numbers of the mutants that an error at this place of the file is about: that whose code it is, else all
        that share the smallest choice around it."""
        lines = self.text[self.prologue:].split(b"\n")
        at = self.prologue + sum(len(text) + 1 for text in lines[:line - 1]) + column - 1
        for span in self.spans:
            if at in span.code:
                return {span.number}
        around = [span for span in self.spans if at in span.whole]
        if not around:
            first, last = at - column + 1, at - column + 1 + len(lines[line - 1]) if line <= len(lines) else at
            return {span.number for span in self.spans if first <= span.whole.start < last}
        smallest = min(around, key=lambda span: len(span.whole)).whole
        return {span.number for span in around if span.whole == smallest}


class Build:
    """The copy of a project, its mutants by number, and those that were left out."""

    def __init__(self, project, folder, jobs):
        self.project = project
        self.folder = folder
        self.jobs = jobs
        self.copy = folder / "source"
        self.build = self.copy / "build" / PRESET
        self.mutants = []
        self.left_out = {}  # number: what the compiler says
        self.sources = {}  # path below the project: text
        self.instrumented = {}

    def make(self):
        """Builds everything. The mutants of unchanged sources are known from an earlier run."""
        self.copy_files()
        self.run(["cmake", "--preset", PRESET], "the copy cannot be configured")
        made = self.folder / "mutants.json"
        if made.exists() and (known := json.loads(made.read_text()))["sources"] == self.fingerprint:
            self.mutants = [finding.Mutant(**fields) for fields in known["mutants"]]
            self.left_out = {int(number): cause for number, cause in known["left out"].items()}
        else:
            self.find()
        self.compile()
        made.write_text(json.dumps({"sources": self.fingerprint, "left out": self.left_out,
                                    "mutants": [dataclasses.asdict(mutant) for mutant in self.mutants]}))

    def files(self):
        for folder, folders, names in os.walk(self.project):
            top = pathlib.Path(folder) == self.project
            folders[:] = sorted(name for name in folders if not (top and name in NOT_COPIED) and name != "__pycache__")
            yield from (pathlib.Path(folder, name).relative_to(self.project) for name in sorted(names))

    def copy_files(self):
        """A file is written only if it differs, so that a later build does only what has changed."""
        kept = set()
        for path in self.files():
            if (self.project / path).is_symlink() or not (self.project / path).is_file():
                continue
            text = (self.project / path).read_bytes()
            kept.add(path)
            if path.parts[0] == "src" and path.suffix in (".h", ".cpp"):
                self.sources[str(path)] = text
                if not (self.copy / path).exists():
                    self.write(path, text)
                continue
            if path == pathlib.Path("src/CMakeLists.txt"):
                text = b"add_compile_options(-w -O1) # A mutant may be what a warning is about.\n" + text
            self.write(path, text, (self.project / path).stat().st_mode)
        for path in (self.copy / "src").rglob("*"):
            if path.is_file() and path.relative_to(self.copy) not in kept:
                path.unlink()

    def write(self, path, text, mode=None):
        copy = self.copy / path
        if copy.exists() and copy.read_bytes() == text:
            return
        copy.parent.mkdir(parents=True, exist_ok=True)
        copy.write_bytes(text)
        if mode:
            copy.chmod(mode)

    @property
    def fingerprint(self):
        """Of all that decides which mutants there are and what they are numbered."""
        total = hashlib.sha256()
        for name in ("finding.py", "instrument.py", "mutant.h"):
            total.update((HERE / name).read_bytes())
        for path, text in sorted(self.sources.items()):
            total.update(f"{path}\0".encode() + text + b"\0")
        return total.hexdigest()

    def run(self, command, failure=None):
        """Ends with @p failure, if there is one, if the command fails."""
        done = subprocess.run(command, cwd=self.copy, env=without_choice() | {"LC_ALL": "C"}, stdout=subprocess.PIPE,
                              stderr=subprocess.STDOUT, text=True, check=False)
        (self.folder / "build.log").write_text(done.stdout)
        if failure and done.returncode != 0:
            raise Failure(f"{failure}; {self.folder}/build.log tells why")
        return done

    def find(self):
        """Numbers the mutants of all files of src/; a header is read with the first source file that includes it."""
        commands = json.loads((self.build / "compile_commands.json").read_text())
        texts = {str(self.copy / path): text for path, text in self.sources.items()}
        done = set()
        found = []
        for command in commands:
            if command["file"] not in texts or command["file"] in done:
                continue
            try:
                found += finding.find(command["file"], arguments_of(command), self.copy, texts, done)
            except TranslationUnitLoadError as error:
                raise Failure(f"clang cannot read {command['file']}") from error
        self.mutants = sorted(found, key=lambda mutant: (mutant.file, mutant.start, -mutant.end))

    def instrument(self):
        for path, text in self.sources.items():
            own = [(number, mutant) for number, mutant in enumerate(self.mutants)
                   if mutant.file == path and number not in self.left_out]
            self.instrumented[path] = Instrumented(text, own)
            self.write(pathlib.Path(path), self.instrumented[path].text)

    def compile(self):
        """Leaves out what does not compile until the rest does."""
        for _ in range(MOST_ROUNDS):
            self.instrument()
            done = self.run(["cmake", "--build", "--preset", PRESET, "--", "-k", "0", "-j", str(self.jobs)])
            if done.returncode == 0:
                return
            causes = {}
            for name, line, column, cause in ERROR.findall(done.stdout):
                # ccache can make the name relative to the build.
                path = os.path.relpath(os.path.normpath(self.build / name), self.copy)
                if path in self.instrumented:
                    for number in self.instrumented[path].at_fault(int(line), int(column)):
                        causes.setdefault(number, cause)
            if not causes:
                break
            self.left_out |= causes
        raise Failure(f"the instrumented copy does not compile; {self.folder}/build.log tells why")
