#!/usr/bin/env bash
# Peer comparison with GMT (Debian package gmt) on the workloads of bench/oa.cpp:
# the same points, the same nodes, RMSE against the same analytic fields.
#   nearneighbor: averaging within a search radius (two radii each);
#   blockmean + surface: block averages, then a continuous-curvature spline.
# Kestrel's averaging estimates on the same regular nodes come from the
# benchmark's dump (its times from the benchmark itself). Every method is
# scored on all the nodes it fills, and each Kestrel grid once more against
# each GMT grid on the nodes both fill.
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

# Gridline registration, exactly 400 x 200 and 1000 x 1300 nodes: node k at
# min + (max - min) k / (n - 1), as in the benchmark.
# (Increments rather than -I<n>+n: surface of GMT 6.4 misreads the latter.)
R_section=-R0/6000/0/5500; I_section=-I$(echo "6000/399" | bc -l)/$(echo "5500/199" | bc -l)
R_map=-R0/100/-65/65;      I_map=-I$(echo "100/999" | bc -l)/$(echo "130/1299" | bc -l)
truth_section="2 Y 400 DIV NEG EXP 18 MUL X 3000 SUB 250 DIV TANH 0.25 MUL 0.75 ADD MUL ADD"
truth_map="10 X 0.05 MUL SIN 8 MUL Y 0.04 MUL COS MUL ADD Y 20 SUB 6 DIV TANH 3 MUL ADD"

rms() { gmt grdinfo -L2 -C "$1" | awk '{print $(NF-2)}'; }
filled() {  # fraction of nodes that are not NaN
  local nan total
  nan=$(gmt grdinfo -M -C "$1" | awk '{print $(NF-2)}')
  total=$(gmt grdinfo -C "$1" | awk '{print $10*$11}')
  echo "1 - $nan/$total" | bc -l
}

score() {  # grid workload method times
  local grid=$1 w=$2 method=$3 t=$4
  gmt grdmath "$grid" truth_$w.nc SUB = diff.nc
  printf "%-32s %-8s %s  rmse=%s  filled=%.5f\n" "$method" "$w" "$t" "$(rms diff.nc)" "$(filled diff.nc)"
}

common() {  # kestrel-grid gmt-grid workload label: both on the nodes both fill
  gmt grdmath "$1" 0 MUL "$2" 0 MUL ADD = mask.nc
  gmt grdmath "$1" mask.nc ADD truth_$3.nc SUB = dk.nc
  gmt grdmath "$2" mask.nc ADD truth_$3.nc SUB = dg.nc
  printf "  common nodes with %-24s filled=%.5f  kestrel rmse=%s  gmt rmse=%s\n" "$4" "$(filled dk.nc)" \
    "$(rms dk.nc)" "$(rms dg.nc)"
}

timed() {  # prints "wall s user s" of the command
  /usr/bin/time -f "%e %U" "$@" 2>&1 >/dev/null | tail -1 | awk '{printf "wall=%6.2fs user=%6.2fs", $1, $2}'
}

for w in section map; do
  eval R=\$R_$w; eval I=\$I_$w; eval truth=\$truth_$w
  gmt grdmath $R $I $truth = truth_$w.nc
  if [ $w = section ]; then radii="150 300"; setups="adapted"; else radii="1 2"; setups="adapted even"; fi
  gmt_grids=()
  for s in $radii; do
    t=$(timed gmt nearneighbor $w.bin -bi3d $R $I -S$s -N4/2 -Gnn${s}_$w.nc)
    score nn${s}_$w.nc $w "nearneighbor -S$s -N4/2" "$t"
    gmt_grids+=("nn${s}_$w.nc:nearneighbor -S$s")
  done
  t=$( { /usr/bin/time -f "%e %U" sh -c "gmt blockmean $w.bin -bi3d -bo3d $R $I > bm_$w.bin && gmt surface bm_$w.bin -bi3d $R $I -T0.25 -Gsf_$w.nc" ; } 2>&1 >/dev/null | tail -1 | awk '{printf "wall=%6.2fs user=%6.2fs", $1, $2}')
  score sf_$w.nc $w "blockmean + surface -T0.25" "$t"
  gmt_grids+=("sf_$w.nc:blockmean + surface")
  for u in $setups; do
    gmt xyz2grd ${w}_$u.f32 -ZBLf $R $I -Gk_${w}_$u.nc
    score k_${w}_$u.nc $w "kestrel averaging ($u)" "(time: bench_oa)"
    for g in "${gmt_grids[@]}"; do common k_${w}_$u.nc "${g%%:*}" $w "${g#*:}"; done
  done
done
