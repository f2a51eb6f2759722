"""Runs one host scenario several times, each under a time limit, and fails on the first
run that crashes, hangs, exits non-zero or does not say "ok"."""
import subprocess
import sys

runs, timeout = int(sys.argv[1]), float(sys.argv[2])
command = sys.argv[3:]
for run in range(runs):
    try:
        done = subprocess.run(command, capture_output=True, text=True, timeout=timeout)
    except subprocess.TimeoutExpired:
        sys.exit("run %d of %d hung: %s" % (run + 1, runs, " ".join(command)))
    if done.returncode != 0 or "ok:" not in done.stdout:
        sys.exit("run %d of %d failed (exit %d):\n%s%s" % (run + 1, runs, done.returncode, done.stdout, done.stderr))
print("%d passed, 0 failed" % runs)
