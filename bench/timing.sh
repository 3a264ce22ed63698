# Shared by the comparison scripts (sourced): best wall time of runs.
best() {  # best wall time of three runs of the command
  local b=""
  for _ in 1 2 3; do
    /usr/bin/time -f "%e" -o time.txt "$@" >/dev/null 2>&1
    local t; t=$(tail -1 time.txt)
    if [ -z "$b" ] || [ "$(echo "$t < $b" | bc -l)" = 1 ]; then b=$t; fi
  done
  echo "$b"
}
