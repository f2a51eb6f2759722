"""The kit's named numbers must be the header's: a host compares responses against them."""
import os
import re
import unittest

import lumetra_rpc

HEADER = os.path.join(os.path.dirname(__file__), "..", "..", "..", "include", "lumetra_rpc", "lumetra_rpc.h")


class CodesMatchTheHeader(unittest.TestCase):
    def test_every_define_has_the_same_value_here(self):
        if not os.path.exists(HEADER):
            self.skipTest("not in a source tree")
        with open(HEADER, encoding="utf-8") as file:
            defines = dict(re.findall(r"^#define LMRPC_(\w+) (\d+)", file.read(), re.MULTILINE))
        self.assertGreaterEqual(len(defines), 10)
        for name, value in defines.items():
            with self.subTest(name):
                self.assertEqual(int(getattr(lumetra_rpc, name)), int(value))


if __name__ == "__main__":
    unittest.main()
