#!/usr/bin/env python3
"""Usage: benchmarks/report.py BUILD_FOLDER [--quick] [--before PROGRAM] [FILTER]

Runs the probe and the benchmarks of a build on the screen that DISPLAY names, those whose names the regular expression
FILTER finds, and prints one table: the goals first, then the ratios, then all measurements. Saves the table as
results.md, and all samples as results.json, in BUILD_FOLDER. Normally started by scripts/bench.
"""

import argparse
import datetime
import json
import os
import pathlib
import re
import subprocess
import sys
import time

# The goals: case, measurement, which figure of it, its largest allowed value, unit. The measurement is the name of a
# probe's case or of a benchmark, a colon, and the name of what was measured there.
GOALS = [
    ("pen, tags on: report to pixel", "report to pixel: pen, tags on: to pixel", "median", 5.2, "ms"),
    ("pen, tags on: report to pixel", "report to pixel: pen, tags on: to pixel", "p99", 10, "ms"),
    ("10 touches, tags on: report to pixel", "report to pixel: 10 touches, tags on: to pixel", "median", 6.5, "ms"),
    ("10 touches, tags on: report to pixel", "report to pixel: 10 touches, tags on: to pixel", "p99", 13, "ms"),
    ("pen, tags off: processor time per report",
     "report to pixel: pen, tags off: processor time per report", "median", 0.5, "ms"),
    ("pen, tags on: processor time per report",
     "report to pixel: pen, tags on: processor time per report", "median", 0.9, "ms"),
    ("10 touches, tags on: processor time per report",
     "report to pixel: 10 touches, tags on: processor time per report", "median", 4, "ms"),
    ("20,000 pen reports a second, tags on: processor time per report",
     "flood: pen, 20000 reports a second, tags on: processor time per report", "median", 12, "µs"),
    ("20,000 pen reports a second, tags on: last report to last change",
     "flood: pen, 20000 reports a second, tags on: last report to last change", "median", 12, "ms"),
    ("10 touches at 1,000 reports a second, tags on: tick",
     "flood: 10 touches, 1000 reports a second, tags on: tick", "p99", 10, "ms"),
    ("10 touches at 1,000 reports a second, tags on: last report to last change",
     "flood: 10 touches, 1000 reports a second, tags on: last report to last change", "median", 20, "ms"),
    *[(f"{contacts} at {rate:,} reports a second, tags on: {case}",
       f"flood: {contacts}, {rate} reports a second, tags on: {measurement}", "median", limit, unit)
      for contacts in ("pen", "10 touches") for rate in (1_000, 5_000, 20_000, 50_000, 100_000)
      for case, measurement, limit, unit in (("longest between two changes", "longest between two changes", 100, "ms"),
                                             ("segments not drawn", "segments missing", 0, ""))],
    ("1,000 motions of a mouse a second: not drawn, of 2,000", "mouse: 1000 motions a second, alone: motions not drawn",
     "median", 107, ""),
    ("draw_stroke to the bare line", "function: draw_stroke: ratio", "median", 1.25, "×"),
    ("inside the packet callback, pen report (GUI thread awake)",
     "function: packet_callback/gui_thread_awake: median", "median", 1.5, "µs"),
    ("idle: share of a core", "idle, window shown: share of a core", "median", 0.8, "%"),
    ("idle: wake-ups a second", "idle, window shown: wake-ups a second", "median", 125, ""),
    ("idle: times painted", "idle, window shown: times painted", "median", 0, ""),
    ("idle: resident memory", "idle, window shown: resident memory", "median", 110, "MB"),
    ("start to first picture", "start: start to first picture", "median", 150, "ms"),
    ("1,000,000 finished segments: heap for each",
     "function: redraw_strokes/segments:1000000: bytes_per_segment", "median", 48, "bytes"),
    ("1,000,000 finished segments: rebuild to the bare lines",
     "function: redraw_strokes/segments:1000000: ratio", "median", 1.15, "×"),
    ("pictures as before: pixels that differ, tags apart", "pictures: pixels that differ, tags apart", "median", 0, ""),
    ("pictures as before: largest difference in a tag",
     "pictures: largest difference in a tag", "median", 2, "levels of 255"),
    *[(f"10 touches, tags on, 3840 x 2160 to 1920 x 1080: {case}, {figure}",
       f"sizes: 10 touches, tags on, 3840x2160 and 1920x1080 in turn: {case}, ratio of the {figure}", "median", 1.1, "×")
      for case, figure in (("to pixel", "medians"), ("to pixel", "99th percentiles"),
                           ("processor time per report", "medians"))],
    *[(f"40 touches every 8 ms, tags on, {size}: {case}", f"sizes: 40 touches, tags on, {size}: {measurement}",
       figure, limit, unit)
      for size in ("1920x1080", "3840x2160")
      for case, measurement, figure, limit, unit in (
          ("tick", "tick", "median", 8.8, "ms"), ("tick", "tick", "p99", 12, "ms"),
          ("ticks missed, of 1,000", "ticks missed", "median", 10, ""),
          ("last report to last change", "last report to last change", "median", 20, "ms"),
          ("segments not drawn", "segments missing", "median", 0, ""))],
    ("recorder: added to a report on the driver's thread",
     "recorder: report_on_the_drivers_thread: added", "median", 1000, "ns"),
    ("recorder: added from report to pixel, pen (mean)",
     "report to pixel: pen, recorded: to pixel, added by the recorder", "median", 0.1, "ms"),
    ("recorder: 20,000 reports a second for a minute: lost",
     "recorder: flood/rate:20000/seconds:60: lost", "median", 0, ""),
    ("recorder: 100,000 reports a second: neither recorded nor counted",
     "recorder: flood/rate:100000/seconds:20: neither_recorded_nor_counted", "median", 0, ""),
    ("trace: recording a change", "trace: recording/threads:1: ns_per_change", "median", 95, "ns"),
    ("trace: writing a change", "trace: writing: ns_per_change", "median", 250, "ns"),
    ("recording: check, processor time per report", "recording: check: processor time per report", "median", 500, "ns"),
    ("recording: report with its page, processor time per report", "recording: report: processor time per report", "median",
     3000, "ns"),
    ("recording: report with its page, resident memory", "recording: report: resident memory", "max", 128, "MB"),
    *[(f"recording of 10,000,000 reports: {command}, resident memory", f"recording: {command}: resident memory", "max",
       64, "MB") for command in ("check", "show", "show, all reports", "diff", "cut")],
]

