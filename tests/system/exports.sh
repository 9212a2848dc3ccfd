#!/bin/bash
# The client library exports what its headers declare and its version map lists, no more and no less, and needs nothing
# but the C library and what the platform library exports: above all nothing of the C++ runtime.
#
#   exports.sh LIBIPV6_RIB LIBRIB_PLATFORM VERSION_MAP INCLUDE_DIR CC
set -euo pipefail
export LC_ALL=C
library=$1 platform=$2 map=$3 include=$4 cc=$5

work=$(mktemp -d)
trap 'rm -r "$work"' EXIT

# Names of the version map's global section, without comments.
mapped() {
    tr '\n' ' ' <"$map" | sed -E 's,/\*([^*]|\*[^/])*\*/,,g; s/.*global:(.*)local:.*/\1/' | tr -d ' \t' | tr ';' '\n' |
        sed '/^$/d' | sort
}

# Names that the umbrella header declares for export. The message records come from a macro, so ask the preprocessor.
declared() {
    echo '#include <ipv6_rib/ipv6_rib.h>' |
        "$cc" -E -P -x c -std=c11 -I "$include" - | tr '\n' ' ' | tr ';{}' '\n' |
        sed -nE 's/.*__attribute__ *\(\(visibility\("default"\)\)\)//p' |
        sed -E 's/\(.*//; s/[[:space:]]+$//; s/.*[^A-Za-z0-9_]//' | sort -u
}

# Without the version nodes themselves, which are absolute symbols.
exported() {
    nm -D --defined-only "$1" | awk '$2 != "A" { sub(/@.*/, "", $3); print $3 }' | sort
}

# Strong undefined symbols that neither the C library (by its symbol versions) nor the platform provides.
unknown_needs() {
    nm -D --undefined-only "$library" | awk '$1 == "U" && $2 !~ /@GLIBC_[0-9.]+$/ { sub(/@.*/, "", $2); print $2 }' | sort |
        comm -23 - "$work/platform"
}

needed_libraries() {
    readelf -d "$library" | sed -nE 's/.*\(NEEDED\).*\[(.*)\]/\1/p' | grep -Evx 'librib_platform\.so\.1|libc\.so\.6' || true
}

status=0
# complain WHAT LIST: a list that should be empty.
complain() {
    [[ -s $2 ]] || return 0
    echo "$1:"
    sed 's/^/    /' "$2"
    status=1
}

mapped >"$work/mapped"
declared >"$work/declared"
exported "$library" >"$work/exported"
exported "$platform" >"$work/platform"
unknown_needs >"$work/unknown"
needed_libraries >"$work/libraries"
for list in mapped declared exported platform; do
    [[ -s $work/$list ]] || { echo "no names found: $list"; status=1; }
done
for pair in mapped:declared declared:mapped mapped:exported exported:mapped; do
    comm -23 "$work/${pair%:*}" "$work/${pair#*:}" >"$work/difference"
    complain "${pair%:*} but not ${pair#*:}" "$work/difference"
done
complain "needed from elsewhere than the C library and the platform" "$work/unknown"
complain "needed libraries besides the C library and the platform" "$work/libraries"
echo "$(wc -l <"$work/exported") symbols exported"
exit $status
