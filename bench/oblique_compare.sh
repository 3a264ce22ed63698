#!/usr/bin/env bash
# The oblique Mollweide map against PROJ. GMT has no oblique Mollweide, so
# the peer picture is GMT's own GSHHG shorelines with every point projected
# by PROJ (cs2cs, +proj=ob_tran +o_proj=moll, axes turned as Kestrel turns
# them) and drawn by matplotlib (tools/oblique_reference.py).
# For each centre it writes, in the work folder:
#   kestrel_C.png/.ps  kestrel map -p oblique -C C/0 with land, coastlines and
#                      the stations of the GO-SHIP P18 and WCOA 2013 tables
#   proj_C.png         PROJ's picture of the same
#   overlay_C.png      PROJ's shorelines (blue) and stations (cyan rings) drawn
#                      over Kestrel's picture, placed by the map's user system
#                      of Kestrel's PostScript: blue on black, rings round red
# and prints Kestrel's wall time per picture (best of 3) beside GMT's for a
# world Mollweide of the same shorelines (its nearest projection).
# Usage: bench/oblique_compare.sh <build folder with bin/kestrel> [work folder] [centres...]
# Needs proj-bin, python3-matplotlib, python3-pil, gmt and gmt-gshhg-low.
set -euo pipefail
here="$(cd "$(dirname "$0")/.." && pwd)"
kestrel="$(cd "${1:-build/release}" && pwd)/bin/kestrel"
work="${2:-$(mktemp -d)}"
shift $(( $# > 2 ? 2 : $# ))
centres=("$@")
[ ${#centres[@]} -gt 0 ] || centres=(0 -110 -55 20 160)
data="${KESTREL_TEST_DATA:-$here/../shared/data}"
mkdir -p "$work"
cd "$work"
py=python3
if [ -x /usr/bin/python3 ]; then py=/usr/bin/python3; fi
[ -s coast_l.cst ] || "$py" "$here/tools/gshhg_to_cst.py" -r l coast_l.cst

# One "lon lat" line per station position of the sample tables.
if [ ! -s stations.txt ]; then
  for t in "$data/samples/go-ship_p18_2016.tsv" "$data/samples/wcoa2013.tsv"; do
    [ -s "$t" ] || continue
    awk -F'\t' 'NR == 1 { for (i = 1; i <= NF; i++) { if ($i ~ /^Longitude/) lo = i; if ($i ~ /^Latitude/) la = i }; next }
                $lo != "" && $la != "" && !seen[$lo " " $la]++ { print $lo, $la }' "$t"
  done > stations.txt
fi
echo "stations: $(wc -l < stations.txt) positions"

. "$here/bench/timing.sh"

for c in "${centres[@]}"; do
  args=(map -p oblique -C "$c/0" --coast coast_l.cst --stations stations.txt --title "Oblique Mollweide, centre $c" -o "kestrel_$c")
  "$kestrel" "${args[@]}" | grep -v wrote
  printf "  kestrel oblique, centre %-5s %s s\n" "$c" "$(best "$kestrel" "${args[@]}")"
  "$py" "$here/tools/oblique_reference.py" --centre "$c" --stations stations.txt -o "proj_$c.png" >/dev/null
  "$py" "$here/tools/oblique_reference.py" --centre "$c" --stations stations.txt \
    --overlay "kestrel_$c.png" --ps "kestrel_$c.ps" -o "overlay_$c.png" >/dev/null
done
printf "  %-34s %s s\n" "GMT Mollweide world (gmt coast -Dl)" \
  "$(best gmt coast -Rg -JW0/20c -Dl -A0/1/1 -Ggray82 -W0.1p -Bafg -ps gmt_mollweide)"
echo "pictures in $work"