# Ratios of medians: case, measurement, what it is compared with.
RATIOS = [
    ("a stroke's last 100 segments to its first: report to pixel",
     "report to pixel: a stroke of 20,000 segments: to pixel, last of the stroke",
     "report to pixel: a stroke of 20,000 segments: to pixel, first of the stroke"),
    ("a stroke's last 100 segments to its first: processor time",
     "report to pixel: a stroke of 20,000 segments: processor time per report, last of the stroke",
     "report to pixel: a stroke of 20,000 segments: processor time per report, first of the stroke"),
    ("100,000 segments on the screen to none: report to pixel",
     "report to pixel: 100,000 segments on the screen: to pixel, 100,000 segments",
     "report to pixel: 100,000 segments on the screen: to pixel, empty screen"),
    ("100,000 segments on the screen to none: processor time",
     "report to pixel: 100,000 segments on the screen: processor time per report, 100,000 segments",
     "report to pixel: 100,000 segments on the screen: processor time per report, empty screen"),
    ("pen with to without tag: report to pixel",
     "report to pixel: pen, tags on: to pixel", "report to pixel: pen, tags off: to pixel"),
    ("pen with to without tag: processor time",
     "report to pixel: pen, tags on: processor time per report",
     "report to pixel: pen, tags off: processor time per report"),
    ("10 touches with to without tags: report to pixel",
     "report to pixel: 10 touches, tags on: to pixel", "report to pixel: 10 touches, tags off: to pixel"),
    ("10 touches with to without tags: processor time",
     "report to pixel: 10 touches, tags on: processor time per report",
     "report to pixel: 10 touches, tags off: processor time per report"),
    ("packet callback to an empty queued call, GUI thread awake",
     "function: packet_callback/gui_thread_awake: median", "function: empty_queued_call/gui_thread_awake: median"),
    ("packet callback to an empty queued call, GUI thread asleep",
     "function: packet_callback/gui_thread_asleep: median", "function: empty_queued_call/gui_thread_asleep: median"),
    ("20,000 pen reports a second to as many that change nothing: processor time",
     "flood: pen, 20000 reports a second, tags on: processor time per report",
     "flood: resting pen, 20000 reports a second: processor time per report"),
    ("idle to bare ticks: share of a core",
     "idle, window shown: share of a core", "idle, window shown: share of a core, bare ticks"),
    ("idle to a bare window of Qt's with the same tick: share of a core",
     "idle, window shown: share of a core", "idle, window shown: share of a core, bare window"),
    ("start to that of a bare window of Qt's",
     "start: start to first picture", "start: start to first picture, bare window"),
    ("10 resting tags' tick to 10 std::async launches and joins",
     "function: tick_unchanged/items:10: processor time",
     ("function: floor_async_launch_and_join: processor time", 10)),
    ("trace: writing to the limit", "trace: writing: ratio_to_limit", None),
    ("trace: writing to Verilator's writer", "trace: writing: ratio_to_verilator", None),
]


