"""Checks that docs/openrpc.json holds, as a JSON value, what `lumetra-rpc --openrpc` prints.

usage: check_document.py LUMETRA_RPC DOCUMENT
"""

import json
import subprocess
import sys

REGENERATE = "lumetra-rpc --openrpc | python3 -m json.tool --indent 2 > docs/openrpc.json"


def main(tool, document_path):
    run = subprocess.run([tool, "--openrpc"], capture_output=True, text=True, timeout=60)
    if run.returncode != 0:
        print(f"{tool} --openrpc failed ({run.returncode}): {run.stderr}", file=sys.stderr)
        return 1
    printed = json.loads(run.stdout)
    with open(document_path, encoding="utf-8") as file:
        committed = json.load(file)
    if printed != committed:
        print(f"{document_path} differs from what the tool prints; regenerate it from the "
              f"built tool:\n  {REGENERATE}", file=sys.stderr)
        return 1
    print(f"{document_path} matches: {len(printed['methods'])} methods")
    return 0


if __name__ == "__main__":
    sys.exit(main(*sys.argv[1:]))
