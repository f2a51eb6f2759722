"""The README's example must run as written: it is what a new user copies first."""
import os
import re
import tempfile
import unittest

import scenario

README = os.path.join(os.path.dirname(__file__), "..", "README.md")


class ReadmeExample(unittest.TestCase):
    def test_the_example_runs_as_written(self):
        with open(README, encoding="utf-8") as file:
            example = re.search(r"```python\n(.*?)```", file.read(), re.DOTALL).group(1)
        with tempfile.TemporaryDirectory() as folder:
            path = os.path.join(folder, "example.py")
            with open(path, "w", encoding="utf-8") as file:
                file.write(example)
            outcome = scenario.run(self, "readme", script=path, timeout=30)
        self.assertEqual(outcome.returncode, 0, outcome.explain())
        self.assertEqual(outcome.stderr, "", outcome.explain())
        lines = outcome.stdout.splitlines()
        self.assertEqual(len(lines), 3, outcome.explain())
        self.assertIn('"message":"SDK version retrieved"', lines[0])
        self.assertIn("'code': 422, 'message': 'Missing required parameter: appId'", lines[1])
        self.assertIn("'event': 'onConversionDataSuccess'", lines[2])
        self.assertIn("'campaign': 'spring'", lines[2])


if __name__ == "__main__":
    unittest.main()
