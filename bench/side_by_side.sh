#!/usr/bin/env bash
# The leveller and TaskJuggler 3 on the same generated portfolios.
#
#   bench/side_by_side.sh [BUILD_DIR] [WORK_DIR]
#
# For N = 1000, 5000 and 10000 tasks (SIZES; when set, even empty, it
# replaces the list), generates a portfolio into a SQLite database and the
# same plan as a .tjp (portfolio_export generate), then times, with the peak memory that /usr/bin/time -v reports:
#   - `leveler level DB PF_RUN --as-of 2025-01-06` (the generated
#     portfolio's start), and checks its schedule (portfolio_export
#     check: days over capacity, broken links, makespan);
#   - `tj3` on the .tjp, and checks its schedule from its CSV reports
#     (portfolio_export tjcheck: resource days above 8 hours, latest end).
# For N = 100000 (ALONE, likewise) the leveller alone. tj3 runs are cut after
# TJ_TIMEOUT seconds (default 3600). Needs a release build with
# -DLEVELER_BENCH=ON (targets leveler and portfolio_export) and tj3 (Debian
# package tj3). Prints one table; the files stay in WORK_DIR.
set -u

BUILD=${1:-build-rel}
WORK=${2:-${TMPDIR:-/tmp}/side_by_side}
SIZES=${SIZES-"1000 5000 10000"}
ALONE=${ALONE-"100000"}
TJ_TIMEOUT=${TJ_TIMEOUT:-3600}
LEVELER=$BUILD/leveler
EXPORT=$BUILD/portfolio_export

for tool in "$LEVELER" "$EXPORT" /usr/bin/time; do
  [ -x "$tool" ] || { echo "missing $tool" >&2; exit 2; }
done
have_tj3=1
command -v tj3 >/dev/null 2>&1 || { echo "tj3 not installed: leveller only" >&2; have_tj3=0; }
LEVEL=("$LEVELER" level)
mkdir -p "$WORK"

# Wall-clock seconds and peak memory (MB) from a /usr/bin/time -v file.
seconds() {
  awk -F': ' '/Elapsed \(wall clock\)/ {
      n = split($2, p, ":"); s = 0; for (i = 1; i <= n; i++) s = s * 60 + p[i]; printf "%.1f", s }' "$1"
}
peak_mb() { awk -F': ' '/Maximum resident set size/ { printf "%.0f", $2 / 1024 }' "$1"; }
field() { tr ' ' '\n' <"$1" | awk -v k="$2" 'prev == k { print; exit } { prev = $0 }'; }
verdict() { grep -oE '(feasible|VIOLATED)' "$1" | head -1; }

run_leveller() {
  local n=$1 db=$WORK/pf_$1.db
  /usr/bin/time -v -o "$WORK/lev_$n.time" "${LEVEL[@]}" "$db" PF_RUN --as-of 2025-01-06 >"$WORK/lev_$n.out" 2>&1
  echo $? >"$WORK/lev_$n.rc"
  "$EXPORT" check "$db" >"$WORK/lev_$n.check" 2>&1
}

run_tj3() {
  local n=$1 dir=$WORK/tj_$n
  rm -rf "$dir" && mkdir -p "$dir"
  /usr/bin/time -v -o "$WORK/tj_$n.time" timeout "$TJ_TIMEOUT" \
    tj3 --output-dir "$dir" "$WORK/pf_$n.tjp" >"$WORK/tj_$n.out" 2>&1
  echo $? >"$WORK/tj_$n.rc"
  if [ -f "$dir/tj_tasks.csv" ] && [ -f "$dir/tj_alloc.csv" ]; then
    "$EXPORT" tjcheck "$dir/tj_tasks.csv" "$dir/tj_alloc.csv" >"$WORK/tj_$n.check" 2>&1
  else
    echo "no reports (tj3 exit $(cat "$WORK/tj_$n.rc"))" >"$WORK/tj_$n.check"
  fi
}

rows=()
for n in $SIZES $ALONE; do
  echo "== $n tasks: generating" >&2
  if ! "$EXPORT" generate "$n" "$WORK/pf_$n.db" "$WORK/pf_$n.tjp" >"$WORK/gen_$n.out" 2>&1; then
    echo "generation failed for $n, see $WORK/gen_$n.out" >&2
    continue
  fi
  echo "== $n tasks: leveller" >&2
  run_leveller "$n"
  lev="$(seconds "$WORK/lev_$n.time") s, $(peak_mb "$WORK/lev_$n.time") MB, exit $(cat "$WORK/lev_$n.rc"), $(verdict "$WORK/lev_$n.check"), over-capacity days $(field "$WORK/lev_$n.check" over_days), broken links $(field "$WORK/lev_$n.check" broken), finish $(field "$WORK/lev_$n.check" finish)"
  tj="-"
  if [ $have_tj3 = 1 ] && [[ " $SIZES " == *" $n "* ]]; then
    echo "== $n tasks: tj3" >&2
    run_tj3 "$n"
    tj="$(seconds "$WORK/tj_$n.time") s, $(peak_mb "$WORK/tj_$n.time") MB, exit $(cat "$WORK/tj_$n.rc"), $(verdict "$WORK/tj_$n.check"), over-capacity days $(field "$WORK/tj_$n.check" over_days), finish $(field "$WORK/tj_$n.check" finish)"
  fi
  rows+=("| $n | $lev | $tj |")
done

echo
echo "| tasks | leveler level (wall, peak memory, result, check) | tj3 (wall, peak memory, result, check) |"
echo "|---|---|---|"
for r in "${rows[@]}"; do echo "$r"; done
