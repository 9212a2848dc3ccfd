#!/bin/bash
# Who may include whom: resolves every #include of the shipped code and refuses those that its part may not know.
#
#   layers.sh SOURCE_DIR
set -euo pipefail
cd "$1"

parts=()
declare -A known
may_include() {
    parts+=("$1")
    known[$1]=${*:2}
}
# Files of this tree by path, C and POSIX headers as c, the C++ standard library as c++, other libraries by their name.
# A file belongs to the first part that matches.
may_include 'include/ipv6_rib/*' 'include/ipv6_rib/*' c
may_include 'ip/rib/wire/*' 'ip/rib/wire/*' 'include/ipv6_rib/*' c c++
may_include 'ip/rib/lib/src/*' 'ip/rib/lib/src/*' 'ip/rib/wire/*' 'include/ipv6_rib/*' 'platform/include/*' c c++
may_include 'ip/rib/ipv6/src/*' 'ip/rib/ipv6/src/*' 'ip/rib/lib/src/*' 'include/ipv6_rib/*' \
    'platform/include/platform/ipv6_addr.h' 'platform/include/platform/srv6*.h' c c++
may_include 'platform/*' 'platform/*' 'boost/intrusive/*' c c++
may_include 'server/main.cpp' 'server/*' 'platform/include/*' 'CLI/*' 'fmt/*' c c++
may_include 'server/memory.cpp' 'jemalloc/*'
may_include 'server/*' 'server/*' 'ip/rib/wire/*' 'include/ipv6_rib/*' 'platform/include/*' 'absl/*' 'fmt/*' c c++
tool='tools/* include/ipv6_rib/* platform/include/platform/event.h platform/include/platform/rib_tlv.h platform/include/platform/srv6.h absl/* CLI/* fmt/* nlohmann/* zlib.h bzlib.h c c++'
may_include 'tools/*demo*' "$tool" server/embed.h
may_include 'tools/*' "$tool"

# resolve FILE DELIMITER NAME: what an #include stands for, in $target.
resolve() {
    local base bases=('' include/ platform/include/)
    [[ $2 == '<' ]] || bases=("${1%/*}/" "${bases[@]}")
    for base in "${bases[@]}"; do
        target=$base$3
        while [[ $target =~ ^(.*/)?[^/.]+/\.\./(.*)$ ]]; do
            target=${BASH_REMATCH[1]}${BASH_REMATCH[2]}
        done
        [[ ! -e $target ]] || return 0
    done
    case $2$3 in
    ?boost/* | ?absl/* | ?CLI/* | ?fmt/* | ?jemalloc/* | ?nlohmann/* | ?gtest/* | ?gmock/* | ?benchmark/* | ?bzlib.h | ?zlib.h) target=$3 ;;
    '<'*.h) target=c ;;
    '<'*[./]* | '"'*) target=$3 ;;
    *) target=c++ ;;
    esac
}

# The part of a file, in $part; empty when it lies outside of all.
part_of() {
    for part in "${parts[@]}"; do
        # shellcheck disable=SC2053
        [[ $1 != $part ]] || return 0
    done
    part=
}

matches_one_of() {
    local word=$1 pattern
    for pattern in $2; do
        # shellcheck disable=SC2053
        [[ $word != $pattern ]] || return 0
    done
    return 1
}

refused=0
checked=0
set -f
while IFS=: read -r file line text; do
    [[ $text =~ ^[[:space:]]*#[[:space:]]*include[[:space:]]*([\<\"])([^\>\"]+) ]] || continue
    name=${BASH_REMATCH[2]}
    resolve "$file" "${BASH_REMATCH[1]}" "$name"
    part_of "$file"
    if ! matches_one_of "$target" "${known[${part:-none}]:-}"; then
        echo "$file:$line: ${part:-no part} may not include $name ($target)"
        refused=$((refused + 1))
    fi
    checked=$((checked + 1))
done < <(grep -rn --include='*.h' --include='*.cpp' '^[[:space:]]*#[[:space:]]*include' include ip platform server tools)

echo "$checked includes checked, $refused refused"
((checked > 0 && refused == 0))
