#!/usr/bin/env bash
# README command 2: set up, build and run every test.
#   native (dev preset, warnings as errors), sanitizers (asan preset),
#   every fuzz target built with libFuzzer and run briefly, its corpus and
#   regressions replayed (fuzz), Windows x86_64 under Wine (mingw64),
#   Windows i686 build and export check (mingw32).
# Usage: scripts/test-all.sh [preset ...]   (default: all five)
set -euo pipefail
cd "$(dirname "$0")/.."
bash scripts/install-deps.sh

presets=("$@")
if [ ${#presets[@]} -eq 0 ]; then presets=(dev asan fuzz mingw64 mingw32); fi
jobs=$(nproc 2>/dev/null || echo 2)

if [[ " ${presets[*]} " == *" mingw"* ]]; then
  export WINEDEBUG=-all WINEPREFIX="${WINEPREFIX:-$PWD/build/wineprefix}"
  if [ ! -d "$WINEPREFIX" ]; then
    mkdir -p "$WINEPREFIX"
    wineboot --init >/dev/null 2>&1 || true
  fi
fi

total_start=$(date +%s)
for p in "${presets[@]}"; do
  start=$(date +%s)
  echo "=== $p: configure and build"
  cmake --preset "$p" >/dev/null
  cmake --build --preset "$p" -j "$jobs"
  echo "=== $p: test"
  ctest --preset "$p" -j "$jobs"
  echo "=== $p: done in $(( $(date +%s) - start )) s"
done
echo "=== all presets passed in $(( $(date +%s) - total_start )) s"
