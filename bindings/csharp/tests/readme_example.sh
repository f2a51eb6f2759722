#!/bin/sh
# Compiles and runs the example of bindings/csharp/README.md as it stands there, so that the
# example cannot drift from the kit.  Usage: readme_example.sh MCS MONO WORKDIR
set -eu
mcs=$1 mono=$2 work=$3
kit=$(cd "$(dirname "$0")/.." && pwd)
mkdir -p "$work"
awk '/^```csharp$/ {inside = 1; next} /^```$/ {inside = 0} inside' "$kit/README.md" > "$work/example.cs"
"$mcs" -nologo -warnaserror -out:"$work/example.exe" "$work/example.cs" "$kit/LumetraRpc.cs"
"$mono" "$work/example.exe" > "$work/output.txt"
cat "$work/output.txt"
for expected in \
    '{"error":null,"id":1,"result":{"message":"Conversion listener registered","success":true}}' \
    '"id":2,"result":{' \
    '{"error":{"code":422,"message":"Missing required parameter: devKey"},"id":3,"result":null}' \
    'event: {"data":{"campaign":"spring"},"event":"onConversionDataSuccess"'; do
  grep -qF "$expected" "$work/output.txt" || { echo "missing from the output: $expected"; exit 1; }
done
echo "ok: the README example ran as written"
