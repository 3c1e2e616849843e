#!/usr/bin/env python3
"""What scripts/evidence runs: makes docs/evidence.md of what the tools have found, or holds it against the project.

Usage: ledger.py PROJECT BUILD FIGURES MUTATION   writes the document; FIGURES is the folder with what the tools
                                                  printed, MUTATION that of scripts/mutate
       ledger.py PROJECT BUILD --check            tells what the document lacks, or names although it is not there
"""

import collections
import json
import pathlib
import re
import subprocess
import sys

from instrument import Failure
from interface import Interface

DOCUMENT = "docs/evidence.md"
SHOWN = 3  # tests named for an operation
FIGURES = ["Release", "Commit", "Lines", "Branches", "Mutants killed", "Fuzzing, inputs", "Soak", "Report to pixel"]


def sentence(test):
    """A test's name without its parameters: ATrace.IsOneForAllThreads."""
    parts = test.split("/")
    return parts[1] if len(parts) > 1 and "." not in parts[0] else parts[0]


def code(text):
    return f"`{text}`"


def row(cells):
    return "| " + " | ".join(cells) + " |"


def table(head, rows):
    return "\n".join([row(head), "|" + "---|" * len(head), *map(row, rows)]) + "\n"


class Mutation:
    """The mutants of src/ and what became of each; see scripts/mutate."""

    def __init__(self, folder):
        made, results = folder / "mutants.json", folder / "results.jsonl"
        for path in (made, results, folder / "reach.jsonl"):
            if not path.exists():
                raise Failure(f"{path} is not there; scripts/mutate makes it")
        known = json.loads(made.read_text())
        verdicts = {entry["mutant"]: entry for entry in map(json.loads, results.read_text().splitlines()[1:])}
        self.by_line = collections.defaultdict(list)  # of (file, line): mutants with their verdicts
        self.reaching = collections.Counter()
        for number, mutant in enumerate(known["mutants"]):
            if str(number) in known["left out"]:
                continue
            place = f"{mutant['file']}:{mutant['line']}:{mutant['column']}"
            name = f"{place}: {mutant['original']} -> {mutant['mutated']}"
            if name not in verdicts:
                raise Failure(f"{results} has no verdict on {name}; scripts/mutate --resume goes on")
            self.by_line[mutant["file"], mutant["line"]].append((number, mutant, verdicts[name]))
        self.reached = [frozenset(entry["reached"])
                        for entry in map(json.loads, (folder / "reach.jsonl").read_text().splitlines())]

    def within(self, operation):
        """The mutants of an operation: those in its bodies; of a signal, those that change where it is emitted."""
        if operation.bodies:
            return [entry for file, first, last in operation.bodies for line in range(first, last + 1)
                    for entry in self.by_line[file, line]]
        signal = re.compile(r"\bemit (\w+(->|\.))?" + operation.name.split("::")[-1] + r"\b")
        return [entry for entries in self.by_line.values() for entry in entries if signal.search(entry[1]["text"])]

    def tests_that_reach(self, numbers):
        return sum(1 for reached in self.reached if not reached.isdisjoint(numbers))


class Naming:
    """Which test programs name an operation in their source."""

    def __init__(self, project):
        self.texts = {path.stem: path.read_text() for path in sorted((project / "tests").rglob("*_test.cpp"))}

    def of(self, operation):
        name = operation.name.split("::")[-1]
        if name.startswith("operator"):
            name = operation.name.split("::")[-2]
        return [program for program, text in self.texts.items() if re.search(rf"\b{re.escape(name)}\b", text)]


def held_by(operation, mutation, naming):
    """The cells behind an operation's name, or None if no test holds it."""
    mutants = mutation.within(operation)
    killers = collections.Counter(sentence(verdict["by"]) for _, _, verdict in mutants if "by" in verdict)
    reach = mutation.tests_that_reach({number for number, _, _ in mutants})
    if killers:
        named = [code(test) for test, _ in killers.most_common(SHOWN)]
        more = f" and {len(killers) - SHOWN} more" if len(killers) > SHOWN else ""
        killed = sum(1 for _, _, verdict in mutants if "by" in verdict)
        return [f"{killed} of {len(mutants)}", str(reach), ", ".join(named) + more]
    programs = naming.of(operation)
    if not programs:
        return None
    named = ", ".join(code(program) for program in programs[:SHOWN]) + ", by name"
    return [f"0 of {len(mutants)}", str(reach), named] if mutants else ["none is possible", "", named]


def ledger(interface, mutation, naming):
    """Sections of one header each."""
    by_header = collections.defaultdict(list)
    missing = []
    for operation in sorted(interface.operations.values(), key=lambda one: (one.header, one.line)):
        cells = held_by(operation, mutation, naming)
        if cells:
            by_header[operation.header].append([code(operation.name), *cells])
        else:
            missing.append(operation.name)
    if missing:
        raise Failure("no test holds " + ", ".join(missing))
    head = ["Operation", "Changes noticed", "Tests that reach it", "Tests that fail if it changes"]
    return "\n".join(f"### {code(header)}\n\n{table(head, rows)}" for header, rows in by_header.items())


