#!/usr/bin/env bash
# Builds the libFuzzer targets of the analysis-file readers with clang
# (-fsanitize=fuzzer,address) from the library sources, and runs each for a
# while. Needs Debian clang and libclang-rt-14-dev (or the runtime of the
# installed clang).
# Usage: scripts/fuzz.sh [seconds per target, default 180] [kinds: oai oag oao oal]
# Crashing inputs land in build/fuzz/crash-*; copy them to
# tests/fuzz/regressions/<kind>/ so that the grid tests replay them.
set -euo pipefail
cd "$(dirname "$0")/.."
secs="${1:-180}"
shift || true
kinds=("$@")
if [ ${#kinds[@]} -eq 0 ]; then kinds=(oai oag oao oal); fi
out=build/fuzz
mkdir -p "$out"
srcs=$(ls frame/*.cpp plot/*.cpp grid/*.cpp numerics/*.cpp util/*.cpp platform/posix/*.cpp \
       contour/*.cpp maps/*.cpp ocean/*.cpp interactive/*.cpp 2>/dev/null || true)
flags="-std=c++17 -O1 -g -fsanitize=fuzzer,address,undefined -DKESTREL_BUILD -Iinclude -I. $(pkg-config --cflags cairo cairo-ft fontconfig freetype2)"
libs="$(pkg-config --libs cairo cairo-ft fontconfig freetype2) -lm"
# The library once, as objects without the fuzzer main.
objflags="${flags/-fsanitize=fuzzer,/-fsanitize=fuzzer-no-link,}"
objs=()
for s in $srcs; do
  o="$out/obj/${s//\//_}.o"
  mkdir -p "$out/obj"
  if [ ! -f "$o" ] || [ "$s" -nt "$o" ]; then clang++ $objflags -c "$s" -o "$o"; fi
  objs+=("$o")
done
i=0
for k in oai oag oao oal; do
  clang++ $flags -DKESTREL_FUZZ_KIND=$i tests/fuzz/fuzz_readers.cpp "${objs[@]}" $libs -o "$out/fuzz_$k"
  i=$((i + 1))
done
for k in "${kinds[@]}"; do
  corpus="$out/corpus_$k"
  mkdir -p "$corpus"
  cp -n tests/fuzz/seeds/$k/* "$corpus/" 2>/dev/null || true
  cp -n tests/fuzz/regressions/$k/* "$corpus/" 2>/dev/null || true
  echo "=== fuzz_$k for ${secs}s"
  (cd "$out" && ./fuzz_$k -max_total_time="$secs" -max_len=4096 -rss_limit_mb=2048 -timeout=10 \
     -print_final_stats=1 "corpus_$k") 2>&1 | grep -E "^(#|stat::number_of_executed_units|stat::peak_rss|==|SUMMARY|artifact)" | tail -4
done
