import re
import unittest

import scenario

# asyncio's own notice about tasks a host abandoned in a loop it never closed; anything
# else on standard error (a traceback, "Exception ignored", a fatal error) is a fault.
ABANDONED_TASK = re.compile(r"^(Task was destroyed but it is pending!|task: <Task pending .*>)$")

# Each ending runs several times: what goes wrong at exit is a race.
RUNS = 3
WAYS = ["return", "system-exit", "loop-open", "loop-closed", "daemon-thread"]


class ExitInFlight(unittest.TestCase):
    def test_the_process_exits_cleanly_with_requests_in_flight(self):
        for way in WAYS:
            for run in range(RUNS):
                with self.subTest(way=way, run=run):
                    # The time limit is the hang check: exit waits half a second at most for
                    # the library, far below it.
                    outcome = scenario.run(self, "exit_in_flight", way, timeout=20)
                    self.assertEqual(outcome.returncode, 0, outcome.explain())
                    self.assertEqual(outcome.report, {"ok": True}, outcome.explain())
                    unexpected = [line for line in outcome.stderr.splitlines() if not ABANDONED_TASK.match(line)]
                    self.assertEqual(unexpected, [], outcome.explain())


if __name__ == "__main__":
    unittest.main()
