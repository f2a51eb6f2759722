"""Runs one scenario in a fresh interpreter under a time limit. The library is a
process-wide singleton (configured once, shut down for good), so each configuration
needs a process of its own."""
import json
import os
import subprocess
import sys
import time

HERE = os.path.dirname(os.path.abspath(__file__))
KIT = os.path.dirname(HERE)


class Outcome:
    def __init__(self, done, seconds):
        self.returncode = done.returncode
        self.stdout = done.stdout
        self.stderr = done.stderr
        self.seconds = seconds
        lines = [line for line in done.stdout.splitlines() if line.startswith("REPORT ")]
        self.report = json.loads(lines[-1][len("REPORT "):]) if lines else None

    def explain(self):
        return "exit %s after %.1f s\nstdout:\n%s\nstderr:\n%s" % (self.returncode, self.seconds,
                                                                    self.stdout[-4000:], self.stderr[-4000:])


def run(test, name, *args, timeout=60, env=None, script=None):
    environment = dict(os.environ)
    environment["PYTHONPATH"] = KIT + os.pathsep + environment.get("PYTHONPATH", "")
    environment.update(env or {})
    command = [sys.executable, script or os.path.join(HERE, "scenarios", name + ".py"), *args]
    started = time.monotonic()
    try:
        done = subprocess.run(command, capture_output=True, text=True, timeout=timeout, env=environment)
    except subprocess.TimeoutExpired as expired:
        test.fail("scenario %s %s hung (over %d s); output so far:\n%s" % (name, args, timeout, expired.stdout))
    return Outcome(done, time.monotonic() - started)


def report_of(test, name, *args, **options):
    """Runs a scenario that must end well and returns its report."""
    outcome = run(test, name, *args, **options)
    test.assertEqual(outcome.returncode, 0, outcome.explain())
    test.assertIsNotNone(outcome.report, outcome.explain())
    return outcome.report
