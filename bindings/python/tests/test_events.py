import json
import unittest
import uuid

import scenario


class Events(unittest.TestCase):
    def test_every_open_stream_gets_the_event_and_ends_at_shutdown(self):
        campaign = "campaign-" + uuid.uuid4().hex[:8]
        report = scenario.report_of(self, "events", campaign)
        self.assertTrue(report["registered"]["result"]["success"], report)
        self.assertTrue(report["started"]["result"]["success"], report)
        self.assertIsInstance(report["text"], str)
        as_text = json.loads(report["text"])
        self.assertEqual(as_text["event"], "onConversionDataSuccess")
        self.assertEqual(as_text["data"], {"campaign": campaign})
        self.assertEqual(report["parsed"], as_text)
        self.assertTrue(report["finished"])
        # Start reports conversion data once; nothing else was pending.
        self.assertEqual(report["after"], [[], []])


if __name__ == "__main__":
    unittest.main()
