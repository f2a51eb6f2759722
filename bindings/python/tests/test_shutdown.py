import unittest

import scenario


class ShutdownInFlight(unittest.TestCase):
    def test_every_waiting_request_is_answered_and_later_ones_fail_at_once(self):
        report = scenario.report_of(self, "shutdown_in_flight")
        self.assertEqual(report["quick"], [True] * 20)
        self.assertTrue(report["finished"])
        self.assertEqual(len(report["stuck"]), 20)
        for answer in report["stuck"]:
            self.assertEqual(answer, {"error": {"code": 503, "message": "Library is shutting down"},
                                      "id": None, "result": None})
        self.assertEqual(report["late"]["type"], "LibraryStopped")
        self.assertEqual(report["pending"], 0)


if __name__ == "__main__":
    unittest.main()
