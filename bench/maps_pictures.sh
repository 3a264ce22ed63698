#!/usr/bin/env bash
# Every map picture of `kestrel map` beside GMT's picture of the same map
# (Debian gmt, gmt-gshhg-low): the README's orthographic map, the north,
# south and equatorial views, the world Mollweide, an unprojected map across
# the date line and the GO-SHIP P18 stations with names on an orthographic
# globe and on an unprojected map. Writes NAME-kestrel.png, NAME-gmt.png and
# NAME-side.png (the two side by side) into the work folder, and the wall
# time of each (best of 5) for both programs.
# Usage: bench/maps_pictures.sh [build folder with bin/kestrel] [work folder]
set -euo pipefail
here="$(cd "$(dirname "$0")/.." && pwd)"
build="$(cd "${1:-build/release}" && pwd)"
work="${2:-$(mktemp -d)}"
mkdir -p "$work"
cd "$work"
k="$build/bin/kestrel"
py=python3
if [ -x /usr/bin/python3 ] && /usr/bin/python3 -c "import numpy, PIL" 2>/dev/null; then py=/usr/bin/python3; fi
[ -s coast_l.cst ] || "$py" "$here/tools/gshhg_to_cst.py" -r l coast_l.cst
p18="${KESTREL_TEST_DATA:-$here/../shared/data}/samples/go-ship_p18_2016.tsv"
if [ -s "$p18" ]; then
  # One line per station: lon lat, and a name on every 20th.
  awk -F'\t' 'NR>1 && !seen[$1]++ {print $5, $6, ($1%20==1 ? "P18-" $1 : "")}' "$p18" > p18.txt
  awk 'NF==3 {print $1, $2, $3}' p18.txt > p18_names.txt
fi

best() {  # best wall time [s] of five runs of the command
  local b=""
  for _ in 1 2 3 4 5; do
    /usr/bin/time -f "%e" -o time.txt "$@" >/dev/null 2>&1
    local t; t=$(tail -1 time.txt)
    if [ -z "$b" ] || [ "$(echo "$t < $b" | bc -l)" = 1 ]; then b=$t; fi
  done
  echo "$b"
}

side() {  # NAME: NAME-kestrel.png and NAME-gmt.png side by side, same height
  "$py" - "$1" <<'EOF'
import sys
from PIL import Image
n = sys.argv[1]
a, b = Image.open(n + "-kestrel.png").convert("RGB"), Image.open(n + "-gmt.png").convert("RGB")
h = 800
a = a.resize((a.width * h // a.height, h)); b = b.resize((b.width * h // b.height, h))
c = Image.new("RGB", (a.width + b.width + 20, h), "white")
c.paste(a, (0, 0)); c.paste(b, (a.width + 20, 0)); c.save(n + "-side.png")
EOF
}

gmtmap() {  # NAME, then the gmt commands' arguments as one string each
  local name=$1; shift
  gmt begin "$name-gmt" png E100
  for c in "$@"; do eval "gmt $c"; done
  gmt end
}

# name | kestrel map options | GMT commands (same domain, centre and data)
run() {
  local name=$1 kopts=$2; shift 2
  eval "\"$k\" map $kopts -o $name-kestrel" >/dev/null
  gmtmap "$name" "$@"
  side "$name"
  printf "  %-12s kestrel %6s s   gmt %6s s\n" "$name" \
    "$(eval "best \"$k\" map $kopts -o t-kestrel")" \
    "$(best bash -c "cd '$work' && $(declare -f gmtmap); gmtmap t $(printf "'%s' " "$@")")"
}

coast="-Dl -Ggray82 -W0.25p,black"
echo "wall seconds, best of 5 (kestrel writes PNG, GIF and PostScript; GMT one PNG):"
run readme "-p ortho -C -30/20 --coast coast_l.cst --title 'North Atlantic'" \
  "coast -Rg -JG-30/20/16c $coast -Bafg -B+t'North Atlantic'"
run north "-p north --coast coast_l.cst" "coast -R0/360/0/90 -JG0/90/16c $coast -Bafg"
run south "-p south --coast coast_l.cst" "coast -R0/360/-90/0 -JG0/-90/16c $coast -Bafg"
run equatorial "-p equatorial --coast coast_l.cst" "coast -R-90/90/-90/90 -JG0/0/16c $coast -Bafg"
run mollweide "-p mollweide --coast coast_l.cst" "coast -Rg -JW0/22c $coast -Bafg"
run dateline "-p none -R 150/-60/-60/60 --coast coast_l.cst" "coast -R150/300/-60/60 -JQ225/0/22c $coast -Bafg"
if [ -s p18.txt ]; then
  run p18ortho "-p ortho -C -100/-20 --coast coast_l.cst --stations p18.txt --title 'P18 2016'" \
    "coast -Rg -JG-100/-20/16c $coast -Bafg -B+t'P18 2016'" "plot p18.txt -Sc0.25c -Gred" \
    "text p18_names.txt -F+f8p+jLM -D0.3c/0"
  run p18none "-p none -R -130/-70/-75/30 --coast coast_l.cst --stations p18.txt" \
    "coast -R-130/-70/-75/30 -JQ-100/-22.5/9c $coast -Bafg" "plot p18.txt -Sc0.25c -Gred" \
    "text p18_names.txt -F+f8p+jLM -D0.3c/0"
fi
echo "pictures in $work (*-side.png: Kestrel left, GMT right)"
