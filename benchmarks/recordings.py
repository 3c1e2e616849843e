#!/usr/bin/env python3
"""Usage: benchmarks/recordings.py LANTERNIX_LAB FILTER [--list] [--quick]

Measures what the commands on recordings cost with 10 million reports, or a million with --quick: processor time per
report and resident memory of the cases whose names the regular expression FILTER finds. Prints a JSON object with the
samples, or with --list the names. The recording takes 790 MB in the temporary folder and is deleted at the end. Normally
started by benchmarks/report.py.
"""

import argparse
import json
import os
import pathlib
import re
import subprocess
import sys
import tempfile

REPORTS = 10_000_000
QUICK_REPORTS = 1_000_000
BLOCK = 100_000  # reports that are composed at once

# What stands behind the command's name; {} is the recording.
CASES = {
    "check": ["check", "{}"],
    "show": ["show", "{}"],
    "show, all reports": ["show", "--all", "{}"],
    "diff": ["diff", "{}", "{}"],
    "cut": ["cut", "{}", "--from", "0.01"],
    "report": ["report", "{}", "-o", "{}.html"],
}


def report(number):
    """A pen that writes, and lifts after every thousandth report."""
    place = number * 7 % 32768
    state = 0 if number % 1000 == 999 else 1
    hexadecimal = bytes([0x08, 0x21, 0, place & 0xFF, place >> 8, 0, 0x40, state]).hex()
    return f'{{"type":"raw","at":{number * 5000},"board":1,"hex":"{hexadecimal}","inside":1.25}}\n'


def write_recording(path, reports):
    with open(path, "wb") as file:
        file.write(b'{"type":"scenario","version":2}\n{"type":"device","kind":1,"board":1,"info":""}\n')
        for first in range(0, reports, BLOCK):
            file.write("".join(report(number) for number in range(first, first + BLOCK)).encode())


def write_in_another_process(path, reports):
    """A started program's peak of memory counts from before its start, when it is a copy of this process, which therefore
    stays small."""
    writer = os.fork()
    if writer == 0:
        write_recording(path, reports)
        os._exit(0)
    _, status = os.waitpid(writer, 0)
    if status != 0:
        sys.exit(f"{path} cannot be written")


def measure(command):
    """Seconds of processor time, and megabytes."""
    with subprocess.Popen(command, stdout=subprocess.DEVNULL) as process:
        _, status, usage = os.wait4(process.pid, 0)
        process.returncode = os.waitstatus_to_exitcode(status)
    if process.returncode != 0:
        sys.exit(f"{' '.join(map(str, command))} failed with status {process.returncode}")
    return usage.ru_utime + usage.ru_stime, usage.ru_maxrss / 1024


def main():
    parser = argparse.ArgumentParser()
    parser.add_argument("program")
    parser.add_argument("filter")
    parser.add_argument("--list", action="store_true")
    parser.add_argument("--quick", action="store_true")
    options = parser.parse_args()
    names = {f"recording: {case}": case for case in CASES if re.search(options.filter, f"recording: {case}")}
    if options.list:
        print("".join(name + "\n" for name in names), end="")
        return
    samples = {}
    reports = QUICK_REPORTS if options.quick else REPORTS
    with tempfile.TemporaryDirectory() as folder:
        recording = pathlib.Path(folder) / "recording.jsonl"
        write_in_another_process(recording, reports)
        for case in names.values():
            command = [options.program] + [word.format(recording) for word in CASES[case]]
            seconds, megabytes = zip(*[measure(command) for _ in range(1 if options.quick else 3)])
            prefix = "" if len(names) == 1 else case + ": "
            samples[f"{prefix}processor time per report [ns]"] = [1e9 * sample / reports for sample in seconds]
            samples[f"{prefix}resident memory [MB]"] = list(megabytes)
    print(json.dumps({"samples": samples}))


if __name__ == "__main__":
    main()
