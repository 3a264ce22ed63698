#!/usr/bin/env bash
# The README's section pictures beside GMT's for the same data, timed in one
# run. For each section: kestrel section with its defaults (PNG, GIF,
# PostScript, and PDF and SVG too), and the GMT pipeline a user would type
# (blockmean, surface, a mask below the data, grdimage, grdcontour with
# labels, basemap, colour bar), both as wall seconds over five runs. The
# pictures go side by side into compare_<name>.png for a person to look at.
# Usage: bench/section_compare.sh <build folder with bin/kestrel> [work folder]
set -euo pipefail
kestrel="$(cd "${1:-build/release}" && pwd)/bin/kestrel"
data="$(cd "$(dirname "$0")/../../shared/data/samples" && pwd)"
work="${2:-$(mktemp -d)}"
mkdir -p "$work"
cd "$work"

seconds() {  # the median wall time of five runs of the command, in seconds
  local t=()
  for _ in 1 2 3 4 5; do
    local s e
    s=$(date +%s.%N); "$@" >/dev/null 2>&1; e=$(date +%s.%N)
    t+=("$(echo "$e - $s" | bc -l)")
  done
  printf "%s\n" "${t[@]}" | sort -n | sed -n 3p
}

# name | table | filter column=value (or empty) | x | y | value | GMT contour step
sections=(
  "p18_temperature|go-ship_p18_2016.tsv||Latitude|Depth|Temperature|2"
  "p18_oxygen|go-ship_p18_2016.tsv||Latitude|Depth|Oxygen|20"
  "wcoa_line2|wcoa2013.tsv|Line=2|Longitude|Depth|Temperature|0.5"
)

gmtSection() {  # name x y value filter table step
  local name=$1 x=$2 y=$3 v=$4 filter=$5 table=$6 step=$7
  awk -F'\t' -v X="$x" -v Y="$y" -v V="$v" -v FC="${filter%%=*}" -v FV="${filter#*=}" '
    NR == 1 { for (i = 1; i <= NF; i++) { n = $i; sub(/ \[.*/, "", n); c[n] = i }; next }
    FC != "" && $c[FC] != FV { next }
    $c[X] != "" && $c[Y] != "" && $c[V] != "" { print $c[X], $c[Y], $c[V] }' "$data/$table" > "$name.xyz"
  local R
  R=$(gmt info -I0.1/10 "$name.xyz")
  gmt begin "gmt_$name" png
    gmt blockmean "$name.xyz" $R -I0.25/25 > "$name.bm"
    gmt surface "$name.bm" $R -I0.25/25 -T0.25 -G"$name.nc"
    gmt grdimage "$name.nc" -JX17c/-12c -Cviridis
    gmt grdcontour "$name.nc" -C"$step" -A"$(echo "$step * 2" | bc -l)" -Wthin
    gmt basemap -Bxaf+l"$x" -Byaf+l"$y" -BWSne+t"$v"
    gmt colorbar -DJRM+o0.5c/0+w12c/0.4c -Bxaf
  gmt end
}

printf "%-18s %12s %12s %8s\n" section kestrel_s gmt_s ratio
for s in "${sections[@]}"; do
  IFS='|' read -r name table filter x y v step <<< "$s"
  extra=()
  [ -n "$filter" ] && extra=(--where "$filter")
  k=$(seconds "$kestrel" section "$data/$table" --x "$x" --y "$y" --value "$v" "${extra[@]}" -q \
        --formats png,gif,ps,pdf,svg -o "kestrel_$name")
  # GMT reads the filtered three columns; the filter itself is not timed.
  gmtSection "$name" "$x" "$y" "$v" "$filter" "$table" "$step" >/dev/null 2>&1 || true
  g=$(seconds gmtSection "$name" "$x" "$y" "$v" "$filter" "$table" "$step")
  printf "%-18s %12.3f %12.3f %8.1f\n" "$name" "$k" "$g" "$(echo "$g / $k" | bc -l)"
  if command -v python3 >/dev/null; then
    "${PYTHON:-/usr/bin/python3}" - "$name" <<'EOF' || true
import sys
from PIL import Image
n = sys.argv[1]
a = Image.open(f"kestrel_{n}.png").convert("RGB")
b = Image.open(f"gmt_{n}.png").convert("RGB")
b = b.resize((int(b.width * a.height / b.height), a.height))
w = Image.new("RGB", (a.width + b.width, a.height), "white")
w.paste(a, (0, 0)); w.paste(b, (a.width, 0)); w.save(f"compare_{n}.png")
EOF
  fi
done
echo "pictures in $work"
