#!/bin/bash
# Counts the instructions that the library's hot paths take for 100 routes, which nothing else on the machine changes, and
# compares them with the figures stored for this kind of build. Fails when one is more than 5 % away, in either direction:
# a figure that is too high hides what comes later.
#
#   bench/instructions.sh PROGRAM KIND             PROGRAM: bench/instructions.cpp, built; exits with 77 when the KIND, such as
#                                                  x86_64-gcc-12-RelWithDebInfo, has no figures
#   bench/instructions.sh PROGRAM KIND --update    stores what it counts
set -euo pipefail

program=$1
kind=$2
update=${3:-}
figures=${BASH_SOURCE[0]%.sh}.txt

# The string functions of the C library are chosen by the processor; without these, by any that has SSE2.
export GLIBC_TUNABLES=glibc.cpu.hwcaps=-AVX2,-AVX_Fast_Unaligned_Load,-ERMS,-FSRM,-EVEX,-SSSE3,-SSE4_1,-SSE4_2

count() {
    local report
    report=$(valgrind --tool=callgrind --callgrind-out-file=/dev/null --toggle-collect=counted "$program" "$1" 2>&1) || {
        echo "$report" >&2
        return 1
    }
    awk '$2 == "Collected" { print $4 }' <<<"$report"
}

if [[ -z $update ]] && ! grep -q "^$kind " "$figures"; then
    echo "no figures for $kind"
    exit 77
fi

failed=0
counts=
for path in $("$program"); do
    counted=$(count "$path")
    stored=$(awk -v kind="$kind" -v path="$path" '$1 == kind && $2 == path { print $3 }' "$figures")
    counts+="$kind $path $counted"$'\n'
    verdict=
    if [[ -z $stored ]] || ((20 * (counted > stored ? counted - stored : stored - counted) > stored)); then
        verdict=" <--"
        failed=1
    fi
    echo "$path: $counted instructions, stored ${stored:-none}$verdict"
done

if [[ $update ]]; then
    others=$(grep -v "^$kind " "$figures" || true)
    printf '%s\n' "$others" "${counts%$'\n'}" | sed '/^$/d' >"$figures"
    exit
fi
((!failed)) || echo "more than 5 % away: find out why, then $0 $program $kind --update" >&2
exit "$failed"
