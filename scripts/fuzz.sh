#!/usr/bin/env bash
# Long fuzzing runs: builds the fuzz preset (clang, libFuzzer, address and
# undefined-behaviour sanitizers) and runs each target for a while on a
# working corpus in build/fuzz-corpus/<target> (seeded from tests/fuzz/corpus
# and tests/fuzz/regressions). Crashing inputs land in build/fuzz-corpus as
# crash-*: add them to tests/fuzz/regressions/<target>/, where every build
# replays them. New corpus inputs worth keeping go to tests/fuzz/corpus/.
# Usage: scripts/fuzz.sh [seconds per target, default 600] [target ...]
set -euo pipefail
cd "$(dirname "$0")/.."
secs="${1:-600}"
shift || true
cmake --preset fuzz >/dev/null
cmake --build --preset fuzz -j "$(nproc 2>/dev/null || echo 2)" >/dev/null
targets=("$@")
if [ ${#targets[@]} -eq 0 ]; then
  for f in tests/fuzz/fuzz_*.cpp; do t=$(basename "$f" .cpp); targets+=("${t#fuzz_}"); done
fi
for t in "${targets[@]}"; do
  work="build/fuzz-corpus/$t"
  mkdir -p "$work"
  cp -n tests/fuzz/corpus/"$t"/* tests/fuzz/regressions/"$t"/* "$work"/ 2>/dev/null || true
  dict=()
  [ -f "tests/fuzz/dict/$t.dict" ] && dict=(-dict="tests/fuzz/dict/$t.dict")
  echo "=== $t for ${secs}s"
  ASAN_OPTIONS=detect_leaks=1 ./build/fuzz/bin/fuzz_"$t" -max_total_time="$secs" -max_len=8192 -rss_limit_mb=2048 \
      -timeout=10 -print_final_stats=1 -artifact_prefix="build/fuzz-corpus/$t-" "${dict[@]}" "$work" 2>&1 |
    grep -E "^(stat::number_of_executed_units|stat::peak_rss|==.*ERROR|SUMMARY|artifact)" || true
  echo "corpus: $(ls "$work" | wc -l) inputs"
done
