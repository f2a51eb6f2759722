#!/usr/bin/env python3
"""Runs lumetra-rpc over every session case under a data directory and compares output.

A case is a directory holding:
  input.jsonl     the request lines fed to stdin
  config.json     optional; passed as --sdk
  case.json       optional; {"args": [...], "exit": N, "stderr": "substring"}
  stdout.jsonl    expected stdout lines
  journal.jsonl   optional; when present the run journals and the journal must match

Responses must match exactly and in order. Events carry the time they were made, so their
timestamp is set to 0; they must all be present, but may interleave with responses and
with each other in any order, as the library allows. Journal lines must match in order.

Usage: run_sessions.py LUMETRA_RPC DATA_DIR [CASE...]
"""

import json
import os
import re
import subprocess
import sys
import tempfile

TIMESTAMP = re.compile(r'"timestamp":-?\d+')
CEILING_SECONDS = 60


def read_lines(path):
    if not os.path.exists(path):
        return None
    with open(path, encoding="utf-8") as handle:
        return [line.rstrip("\n") for line in handle if line.strip()]


def is_event(line):
    try:
        value = json.loads(line)
    except ValueError:
        return False
    return isinstance(value, dict) and "event" in value and "origin" in value


def split_output(lines):
    normalised = [TIMESTAMP.sub('"timestamp":0', line) for line in lines]
    responses = [line for line in normalised if not is_event(line)]
    events = sorted(line for line in normalised if is_event(line))
    return responses, events


def compare(label, expected, actual, problems):
    if expected == actual:
        return
    problems.append(f"{label} differ:\n  expected:\n    " + "\n    ".join(expected) +
                    "\n  actual:\n    " + "\n    ".join(actual))


def run_case(binary, case_dir):
    settings = {}
    if os.path.exists(os.path.join(case_dir, "case.json")):
        with open(os.path.join(case_dir, "case.json"), encoding="utf-8") as handle:
            settings = json.load(handle)
    args = [binary] + settings.get("args", [])
    config = os.path.join(case_dir, "config.json")
    if os.path.exists(config):
        args += ["--sdk", config]
    expected_journal = read_lines(os.path.join(case_dir, "journal.jsonl"))
    with tempfile.TemporaryDirectory() as scratch:
        journal = os.path.join(scratch, "journal.jsonl")
        if expected_journal is not None:
            args += ["--journal", journal]
        with open(os.path.join(case_dir, "input.jsonl"), "rb") as stdin:
            run = subprocess.run(args, stdin=stdin, capture_output=True, timeout=CEILING_SECONDS)
        actual_journal = read_lines(journal) or []

    problems = []
    want_exit = settings.get("exit", 0)
    if run.returncode != want_exit:
        problems.append(f"exit status {run.returncode}, expected {want_exit}")
    stderr = run.stderr.decode("utf-8", "replace")
    if "stderr" in settings and settings["stderr"] not in stderr:
        problems.append(f"stderr lacks {settings['stderr']!r}: {stderr!r}")
    stdout_lines = [line for line in run.stdout.decode("utf-8").split("\n") if line]
    expected_responses, expected_events = split_output(
        read_lines(os.path.join(case_dir, "stdout.jsonl")) or [])
    actual_responses, actual_events = split_output(stdout_lines)
    compare("responses", expected_responses, actual_responses, problems)
    compare("events", expected_events, actual_events, problems)
    if expected_journal is not None:
        compare("journal lines", expected_journal, actual_journal, problems)
    return problems, stderr


def main():
    if len(sys.argv) < 3:
        print(__doc__, file=sys.stderr)
        return 2
    binary, data_dir = sys.argv[1], sys.argv[2]
    names = sys.argv[3:] or sorted(
        entry for entry in os.listdir(data_dir) if os.path.isdir(os.path.join(data_dir, entry)))
    failures = 0
    for name in names:
        problems, stderr = run_case(binary, os.path.join(data_dir, name))
        if problems:
            failures += 1
            print(f"FAIL {name}")
            for problem in problems:
                print("  " + problem)
            if stderr:
                print("  stderr: " + stderr.strip())
        else:
            print(f"ok   {name}")
    print(f"{len(names) - failures}/{len(names)} sessions passed")
    return 1 if failures else 0


if __name__ == "__main__":
    sys.exit(main())
