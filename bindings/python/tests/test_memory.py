import unittest

import scenario

MIB = 1024 * 1024
# Generous for allocator noise, far below what 80,000 leaked kilobyte answers would take.
MARGIN = 20 * MIB


class MemoryFlat(unittest.TestCase):
    def test_resident_memory_stays_flat_over_100000_requests(self):
        report = scenario.report_of(self, "memory", timeout=300)
        self.assertEqual(report["answered"], 100_000)
        self.assertEqual(report["pending"], 0)
        growth = report["end"] - report["warm"]
        self.assertLess(growth, MARGIN, "grew %.1f MiB after the warm-up" % (growth / MIB))


if __name__ == "__main__":
    unittest.main()
