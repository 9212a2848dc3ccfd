#!/bin/bash
# Runs the fuzz targets, each for its share of the time, and shows how far they came; or what else takes too long for every day.
#
#   scripts/torture.sh                  an hour in sum
#   scripts/torture.sh 15               so many minutes
#   scripts/torture.sh 15 TARGET...     these targets only
#   scripts/torture.sh crash            1,000 kills of client and server under 280,000 routes, long races, a long storm
#   scripts/torture.sh crash 100        so many kills
#
# JOBS says how many run at once; without it, as many as there are cores. What was found is kept in build/fuzz/findings, and the
# inputs that reach further than the seeds in build/fuzz/corpus, from where the next run goes on. Exits with 1 on a finding.
set -euo pipefail
cd "$(dirname "${BASH_SOURCE[0]}")/.."

# crash KILLS: every test runs, whatever another one found. A kill takes about a second.
crash() {
    local programs=(crash_test standby_test race_test storm_test) table=$PWD/build/dev/torture_table.txt program failed=0
    cmake --preset dev && cmake --build --preset dev -j "${JOBS:-$(nproc)}" --target ribctl "${programs[@]}"
    build/dev/bin/ribctl generate 280000 -o "$table"
    for program in "${programs[@]}"; do
        RIB_CRASH_KILLS=$1 RIB_CRASH_TABLE=$table RIB_RACE_SECONDS=300 RIB_STORM=20 "build/dev/bin/$program" || failed=1
    done
    return "$failed"
}

if [[ ${1:-} == crash ]]; then
    crash "${2:-1000}"
    exit
fi

[[ ${1:-60} =~ ^[0-9]+$ ]] || { sed -n '2,/^set/{/^#/s/^# \{0,1\}//p}' "${BASH_SOURCE[0]}" >&2; exit 2; }
minutes=${1:-60}
shift || true
jobs=${JOBS:-$(nproc)}
build=build/fuzz
found=$build/findings
TMPDIR=$(mktemp -d) # what the targets leave there goes with it
export TMPDIR
trap 'rm -rf "$TMPDIR"' EXIT

build_targets() {
    cmake --preset fuzz && cmake --build --preset fuzz -j "$jobs" --target "${targets[@]/#/fuzz_}"
}

# fuzz TARGET SECONDS: the log stays in the build directory.
fuzz() {
    local corpus=$build/corpus/$1
    mkdir -p "$corpus" "$found/$1"
    "$build/bin/fuzz_$1" "$corpus" "fuzz/corpus/$1" -max_total_time="$2" -timeout=10 -rss_limit_mb=2048 -max_len=16384 \
        -print_final_stats=1 -artifact_prefix="$found/$1/" >"$build/$1.log" 2>&1 || true
}

# All targets, as many at once as there are jobs.
fuzz_all() {
    local seconds=$((minutes * 60 * jobs / ${#targets[@]})) target
    ((seconds > 0)) || seconds=1
    for target in "${targets[@]}"; do
        while (($(jobs -rp | wc -l) >= jobs)); do
            wait -n || true
        done
        fuzz "$target" "$seconds" &
    done
    wait
}

# A line of the table, from a log: a run that printed no statistics has not come to its end.
report() {
    local log=$build/$1.log runs speed edges end=ok
    runs=$(awk '/^stat::number_of_executed_units/ { print $2 }' "$log")
    speed=$(awk '/^stat::average_exec_per_sec/ { print $2 }' "$log")
    edges=$(grep -o 'cov: [0-9]*' "$log" | tail -1 | cut -d' ' -f2)
    if [[ -z $runs || -n $(ls -A "$found/$1") ]]; then
        end="FOUND: see $log and $found/$1"
        findings=$((findings + 1))
    fi
    printf '%-26s %12s %9s %7s  %s\n' "$1" "${runs:--}" "${speed:--}" "${edges:--}" "$end"
}

targets=("$@")
((${#targets[@]})) || mapfile -t targets < <(ls fuzz/corpus)
build_targets
fuzz_all
findings=0
printf '%-26s %12s %9s %7s\n' target runs "runs/s" edges
for target in "${targets[@]}"; do
    report "$target"
done
((findings == 0))
