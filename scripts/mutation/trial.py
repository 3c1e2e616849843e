"""Runs the tests of an instrumented build: once to see which mutants each of them reaches, then mutant by mutant."""

import collections
import concurrent.futures
import ctypes
import dataclasses
import hashlib
import json
import os
import pathlib
import resource
import select
import signal
import subprocess
import sys
import tempfile
import threading
import time

from instrument import Failure, without_choice

PATIENCE = 120  # seconds for a test of the unchanged program, if it has no limit of its own
MEMORY = 16 << 30  # bytes of addresses, so that a mutant that allocates for ever ends
FILE_SIZE = 1 << 30  # bytes, for one that writes for ever

LIBC = ctypes.CDLL(None)
PR_SET_PDEATHSIG = 1  # of <linux/prctl.h>


@dataclasses.dataclass
class Case:
    """A test of ctest."""

    name: str
    command: list
    folder: str
    environment: dict
    patience: float
    seconds: float = 0  # that it takes on the unchanged program
    reached: frozenset = frozenset()

    def limit(self, more):
        return 5 * self.seconds + more


@dataclasses.dataclass
class Ending:
    passed: bool
    timed_out: bool
    seconds: float


def cases_of(build):
    """All tests that the build has, in ctest's order."""
    listed = subprocess.run(["ctest", "--test-dir", build, "--show-only=json-v1"], capture_output=True, text=True,
                            check=False)
    if listed.returncode != 0:
        raise Failure(f"ctest cannot list the tests of {build}")
    cases = []
    for test in json.loads(listed.stdout)["tests"]:
        properties = {entry["name"]: entry["value"] for entry in test.get("properties", [])}
        if properties.get("DISABLED") or "command" not in test:
            continue
        cases.append(Case(test["name"], test["command"], properties.get("WORKING_DIRECTORY", str(build)),
                          dict(entry.split("=", 1) for entry in properties.get("ENVIRONMENT", [])),
                          properties.get("TIMEOUT", PATIENCE)))
    if not cases:
        raise Failure(f"{build} has no tests")
    return cases


def limit_resources():
    """In the child, before the test's program starts."""
    resource.setrlimit(resource.RLIMIT_CORE, (0, 0))
    resource.setrlimit(resource.RLIMIT_AS, (MEMORY, MEMORY))
    resource.setrlimit(resource.RLIMIT_FSIZE, (FILE_SIZE, FILE_SIZE))
    LIBC.prctl(PR_SET_PDEATHSIG, signal.SIGKILL)


def run(case, limit, **variables):
    """Runs a test in a process group of its own, of which nothing is left afterwards, with a temporary folder of its
    own, which a test that crashes leaves full."""
    with tempfile.TemporaryDirectory(prefix="lx-", ignore_cleanup_errors=True) as folder:
        environment = without_choice() | case.environment | variables
        environment |= {"TMPDIR": folder, "XDG_RUNTIME_DIR": folder}
        began = time.monotonic()
        with subprocess.Popen(case.command, cwd=case.folder, env=environment, stdin=subprocess.DEVNULL,
                              stdout=subprocess.DEVNULL, stderr=subprocess.DEVNULL, start_new_session=True,
                              preexec_fn=limit_resources) as process:
            handle = os.pidfd_open(process.pid)
            poll = select.poll()
            poll.register(handle, select.POLLIN)
            ended = bool(poll.poll(1000 * limit))
            os.close(handle)
            # Before the process is waited for: until then the group's number cannot be another's.
            os.killpg(process.pid, signal.SIGKILL)
            status = process.wait()
    return Ending(ended and status == 0, not ended, time.monotonic() - began)


