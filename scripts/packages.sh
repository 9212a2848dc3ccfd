#!/bin/bash
# Installs the Debian packages that are missing. Groups: build (libraries and programs), test, clang, bench, lint.
#
#   scripts/packages.sh build test
#
# Needs root or sudo, but only when something is missing.
set -euo pipefail

declare -A groups=(
    [build]="cmake ninja-build g++ libboost-dev libabsl-dev libjemalloc-dev libcli11-dev libfmt-dev nlohmann-json3-dev zlib1g-dev libbz2-dev"
    [test]="libgtest-dev libgmock-dev libbenchmark-dev pkgconf abigail-tools valgrind"
    [clang]="clang-14 libclang-rt-14-dev"
    [bench]="libbenchmark-dev pkgconf libmnl-dev gnuplot-nox jq"
    [lint]="clang-format-14 clang-tidy-14"
)

missing=()
for group in "$@"; do
    for package in ${groups[$group]}; do
        status=$(dpkg-query -W -f='${db:Status-Status}' "$package" 2>/dev/null) || true
        [[ $status == installed ]] || missing+=("$package")
    done
done
((${#missing[@]})) || exit 0

as_root=()
if ((EUID != 0)); then
    command -v sudo >/dev/null || {
        echo "packages.sh: missing: ${missing[*]}; install them as root, or install sudo" >&2
        exit 1
    }
    as_root=(sudo)
fi
as_root+=(env DEBIAN_FRONTEND=noninteractive)
"${as_root[@]}" apt-get update -q
"${as_root[@]}" apt-get install -q -y --no-install-recommends "${missing[@]}"
