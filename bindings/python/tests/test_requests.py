import json
import os
import unittest

import scenario

TABLE = os.path.join(os.path.dirname(__file__), "data", "requests.json")


def contains(whole, part):
    """Whether `whole` has every member of `part`, recursively (other members may exist)."""
    if isinstance(part, dict):
        return isinstance(whole, dict) and all(k in whole and contains(whole[k], v) for k, v in part.items())
    return whole == part


class Requests(unittest.TestCase):
    @classmethod
    def setUpClass(cls):
        with open(TABLE, encoding="utf-8") as file:
            cls.cases = json.load(file)["cases"]
        cls.report = scenario.report_of(unittest.TestCase(), "requests")

    def test_each_request_gets_its_answer(self):
        for case in self.cases:
            with self.subTest(case["name"]):
                answer = self.report["answers"][case["name"]]
                self.assertTrue(contains(answer, case["expect"]), answer)
                if "messageStartsWith" in case:
                    self.assertTrue(answer["error"]["message"].startswith(case["messageStartsWith"]), answer)

    def test_concurrent_answers_reach_the_request_that_asked(self):
        crowd = self.report["crowd"]
        self.assertEqual(len(crowd), 500)
        for sent, answered_id, echoed_name in crowd:
            self.assertEqual((answered_id, echoed_name), (sent, sent))

    def test_two_loops_on_two_threads_each_get_their_own_answers(self):
        rows = self.report["two loops"]
        self.assertEqual(len(rows), 1000)
        self.assertEqual({row[0].split("-")[0] for row in rows}, {"here", "thread"})
        for sent, answered_id, on_its_loop in rows:
            self.assertEqual((answered_id, on_its_loop), (sent, True))

    def test_call_returns_the_parsed_response(self):
        self.assertEqual(self.report["call"]["id"], "by-call")
        self.assertEqual(self.report["call"]["result"]["data"], {"version": "6.5.4"})

    def test_no_request_stays_registered(self):
        self.assertEqual(self.report["pending"], 0)
        self.assertEqual(self.report["pending after a cancelled wait"], 0)


if __name__ == "__main__":
    unittest.main()