class Failure(Exception):
    """One line for the user."""


def quantile(samples, share):
    ordered = sorted(samples)
    return ordered[min(len(ordered) - 1, int(share * len(ordered)))]


class Measurement:
    def __init__(self, samples, unit):
        self.samples = samples
        self.unit = unit

    def figure(self, name):
        return quantile(self.samples, {"min": 0, "median": 0.5, "p95": 0.95, "p99": 0.99, "max": 1}[name])


def name_and_unit(text):
    """Splits "to pixel [ms], last" into "to pixel, last" and "ms"."""
    found = re.match(r"(.*?) \[(.*?)\](.*)$", text)
    return (found[1] + found[3], found[2]) if found else (text, "")


def lines_of(command, **options):
    """Starts a command and yields what it prints."""
    with subprocess.Popen(command, stdout=subprocess.PIPE, text=True, **options) as process:
        yield from process.stdout
    if process.returncode != 0:
        raise Failure(f"{command[0]} failed with status {process.returncode}")


def processor_times():
    """The time of all processors since the machine started: what other guests of its host took, and the total."""
    times = [int(field) for field in pathlib.Path("/proc/stat").read_text().split("\n")[0].split()[1:9]]
    return times[7], sum(times)


def parsed(lines):
    """The JSON object that a program has printed."""
    try:
        return json.loads("".join(lines))
    except json.JSONDecodeError as error:
        raise Failure(f"no result: {error}") from error


