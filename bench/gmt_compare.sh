#!/usr/bin/env bash
# Peer comparison with GMT (Debian package gmt) on the workloads of bench/oa.cpp:
# the same points, the same grid sizes, RMSE against the same analytic fields.
#   nearneighbor: averaging within a search radius (two radii each);
#   blockmean + surface: block averages, then a continuous-curvature spline.
# Usage: bench/gmt_compare.sh <build folder with bin/bench_oa> [work folder]
# Prints: method, workload, wall and user seconds, RMSE, fraction of nodes filled.
set -euo pipefail
bin="$(cd "${1:-build/release}" && pwd)/bin/bench_oa"
work="${2:-$(mktemp -d)}"
mkdir -p "$work"
cd "$work"
KESTREL_BENCH_DUMP="$work" "$bin"
gmt convert section.xyz -bo3d > section.bin
gmt convert map.xyz -bo3d > map.bin

# Gridline registration, exactly 400 x 200 and 1000 x 1300 nodes.
R_section=-R0/6000/0/5500; I_section=-I$(echo "6000/399" | bc -l)/$(echo "5500/199" | bc -l)
R_map=-R0/100/-65/65;      I_map=-I$(echo "100/999" | bc -l)/$(echo "130/1299" | bc -l)
truth_section="2 Y 400 DIV NEG EXP 18 MUL X 3000 SUB 250 DIV TANH 0.25 MUL 0.75 ADD MUL ADD"
truth_map="10 X 0.05 MUL SIN 8 MUL Y 0.04 MUL COS MUL ADD Y 20 SUB 6 DIV TANH 3 MUL ADD"

score() {  # grid workload method seconds
  local grid=$1 w=$2 method=$3 t=$4 R I truth
  eval R=\$R_$w; eval I=\$I_$w; eval truth=\$truth_$w
  gmt grdmath $R $I $truth = truth_$w.nc
  gmt grdmath "$grid" truth_$w.nc SUB = diff.nc
  local rms nan
  rms=$(gmt grdinfo -L2 -C diff.nc | awk '{print $(NF-2)}')
  nan=$(gmt grdinfo -M -C diff.nc | awk '{print $(NF-2)}')
  local total; total=$(gmt grdinfo -C diff.nc | awk '{print $10*$11}')
  printf "%-28s %-8s %s  rmse=%s  filled=%.3f\n" "$method" "$w" "$t" "$rms" "$(echo "1 - $nan/$total" | bc -l)"
}

timed() {  # prints "wall s user s" of the command
  /usr/bin/time -f "%e %U" "$@" 2>&1 >/dev/null | tail -1 | awk '{printf "wall=%6.2fs user=%6.2fs", $1, $2}'
}

for w in section map; do
  eval R=\$R_$w; eval I=\$I_$w
  if [ $w = section ]; then radii="150 300"; else radii="1 2"; fi
  for s in $radii; do
    t=$(timed gmt nearneighbor $w.bin -bi3d $R $I -S$s -N4/2 -Gnn_$w.nc)
    score nn_$w.nc $w "nearneighbor -S$s -N4/2" "$t"
  done
  t=$( { /usr/bin/time -f "%e %U" sh -c "gmt blockmean $w.bin -bi3d -bo3d $R $I > bm_$w.bin && gmt surface bm_$w.bin -bi3d $R $I -T0.25 -Gsf_$w.nc" ; } 2>&1 >/dev/null | tail -1 | awk '{printf "wall=%6.2fs user=%6.2fs", $1, $2}')
  score sf_$w.nc $w "blockmean + surface -T0.25" "$t"
done
