#!/usr/bin/env bash
# Builds the addon outside the source tree, for CTest and other out-of-tree builds:
#   scripts/build.sh OUT_DIR      ->  OUT_DIR/build/Release/lumetra_rpc_node.node
# npm ci runs only when package-lock.json changed; node-gyp compiles against the installed
# Node headers (--nodedir, default /usr: Debian's and NodeSource's packages put them in
# /usr/include/node), so it never downloads any.
set -euo pipefail
kit="$(cd "$(dirname "$0")/.." && pwd)"
out="${1:?usage: $0 OUT_DIR}"
mkdir -p "$out"
include="$(cd "$kit/../../include" && pwd)"

if [ ! -d "$out/node_modules" ] || ! cmp -s "$kit/package-lock.json" "$out/package-lock.json"; then
  cp "$kit/package.json" "$kit/package-lock.json" "$out/"
  (cd "$out" && npm ci --ignore-scripts --no-audit --no-fund)
fi
# Times kept, so make rebuilds only what changed.
cp -p "$kit/binding.gyp" "$out/"
mkdir -p "$out/src"
cp -p "$kit"/src/* "$out/src/"
cd "$out"
[ -f build/Makefile ] && [ build/config.gypi -nt binding.gyp ] ||
  node node_modules/node-gyp/bin/node-gyp.js configure --nodedir="${LMRPC_NODEDIR:-/usr}" --lmrpc_include="$include"
node node_modules/node-gyp/bin/node-gyp.js build --nodedir="${LMRPC_NODEDIR:-/usr}" -j 2