class Run:
    """Runs everything and collects the measurements by name."""

    MOST_STOLEN = 0.01  # share of the processor time; with less, the measurement is of the program
    REST = 15  # seconds, after which a host again gives more time to a guest that has used much

    def __init__(self, options):
        self.build = pathlib.Path(options.build)
        self.quick = options.quick
        self.before = options.before
        self.filter = options.filter
        self.measurements = {}
        self.failures = []
        self.stolen = 0

    def all(self):
        self.tolerate("probe", self.probe)
        self.tolerate("recordings", self.recordings)
        for group, path in (("function", "functions/function_benchmarks"),
                            ("recorder", "recorder/recorder_benchmark"),
                            ("trace", "trace/trace_recording_benchmark"),
                            ("trace", "trace/trace_writing_benchmark")):
            self.tolerate(group, self.benchmarks, group, self.build / "benchmarks" / path)

    def tolerate(self, name, measure, *arguments):
        """Runs one part; if it fails, the others are still measured."""
        try:
            measure(*arguments)
        except (Failure, OSError) as error:
            self.failures.append(f"{name}: {error}")

    def undisturbed(self, name, measure):
        """Measures again, at most twice, if other guests of the host took processor time; the least disturbed
        measurement counts."""
        print(name, file=sys.stderr, flush=True)
        tries = []
        for attempt in range(1 if self.quick else 3):
            if attempt:
                print(f"  {100 * tries[-1][0]:.1f} % of the time was stolen: once more", file=sys.stderr, flush=True)
                time.sleep(self.REST)
            stolen, total = processor_times()
            try:
                result = measure()
            except (Failure, OSError) as error:
                if not tries:
                    raise
                self.failures.append(f"{name}: {error}")
                break
            stolen_later, total_later = processor_times()
            tries.append(((stolen_later - stolen) / max(1, total_later - total), result))
            if tries[-1][0] <= self.MOST_STOLEN:
                break
        share, result = min(tries, key=lambda attempt: attempt[0])
        self.stolen = max(self.stolen, share)
        return result

    def add(self, case, text, samples):
        name, unit = name_and_unit(text)
        if samples:
            self.measurements[f"{case}: {name}"] = Measurement(samples, unit)

    def probe(self):
        folder = self.build / "benchmarks" / "probe"
        command = [folder / "program_probe", self.build / "src" / "lanternix", folder / "bare_window",
                   (self.build / "lab" / "latency-driver").resolve(), self.build / "lab" / "recorder-driver"]
        self.cases(command, ["--before", self.before] if self.before else [])

    def recordings(self):
        self.cases([pathlib.Path(__file__).with_name("recordings.py"), self.build / "lab" / "lanternix-lab"], [])

    def cases(self, command, options):
        options = (["--quick"] if self.quick else []) + options
        for name in [line.strip() for line in lines_of(command + [self.filter, "--list"] + options)]:
            self.tolerate(name, self.probe_case, name, command + [f"^{re.escape(name)}$"] + options)

    def probe_case(self, name, command):
        result = self.undisturbed(name, lambda: parsed(lines_of(command)))
        for text, samples in result.get("samples", {}).items():
            self.add(name, text, samples)
        for text, value in result.get("values", {}).items():
            self.add(name, text, [value])

    def benchmarks(self, group, program):
        # The program reports on standard error that there is no driver, which is expected here.
        quietly = {"env": dict(os.environ, **({"BENCHMARK_QUICK": "1"} if self.quick else {})),
                   "stderr": subprocess.DEVNULL}
        repetitions = 1 if group != "function" else 3 if self.quick else 9
        for name in [line.strip() for line in lines_of([program, "--benchmark_list_tests"], **quietly)]:
            if re.search(self.filter, f"{group}: {name}"):
                self.tolerate(f"{group}: {name}", self.benchmark, group, name, [
                    program, "--benchmark_format=json", f"--benchmark_filter=^{re.escape(name)}$",
                    f"--benchmark_repetitions={repetitions}",
                    f"--benchmark_min_time={0.01 if self.quick else 0.05}"], quietly)

    def benchmark(self, group, name, command, options):
        output = self.undisturbed(f"{group}: {name}", lambda: parsed(lines_of(command, **options)))
        entries = [entry for entry in output["benchmarks"] if entry["run_type"] == "iteration"]
        for entry in entries:
            if entry.get("error_occurred"):
                raise Failure(entry["error_message"])
        self.add_benchmark(group, name, entries)

    def add_benchmark(self, group, name, entries):
        plain = re.sub(r"/(iterations:\d+|repeats:\d+|manual_time|process_time|real_time)", "", name)
        case = f"{group}: {plain}"
        counters = [key for key, value in entries[0].items() if isinstance(value, float)
                    and key not in ("real_time", "cpu_time")]
        for key in counters:
            values = [entry[key] for entry in entries]
            unit = {"_ns": " [ns]", "_us": " [µs]"}.get(key[-3:], "")
            self.add(case, (key[:-3] if unit else key) + unit, values)
        if counters:
            return
        unit = entries[0]["time_unit"].replace("us", "µs")
        self.add(case, f"processor time [{unit}]", [entry["cpu_time"] for entry in entries])
        if name.endswith("/real_time"):
            self.add(case, f"time [{unit}]", [entry["real_time"] for entry in entries])


def number(value):
    return f"{value:.0f}" if value == int(value) or abs(value) >= 1000 else f"{value:.3g}"


def goal_rows(measurements):
    rows = []
    for case, key, figure, limit, unit in GOALS:
        measured = measurements.get(key)
        suffix = {"p99": ", 99th percentile"}.get(figure, "")
        row = {"case": case + suffix, "goal": f"{number(limit)} {unit}".strip(), "limit": limit}
        if measured:
            value = measured.figure(figure)
            row |= {"measurement": measured, "value": value, "met": value <= limit,
                    "ratio": value / limit if limit else None}
        rows.append(row)
    return rows