class Reach:
    """Which mutants each case reaches, kept case by case for later runs with the same program and sources."""

    def __init__(self, cases, mutants, fingerprint, folder, jobs):
        self.mutants = mutants
        self.fingerprint = fingerprint
        self.kept = folder / "reach.jsonl"
        self.lock = threading.Lock()
        self.hashes = {}
        self.failing = []
        entries = {self.key(case): None for case in cases}
        entries |= self.read(entries)
        waiting = [case for case in cases if entries[self.key(case)] is None]
        if waiting:
            print(f"{len(waiting)} of {len(cases)} tests run to see what they reach", file=sys.stderr, flush=True)
        with concurrent.futures.ThreadPoolExecutor(jobs) as pool:
            entries |= {entry["key"]: entry for entry in pool.map(self.measure, waiting)}
        for case in cases:
            entry = entries[self.key(case)]
            case.seconds, case.reached = entry["seconds"], frozenset(entry["reached"])
            if not entry["passed"]:
                self.failing.append(case.name)
        self.cases = sorted((case for case in cases if case.reached), key=lambda case: case.seconds)
        self.shares = collections.defaultdict(collections.Counter)  # of each file, how many mutants each case reaches
        for case in self.cases:
            for number in case.reached:
                self.shares[mutants[number].file][case.name] += 1

    def read(self, wanted):
        """What earlier runs have kept for these keys; the rest, and a line that was cut off, is dropped."""
        if not self.kept.exists():
            return {}
        lines = [line for line in self.kept.read_text().splitlines(keepends=True) if line.endswith("\n")]
        entries = [entry for entry in map(json.loads, lines) if entry["key"] in wanted and entry["passed"]]
        self.kept.write_text("".join(json.dumps(entry) + "\n" for entry in entries))
        return {entry["key"]: entry for entry in entries}

    def key(self, case):
        program = case.command[0]
        if program not in self.hashes:
            self.hashes[program] = hashlib.sha256(pathlib.Path(program).read_bytes()).hexdigest()
        parts = [self.fingerprint, self.hashes[program], *case.command]
        return hashlib.sha256("\0".join(parts).encode()).hexdigest()

    def measure(self, case):
        """A test that fails on the unchanged program twice in a row reaches nothing."""
        entry = {"key": self.key(case), "passed": False, "seconds": 0, "reached": []}
        for _ in range(2):
            with tempfile.NamedTemporaryFile(prefix="lx-reached-") as file:
                os.ftruncate(file.fileno(), max(1, len(self.mutants)))
                ending = run(case, case.patience, LANTERNIX_REACHED=file.name)
                if ending.passed:
                    reached = [number for number, byte in enumerate(file.read()) if byte]
                    entry |= {"passed": True, "seconds": ending.seconds, "reached": reached}
                    break
        with self.lock, open(self.kept, "a", encoding="utf-8") as kept:
            kept.write(json.dumps(entry) + "\n")
        return entry


class Trials:
    """Tries mutants, on several threads, each with the cases that reach it."""

    def __init__(self, reach, more_time, most_time, kills):
        self.reach = reach
        self.more_time = more_time
        self.most_time = most_time
        self.kills = kills  # a Counter of a file and a case
        self.lock = threading.Lock()

    def reaching(self, number):
        """The cases that reach a mutant, the most promising first: those that kill the most mutants of its file in
        the time they take, then those that are soon done and reach much of the file and little else."""
        file = self.reach.mutants[number].file
        share = self.reach.shares[file]
        with self.lock:
            kills = {case.name: self.kills[file, case.name] for case in self.reach.cases}
        return sorted((case for case in self.reach.cases if number in case.reached),
                      key=lambda case: (-kills[case.name] / case.seconds,
                                        case.seconds * len(case.reached) / share[case.name] ** 2))

    def verdict(self, number):
        """Runs the cases that reach a mutant until one tells it from the unchanged program, and returns what is noted.
        A case that then fails on the unchanged program, too, has told nothing."""
        began = time.monotonic()
        unsteady = []
        tried = 0
        reaching = self.reaching(number)
        for case in reaching:
            if self.most_time and time.monotonic() - began > self.most_time:
                break
            tried += 1
            ending = run(case, case.limit(self.more_time), LANTERNIX_MUTANT=str(number))
            if ending.passed:
                continue
            if not run(case, case.limit(self.more_time)).passed:
                unsteady.append(case.name)
                continue
            with self.lock:
                self.kills[self.reach.mutants[number].file, case.name] += 1
            return self.noted("killed by time" if ending.timed_out else "killed", tried, unsteady, began) | {
                "by": case.name}
        return self.noted("lived" if reaching else "not reached", tried, unsteady, began)

    @staticmethod
    def noted(result, tried, unsteady, began):
        return {"result": result, "cases": tried, "unsteady": unsteady, "seconds": round(time.monotonic() - began, 2)}
