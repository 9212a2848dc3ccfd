#!/bin/bash
# Measures the release build; installs the Debian packages that are missing.
#
#   scripts/bench.sh                        all, which takes a quarter of an hour; the figures go to docs/performance.md and .svg
#   scripts/bench.sh --only lookup ...      bench/roads alone with these arguments, for a look
#
# Nothing else should run on the machine. RIB_REPETITIONS says how often each benchmark of a part runs, 5 without it.
set -euo pipefail
cd "$(dirname "${BASH_SOURCE[0]}")/.."
build=build/bench
json=$build/roads.json

scripts/packages.sh build bench
cmake --preset release -B "$build" -DIPV6_RIB_TESTS=OFF
cmake --build "$build" -j "$(nproc)"
if (($#)); then
    exec "$build/bin/roads" "$@"
fi

for part in "$build"/bin/*_bench; do
    "$part" --benchmark_repetitions="${RIB_REPETITIONS:-5}"
done
"$build/bin/roads" --with-netlink --large --json "$json"

# A line of the table for each road.
jq -r '
    def digits: if . >= 10 then round else . * 100 | round / 100 end;
    "| road | figure | bound | ratio | goal |", "|---|---:|---|---:|---:|",
    (.roads[] | [
        .name,
        "\(.figure | digits) \(.unit)" + (if .p99 then ", 99 of 100 below \(.p99 | digits)" else "" end),
        (if .bound then "\(.bound): \(.bound_figure | digits)" else "" end),
        (if .ratio then (.ratio | digits | tostring) else "" end),
        (if .goal then "≤ \(.goal)" else "" end)
    ] | "| " + join(" | ") + " |"),
    "", "\(.machine); \(.routes) routes; \(.roads[0].rounds) rounds, fewer where a round takes long."' "$json" >"$build/table.md"
sed -i -e '/^<!-- figures -->/,/^<!-- end -->/{//!d}' -e "/^<!-- figures -->/r $build/table.md" docs/performance.md

jq -r '.roads[] | select(.ratio) | [.name, .ratio, .goal // "?"] | @tsv' "$json" >"$build/ratios.tsv"
gnuplot -e "ratios='$build/ratios.tsv'; chart='docs/performance.svg'" scripts/performance.gp
