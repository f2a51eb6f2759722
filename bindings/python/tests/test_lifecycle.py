import os
import re
import unittest

import scenario


class ConfigureRefused(unittest.TestCase):
    def test_refusals_carry_the_library_reason(self):
        steps = scenario.report_of(self, "configure_refused")["steps"]
        self.assertEqual(steps["unknown member"]["type"], "ConfigurationError")
        self.assertEqual(steps["unknown member"]["status"], 2)
        self.assertIn('unknown member "bogus"', steps["unknown member"]["reason"])
        self.assertIn(steps["unknown member"]["reason"], steps["unknown member"]["message"])
        self.assertEqual(steps["not JSON"]["type"], "ConfigurationError")
        self.assertNotEqual(steps["not JSON"]["reason"], "")
        # Would leave every answer undelivered; refused before the library sees it, so the
        # next settings still apply.
        self.assertEqual(steps["host-driven"]["type"], "ConfigurationError")
        self.assertIn("mainExecutor", steps["host-driven"]["reason"])
        self.assertEqual(steps["accepted"], {"accepted": True})
        self.assertEqual(steps["after start"]["type"], "AlreadyRunning")
        self.assertEqual(steps["after start"]["status"], 1)


class Locate(unittest.TestCase):
    def test_an_explicit_path_wins_and_a_missing_one_is_named(self):
        real = os.environ.get("LMRPC_LIBRARY")
        if not real:
            self.skipTest("LMRPC_LIBRARY is not set")
        missing = "/nonexistent/liblumetra_rpc.so"
        report = scenario.report_of(self, "locate", env={"LMRPC_LIBRARY": missing, "REAL_LIBRARY": real})
        self.assertEqual(report["from environment"]["type"], "LibraryNotFound")
        self.assertIn(missing, report["from environment"]["message"])
        self.assertIn("LMRPC_LIBRARY", report["from environment"]["message"])
        self.assertTrue(report["explicit"])
        self.assertIn("already loaded", report["second path"]["message"])
        self.assertRegex(report["version"], re.compile(r"^\d+\.\d+\.\d+$"))


if __name__ == "__main__":
    unittest.main()
