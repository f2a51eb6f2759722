#!/usr/bin/env python3
"""Writes the seed corpus and the libFuzzer dictionary for valid_request_fuzz.

    python3 fuzz/make_seeds.py OUT_DIR    ->  OUT_DIR/seeds/ and OUT_DIR/requests.dict

Seeds are the requests of tests/data/parsing_cases.json (valid ones for every method, and
the refused ones), written compactly with an id. The dictionary holds the method names of
the method table and every member name and short string those requests use.
"""
import json
import pathlib
import re
import sys

ROOT = pathlib.Path(__file__).resolve().parent.parent


def compact(value):
    return json.dumps(value, separators=(",", ":"), ensure_ascii=False)


def dictionary_entry(token):
    escaped = ""
    for byte in token.encode("utf-8"):
        char = chr(byte)
        if char in '"\\':
            escaped += "\\" + char
        elif 0x20 <= byte < 0x7F:
            escaped += char
        else:
            escaped += "\\x%02X" % byte
    return '"%s"' % escaped


def collect(value, tokens):
    if isinstance(value, dict):
        for key, item in value.items():
            tokens.add(compact(key))
            collect(item, tokens)
    elif isinstance(value, list):
        for item in value:
            collect(item, tokens)
    elif isinstance(value, str) and len(value) <= 40:
        tokens.add(compact(value))


def main():
    out = pathlib.Path(sys.argv[1])
    methods = re.findall(r'^\s*\{"(\w+)",', (ROOT / "src/parsing/method_table.cpp").read_text(), re.M)
    cases = json.loads((ROOT / "tests/data/parsing_cases.json").read_text())
    valid = {c["request"]["method"] for c in cases if c.get("ok") and isinstance(c["request"], dict)}
    missing = set(methods) - valid
    if len(methods) != 55 or missing:
        sys.exit("make_seeds: method table and parsing cases disagree: %s" % sorted(missing))

    seeds = out / "seeds"
    seeds.mkdir(parents=True, exist_ok=True)
    tokens = {compact(m) for m in methods} | {"true", "false", "null", "{}", "[]", "1e400", "-1", "0.5"}
    for index, case in enumerate(cases):
        request = case["request"]
        if isinstance(request, dict):
            request = {"id": index, **request}
            collect(request, tokens)
            request = compact(request)
        (seeds / ("case%03d.json" % index)).write_text(request, encoding="utf-8")
    entries = sorted(dictionary_entry(t) for t in tokens)
    (out / "requests.dict").write_text("\n".join(entries) + "\n", encoding="utf-8")
    print("make_seeds: %d seeds, %d dictionary entries" % (len(cases), len(entries)))


if __name__ == "__main__":
    main()
