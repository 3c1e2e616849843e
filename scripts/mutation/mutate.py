#!/usr/bin/env python3
"""What scripts/mutate runs: builds the mutants, tries them and reports.

Usage: mutate.py PROJECT [--jobs N] [--sample N [--seed S]] [--file REGEX] [--resume] [--list]
                       [--again] [--most-time SECONDS] [--more-time SECONDS]
"""

import argparse
import collections
import concurrent.futures
import json
import os
import pathlib
import random
import re
import sys
import threading

import instrument
import trial
from instrument import Failure

EQUIVALENT = "scripts/mutation/equivalent.txt"
COLUMNS = ["mutants", "killed", "killed by time", "lived", "not reached", "equivalent"]


class Explained:
    """The mutants that no test can kill, with the reason: blocks of four lines with the file, the line of the source,
    the mutation and the reason."""

    def __init__(self, project, build):
        self.reasons = {}
        self.lines = {path: [""] + text.decode().splitlines() for path, text in build.sources.items()}
        mutants = build.mutants
        path = project / EQUIVALENT
        if not path.exists():
            return
        lines = path.read_text().splitlines()
        block = []
        for number, line in enumerate(lines + [""], 1):
            if line.startswith("#"):
                continue
            if line.strip():
                block.append(line.strip())
            elif block:
                self.add(block, number - len(block), mutants)
                block = []

    def add(self, block, line, mutants):
        if len(block) < 4:
            raise Failure(f"{EQUIVALENT}:{line}: an entry has a file, a line, a mutation and a reason")
        file, text, mutation = block[:3]
        found = [number for number, mutant in enumerate(mutants)
                 if (mutant.file, f"{mutant.original} -> {mutant.mutated}") == (file, mutation)
                 and text in (mutant.text, f"{self.lines[file][mutant.line - 1].strip()} {mutant.text}")]
        if not found:
            raise Failure(f"{EQUIVALENT}:{line}: no mutant of {file} is \"{mutation}\" in such a line")
        self.reasons |= dict.fromkeys(found, " ".join(block[3:]))


class Results:
    """The verdicts, a line each as soon as it is known, so that an interrupted run can be continued."""

    def __init__(self, folder, fingerprint, resume, tried_again):
        """@p tried_again: whether a mutant of this name is to be tried again if it lived."""
        self.path = folder / "results.jsonl"
        self.by_name = {}
        self.lock = threading.Lock()
        if resume and self.path.exists():
            self.read(fingerprint, tried_again)
        else:
            self.path.write_text(json.dumps({"sources": fingerprint}) + "\n")

    def read(self, fingerprint, tried_again):
        whole = [line for line in self.path.read_text().splitlines(keepends=True) if line.endswith("\n")]
        entries = [json.loads(line) for line in whole]
        if not entries or entries[0].get("sources") != fingerprint:
            raise Failure(f"{self.path} is of other sources; run again without --resume")
        self.by_name = {entry["mutant"]: entry for entry in entries[1:]
                        if entry["result"].startswith("killed") or not tried_again(entry["mutant"])}
        kept = [entries[0]] + list(self.by_name.values())  # without a line that was cut off
        self.path.write_text("".join(json.dumps(entry) + "\n" for entry in kept))

    def killers(self, mutants):
        """How many mutants of a file a case has killed, by file and case."""
        file_of = {mutant.name: mutant.file for mutant in mutants}
        return collections.Counter((file_of[name], entry["by"]) for name, entry in self.by_name.items()
                                   if "by" in entry and name in file_of)

    def add(self, name, entry):
        with self.lock:
            self.by_name[name] = {"mutant": name} | entry
            with open(self.path, "a", encoding="utf-8") as file:
                file.write(json.dumps(self.by_name[name]) + "\n")


def chosen(build, options):
    """The numbers of the mutants to try; a sample keeps the order of chance, so that its beginning is a sample, too."""
    numbers = [number for number, mutant in enumerate(build.mutants)
               if number not in build.left_out and re.search(options.file, mutant.name)]
    if options.sample and options.sample < len(numbers):
        numbers = random.Random(options.seed).sample(numbers, options.sample)
    if not numbers:
        raise Failure(f"no mutant matches \"{options.file}\"")
    return numbers


