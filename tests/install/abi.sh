#!/bin/bash
# Compares what the library promises to programs that were built against it with what it promised before: its symbols and
# the types behind them. Something more is no change. Exits with 77 where abidiff is not installed.
#
#   abi.sh check ABI_DIR LIBIPV6_RIB LIBABI_RECORDS    compares with the dumps in ABI_DIR
#   abi.sh dump ABI_DIR LIBIPV6_RIB LIBABI_RECORDS     replaces them
#
# The libraries need debug information. scripts/update_abi.sh runs the second form.
set -euo pipefail
mode=$1 dir=$2 library=$3 records=$4

same=(--suppressions "$dir/suppressions.ini" --exported-interfaces-only --no-corpus-path --no-show-locs)
plain=(--no-comp-dir-path --short-locs --no-elf-needed --no-parameter-names --drop-undefined-syms --type-id-style hash)

command -v abidiff abidw >/dev/null || {
    echo "abi.sh: abidiff is missing (package abigail-tools); nothing was compared"
    exit 77
}
status=0
for name in ipv6_rib records; do
    built=$library
    [[ $name == ipv6_rib ]] || built=$records
    case $mode in
    dump) abidw "${same[@]}" "${plain[@]}" --out-file "$dir/$name.abi" "$built" ;;
    check) abidiff "${same[@]}" --no-added-syms --fail-no-debug-info "$dir/$name.abi" "$built" || status=$? ;;
    esac
done
((status == 0)) || echo "abi.sh: programs built before would break. If that is meant, raise the soname and run scripts/update_abi.sh."
exit "$status"