class Figures:
    """What the tools have printed, a file each."""

    def __init__(self, folder):
        self.folder = folder

    def text(self, name):
        path = self.folder / f"{name}.txt"
        if not path.exists():
            raise Failure(f"{path} is not there; scripts/evidence {name} makes it")
        return path.read_text()

    def found(self, name, pattern):
        found = re.findall(pattern, self.text(name), re.MULTILINE)
        if not found:
            raise Failure(f"{self.folder}/{name}.txt does not tell what is looked for")
        return found

    def cells(self):
        """The row of a release, without its name."""
        lines = self.found("coverage", r"^lines: ([\d.]+%)")[0]
        branches = self.found("coverage", r"^branches: ([\d.]+%)")[0]
        score = self.found("mutation", r"^score: ([\d.]+) percent, (\d+ of \d+)")[0]
        inputs = sum(map(int, self.found("fuzz", r"^\w+ +(\d+) inputs tried")))
        minutes = self.found("soak", r"^minutes: (\d+)")[0]
        delay = self.found("soak", r"^delay's median, ms: first tenth [\d.]+, last tenth ([\d.]+)")[0]
        lost = self.found("soak", r"^probes: \d+, lost: (\d+)")[0]
        latency = json.loads(self.text("latency").splitlines()[-1])
        one = next(entry for entry in latency["rows"]
                   if entry["split"] == "contacts" and entry["contacts"] == 1 and entry["tags"])
        return [code(self.text("commit").strip()), lines, branches, f"{score[0]} % ({score[1]})", f"{inputs:,}",
                f"{minutes} min, {lost} probes lost, {delay} ms", f"{one['median_ms']:.1f} ms median"]


def earlier_rows(document, release):
    """The rows of other releases that the document has."""
    rows = [line.strip("| ").split(" | ") for line in document.splitlines()
            if line.startswith("| ") and line.count(" | ") == len(FIGURES) - 1]
    return [cells for cells in rows if cells[0] not in (FIGURES[0], release)]


def release_of(project):
    """The version, or "unreleased" if the changelog has changes that no release has."""
    changes = (project / "CHANGELOG.md").read_text()
    unreleased = changes.split("## [Unreleased]", 1)[1].split("\n## ", 1)[0]
    if unreleased.strip():
        return "unreleased"
    return re.search(r'version = "(.*)"', (project / "src/lxwindow.h").read_text())[1]


def write(project, build, figures, mutation):
    path = project / DOCUMENT
    release = release_of(project)
    rows = [[release, *Figures(figures).cells()]]
    rows += earlier_rows(path.read_text(), release) if path.exists() else []
    scores = re.search(r"^file .*?\n\n", Figures(figures).text("mutation"), re.MULTILINE | re.DOTALL)
    parts = {
        "@FIGURES@": table(FIGURES, rows),
        "@SCORES@": "    " + scores[0].strip().replace("\n", "\n    ") + "\n",
        "@LEDGER@": ledger(Interface(project, build), Mutation(mutation), Naming(project)),
    }
    text = (project / "scripts/mutation/evidence.md.in").read_text()
    for name, part in parts.items():
        text = text.replace(name, part.rstrip("\n"))
    path.write_text(text)


def check(project, build):
    """Ends with one line if the document is not of this project."""
    if not (project / DOCUMENT).exists():
        raise Failure(f"{DOCUMENT} is not there; scripts/evidence writes it")
    text = (project / DOCUMENT).read_text()
    listed = subprocess.run(["ctest", "--test-dir", build, "--show-only=json-v1"], capture_output=True, text=True,
                            check=False)
    if listed.returncode != 0:
        raise Failure(f"ctest cannot list the tests of {build}")
    tests = {sentence(test["name"]) for test in json.loads(listed.stdout)["tests"]}
    programs = {path.stem for path in (project / "tests").rglob("*_test.cpp")}
    named = set()
    operations = set()
    for line in text.splitlines():
        cells = line.strip("| ").split(" | ")
        if line.startswith("| `") and len(cells) == 4:
            operations.add(cells[0].strip("`"))
            named |= set(re.findall("`([^`]+)`", cells[3]))
    offered = {operation.name for operation in Interface(project, build).operations.values()}
    for what, names in (("lacks", offered - operations), ("names, but there is not", operations - offered),
                        ("names, but there is no test", named - tests - programs)):
        if names:
            raise Failure(f"{DOCUMENT} {what}: {', '.join(sorted(names))}")


def main():
    project, build = pathlib.Path(sys.argv[1]).resolve(), pathlib.Path(sys.argv[2])
    if sys.argv[3] == "--check":
        check(project, build)
    else:
        write(project, build, pathlib.Path(sys.argv[3]), pathlib.Path(sys.argv[4]))


if __name__ == "__main__":
    try:
        main()
    except Failure as failure:
        sys.exit(f"scripts/evidence: {failure}")