def try_all(numbers, build, reach, results, options):
    """Tries the mutants that have no verdict yet, several at once."""
    waiting = [number for number in numbers if build.mutants[number].name not in results.by_name]
    trials = trial.Trials(reach, options.more_time, options.most_time, results.killers(build.mutants))
    done = 0

    def attempt(number):
        results.add(build.mutants[number].name, trials.verdict(number))
        return number

    with concurrent.futures.ThreadPoolExecutor(options.jobs) as pool:
        for future in concurrent.futures.as_completed([pool.submit(attempt, number) for number in waiting]):
            done += 1
            entry = results.by_name[build.mutants[future.result()].name]
            print(f"{done} of {len(waiting)}: {entry['result']} ({entry['cases']} cases, {entry['seconds']} s): "
                  f"{entry['mutant']}", file=sys.stderr, flush=True)


def table(rows):
    """Rows of cells, as wide as the widest; the first column is text."""
    widths = [max(map(len, column)) for column in zip(*rows)]
    return "\n".join("  ".join([row[0].ljust(widths[0])] + list(map(str.rjust, row[1:], widths[1:]))) for row in rows)


def counts(entries):
    """@p entries: of each mutant its result, "equivalent" if it is explained and lived."""
    return [len(entries)] + [entries.count(name) for name in COLUMNS[1:]]


def report(numbers, build, explained, results):
    """Prints everything, and returns whether a mutant lives or is not reached without an explanation."""
    of_file = {}
    listed = []
    wrong = []
    for number in sorted(numbers):
        mutant = build.mutants[number]
        result = results.by_name[mutant.name]["result"]
        if number in explained.reasons and result.startswith("killed"):
            wrong.append(f"{EQUIVALENT}: {results.by_name[mutant.name]['by']} kills {mutant.name}")
        elif number in explained.reasons:
            result = "equivalent"
        if result in ("lived", "not reached"):
            listed.append(f"{result}, {number}: {mutant.name}")
        of_file.setdefault(mutant.file, []).append(result)
    rows = [["file"] + COLUMNS]
    rows += [[file] + list(map(str, counts(entries))) for file, entries in sorted(of_file.items())]
    every = counts(sum(of_file.values(), []))
    print(table(rows + [["all"] + list(map(str, every))]))
    print_left_out(build)
    if listed:
        print("\n" + "\n".join(listed))
    killed, possible = every[1] + every[2], every[0] - every[5]
    print(f"\nscore: {100 * killed / max(1, possible):.1f} percent, {killed} of {possible} that are not equivalent")
    if wrong:
        raise Failure("; ".join(wrong))
    return bool(listed)


def print_left_out(build):
    if build.left_out:
        print(f"\nleft out, since they do not compile: {len(build.left_out)}")
        for number, cause in sorted(build.left_out.items()):
            print(f"  {build.mutants[number].name}: {cause}")


def main():
    parser = argparse.ArgumentParser()
    parser.add_argument("project", type=pathlib.Path)
    parser.add_argument("--jobs", type=int, default=os.cpu_count())
    parser.add_argument("--sample", type=int, default=0)
    parser.add_argument("--seed", type=int, default=1)
    parser.add_argument("--file", default="")
    parser.add_argument("--more-time", type=float, default=5, help="seconds that a test may take longer than usual")
    parser.add_argument("--most-time", type=float, default=0, help="seconds for a mutant, which then counts as living")
    parser.add_argument("--resume", action="store_true")
    parser.add_argument("--again", action="store_true", help="try again what lived in the resumed run and is not explained")
    parser.add_argument("--list", action="store_true")
    options = parser.parse_args()
    project = options.project.resolve()
    folder = project / "build" / "mutation"
    folder.mkdir(parents=True, exist_ok=True)

    build = instrument.Build(project, folder, options.jobs)
    build.make()
    explained = Explained(project, build)
    numbers = chosen(build, options)
    if options.list:
        print("\n".join(f"{number}: {build.mutants[number].name}" for number in sorted(numbers)))
        return 0
    reasons = {build.mutants[number].name for number in explained.reasons}
    results = Results(folder, build.fingerprint, options.resume, lambda name: options.again and name not in reasons)
    reach = trial.Reach(trial.cases_of(build.build), build.mutants, build.fingerprint, folder, options.jobs)
    for name in reach.failing:
        print(f"scripts/mutate: {name} fails on the unchanged program and is left out", file=sys.stderr)
    try_all(numbers, build, reach, results, options)
    return 1 if report(numbers, build, explained, results) else 0


if __name__ == "__main__":
    try:
        sys.exit(main())
    except re.error as error:
        sys.exit(f"scripts/mutate: --file is not a regular expression: {error}")
    except Failure as failure:
        sys.exit(f"scripts/mutate: {failure}")
