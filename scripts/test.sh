#!/bin/bash
# Builds and tests a clone; installs the Debian packages that are missing.
#
#   scripts/test.sh                     the development build and its tests
#   scripts/test.sh --preset asan-ubsan another preset of CMakePresets.json; may be repeated
#   scripts/test.sh --all               dev, asan-ubsan and tsan; libraries and programs are built by clang, too
#   scripts/test.sh --lint              formatting of all, and clang-tidy over the libraries, as well
#
# Runs everything that was asked for, whatever fails, and ends with one line "N passed, N failed": each test of each
# preset counts, each build and each lint step counts as one. Exits with 1 when anything failed.
set -euo pipefail
cd "$(dirname "${BASH_SOURCE[0]}")/.."

presets=()
clang=0
lint=0
while (($#)); do
    case $1 in
    --preset)
        [[ $# -ge 2 ]] || { echo "test.sh: --preset needs a name" >&2; exit 2; }
        presets+=("$2")
        shift
        ;;
    --all) presets+=(dev asan-ubsan tsan) clang=1 ;;
    --lint) lint=1 ;;
    *)
        sed -n '2,/^set/{/^#/s/^# \{0,1\}//p}' "${BASH_SOURCE[0]}" >&2
        exit 2
        ;;
    esac
    shift
done
if ((${#presets[@]} == 0)); then
    presets=(dev)
fi

passed=0
failed=0
broken=()

# step NAME COMMAND...: runs a command that counts as one check.
step() {
    local name=$1
    shift
    echo "== $name"
    if "$@"; then
        passed=$((passed + 1))
    else
        failed=$((failed + 1))
        broken+=("$name")
        return 1
    fi
}

build() {
    cmake --preset "$1" && cmake --build --preset "$1" -j "$(nproc)"
}

# Without tests, which take as long again.
build_by_clang() {
    cmake --preset clang -DIPV6_RIB_TESTS=OFF && cmake --build --preset clang -j "$(nproc)"
}

# The thread sanitizer of gcc 12 needs the old, smaller range of address randomisation.
without_aslr() {
    if setarch -R true 2>/dev/null; then
        setarch -R "$@"
    else
        "$@"
    fi
}

# A number of the report that ctest wrote; 0 when it wrote none.
reported() {
    [[ -r $1 ]] || { echo 0; return; }
    awk -F'"' -v key="$2=" '$1 ~ "[ \t]" key "$" { number = $2; exit } END { print number + 0 }' "$1"
}

# Runs the tests of a preset and counts each.
run_tests() {
    local preset=$1 status=0 runner=() report total bad unrun
    report=$PWD/build/$preset/tests.xml
    [[ $preset != tsan ]] || runner=(without_aslr)
    echo "== $preset: tests"
    rm -f "$report"
    "${runner[@]}" ctest --preset "$preset" -j "$(nproc)" --no-tests=error --output-junit "$report" || status=$?
    total=$(reported "$report" tests)
    bad=$(reported "$report" failures)
    unrun=$(($(reported "$report" skipped) + $(reported "$report" disabled)))
    passed=$((passed + total - bad - unrun))
    # A run that ended badly without a failing test is a failure of its own.
    ((status == 0 || bad > 0)) || bad=1
    failed=$((failed + bad))
    ((bad == 0)) || broken+=("$preset: $bad in the tests")
}

sources() {
    find bench fuzz include ip platform server tests tools -name '*.[ch]' -o -name '*.cpp'
}

check_format() {
    sources | xargs clang-format-14 --dry-run --Werror
}

# What other programs link. The server and the tool would take ten times as long, nearly all of it in foreign headers.
check_tidy() {
    cmake --preset clang >/dev/null &&
        find ip platform -name '*.cpp' -print0 |
        xargs -0 -n 4 -P "$(nproc)" clang-tidy-14 --quiet -p build/clang --warnings-as-errors='*' |&
        sed '/ warnings\{0,1\}.* generated\.$/d'
}

groups=(build test)
[[ $clang == 0 && " ${presets[*]} " != *clang* ]] || groups+=(clang)
((lint == 0)) || groups+=(clang lint)
scripts/packages.sh "${groups[@]}"

if ((lint)); then
    step "formatting" check_format || true
fi
for preset in "${presets[@]}"; do
    if step "$preset: build" build "$preset"; then
        run_tests "$preset"
    fi
done
if ((clang)); then
    step "clang: build" build_by_clang || true
fi
if ((lint)); then
    step "clang-tidy" check_tidy || true
fi

((${#broken[@]} == 0)) || printf 'failed: %s\n' "${broken[@]}"
echo "$passed passed, $failed failed"
((failed == 0))