def ratio_rows(measurements):
    rows = []
    for case, key, base in RATIOS:
        base, factor = base if isinstance(base, tuple) else (base, 1)
        if key not in measurements or (base and base not in measurements):
            continue
        ratio = measurements[key].figure("median")
        if base:
            ratio /= factor * measurements[base].figure("median")
        rows.append({"case": case, "ratio": ratio})
    for key, measured in measurements.items():
        if key.endswith(": ratio"):
            rows.append({"case": key.replace("function: ", "").replace(": ratio", "") + " to its floor",
                         "ratio": measured.figure("median"), "measurement": measured})
    return rows


def table_line(case, ratio, measured, goal="", met=""):
    cells = [case, f"{ratio:.2f}" if ratio is not None else ""]
    if measured:
        cells.append(f"{number(measured.figure('median'))} {measured.unit}".strip())
        single = len(measured.samples) == 1
        cells += [""] * 3 if single else [number(measured.figure(figure)) for figure in ("min", "p95", "p99")]
    else:
        cells += [""] * 4
    return "| " + " | ".join(cells + [goal, met]) + " |"


def table(goals, ratios, measurements):
    lines = ["| what | ratio | median | min | 95 % | 99 % | goal: at most | met |",
             "|---|---:|---:|---:|---:|---:|---:|---|",
             "| **goals** (ratio: to the goal) | | | | | | | |"]
    for row in goals:
        met = {True: "yes", False: "**no**", None: "not measured"}[row.get("met")]
        lines.append(table_line(row["case"], row.get("ratio"), row.get("measurement"), row["goal"], met))
    lines.append("| **ratios** | | | | | | | |")
    lines += [table_line(row["case"], row["ratio"], row.get("measurement")) for row in ratios]
    lines.append("| **all measurements** | | | | | | | |")
    lines += [table_line(key, None, measured) for key, measured in measurements.items()]
    return "\n".join(lines)


def machine():
    cpu = re.search(r"model name\s*: (.*)", pathlib.Path("/proc/cpuinfo").read_text())
    source = subprocess.run(["git", "describe", "--always", "--dirty"], capture_output=True, text=True, check=False)
    return {"processor": cpu[1] if cpu else "unknown", "cores": os.cpu_count(), "kernel": os.uname().release,
            "commit": source.stdout.strip() or "unknown",
            "date": datetime.datetime.now().isoformat(timespec="seconds"), "load before": os.getloadavg()[0]}


def write_results(build, facts, measurements):
    goals, ratios = goal_rows(measurements), ratio_rows(measurements)
    text = ", ".join(f"{name}: {value}" for name, value in facts.items()) + "\n\n" + table(goals, ratios, measurements)
    (build / "results.md").write_text(text + "\n")
    plain = [{key: value for key, value in row.items() if key != "measurement"} for row in goals + ratios]
    samples = {key: {"unit": measured.unit, "samples": measured.samples} for key, measured in measurements.items()}
    (build / "results.json").write_text(
        json.dumps({"machine": facts, "rows": plain, "measurements": samples}, indent=1) + "\n")
    print(text)


def main():
    parser = argparse.ArgumentParser()
    parser.add_argument("build")
    parser.add_argument("filter", nargs="?", default="")
    parser.add_argument("--quick", action="store_true")
    parser.add_argument("--before")
    options = parser.parse_intermixed_args()
    try:
        re.compile(options.filter)
    except re.error as error:
        parser.error(f"FILTER {options.filter}: {error}")
    run = Run(options)
    facts = machine()
    run.all()
    if not run.measurements and not run.failures:
        sys.exit(f"benchmarks/report.py: nothing is called {options.filter}")
    facts["load after"] = os.getloadavg()[0]
    facts["stolen from a case, at most"] = f"{100 * run.stolen:.1f} %"
    write_results(run.build, facts, run.measurements)
    if run.failures:
        sys.exit("\n".join(f"benchmarks/report.py: {failure}" for failure in run.failures))


if __name__ == "__main__":
    main()
