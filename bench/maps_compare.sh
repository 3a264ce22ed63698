#!/usr/bin/env bash
# Coastline drawing against GMT (Debian gmt, gmt-gshhg-full or -high): the
# same GSHHG shorelines, land filled and shoreline stroked, frame with
# graticule, on a world Mollweide map and on the orthographic hemisphere
# centred 30 W 20 N, written as PostScript; Kestrel also to its canvas.
# Usage: bench/maps_compare.sh <build folder with bin/bench_maps> [resolution f|h|i|l] [work folder]
# Makes the coastline file with tools/gshhg_to_cst.py when it is not in the
# work folder yet (Python 3 with numpy), then prints GMT's times (best of 3)
# and runs bench_maps on that file.
set -euo pipefail
here="$(cd "$(dirname "$0")/.." && pwd)"
bin="$(cd "${1:-build/release}" && pwd)/bin/bench_maps"
res="${2:-f}"
work="${3:-$(mktemp -d)}"
mkdir -p "$work"
cd "$work"
py=python3
if [ -x /usr/bin/python3 ] && /usr/bin/python3 -c "import numpy" 2>/dev/null; then py=/usr/bin/python3; fi
coast="coast_$res.cst"
if [ ! -s "$coast" ]; then
  # Land alone, as GMT draws it below with -A0/1/1.
  /usr/bin/time -f "converter: %e s wall" "$py" "$here/tools/gshhg_to_cst.py" -r "$res" --no-lakes "$coast"
fi

. "$here/bench/timing.sh"

echo "GMT $(gmt --version), gmt coast -D$res, PostScript, best of 3 (wall seconds):"
printf "  %-34s %s\n" "Mollweide world" \
  "$(best gmt coast -Rg -JW0/46c -D$res -A0/1/1 -Ggray60 -W0.1p -Bafg -ps gmt_mollweide)"
printf "  %-34s %s\n" "orthographic 30W 20N" \
  "$(best gmt coast -Rg -JG-30/20/36c -D$res -A0/1/1 -Ggray60 -W0.1p -Bafg -ps gmt_ortho)"
echo "Kestrel ($coast):"
KESTREL_BENCH_COAST="$work/$coast" KESTREL_BENCH_DIR="$work" "$bin"
