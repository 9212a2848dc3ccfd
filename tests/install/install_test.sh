#!/bin/bash
# Uses an installed tree as somebody else would.
#
#   install_test.sh STEP SCRATCH_DIR
#
# STEP is one of the functions below: prefix, which makes SCRATCH_DIR/prefix for all others, first. The environment gives
# SOURCE_DIR, BUILD_DIR, and the CC, CXX and FLAGS with which the libraries were built.
set -euo pipefail
scratch=$2
prefix=$scratch/prefix
warnings=(-Wall -Wextra -Werror)
read -ra flags <<<"$FLAGS"

# Installed in one place, used in another: the tree must not know where it was put.
prefix() {
    rm -rf "$scratch"
    cmake --install "$BUILD_DIR" --prefix "$scratch/elsewhere" >/dev/null
    mv "$scratch/elsewhere" "$prefix"
}

find_pkgconfig_dir() {
    PKG_CONFIG_PATH=$(dirname "$(find "$prefix" -name ipv6_rib.pc)")
    export PKG_CONFIG_PATH
}

run_dir=$scratch/no_server
run() {
    echo "$1"
    MSG_CHAN_DIR=$run_dir "$1"
}

# build_and_run COMPILER LANGUAGE STANDARD SOURCE OUTPUT MODULE...
build_and_run() {
    local compiler=$1 language=$2 standard=$3 source=$4 output=$5 used libdir
    shift 5
    libdir=$(pkg-config --variable=libdir ipv6_rib)
    read -ra used <<<"$(pkg-config --cflags --libs "$@")"
    "$compiler" -x "$language" "-std=$standard" "${flags[@]}" "${warnings[@]}" "$source" -x none -o "$output" \
        "${used[@]}" "-Wl,-rpath,$libdir"
    run "$output"
}

pkg_config() {
    local sources=$SOURCE_DIR/tests/install built=$scratch/pkg_config
    find_pkgconfig_dir
    mkdir -p "$built"
    build_and_run "$CC" c c11 "$sources/consumer.c" "$built/consumer_c" ipv6_rib
    build_and_run "$CXX" c++ c++20 "$sources/consumer.c" "$built/consumer_cxx" ipv6_rib
    build_and_run "$CC" c c11 "$sources/follower.c" "$built/follower_c" ipv6_rib rib_platform
    build_and_run "$CXX" c++ c++20 "$sources/follower.c" "$built/follower_cxx" ipv6_rib rib_platform
}

find_package() {
    local build=$scratch/find_package program
    cmake -S "$SOURCE_DIR/tests/install/find_package" -B "$build" -G Ninja "-DCMAKE_PREFIX_PATH=$prefix" \
        "-DCMAKE_C_COMPILER=$CC" "-DCMAKE_CXX_COMPILER=$CXX" "-DCMAKE_C_FLAGS=${warnings[*]} $FLAGS" \
        "-DCMAKE_CXX_FLAGS=${warnings[*]} $FLAGS"
    cmake --build "$build"
    for program in consumer_c consumer_cxx follower_c follower_cxx; do
        run "$build/$program"
    done
}

# Each header compiles alone.
headers() {
    local header name count=0
    while read -r header; do
        name=${header#"$prefix/include/"}
        echo "#include <$name>" | "$CC" -std=c11 -pedantic "${warnings[@]}" -fsyntax-only -I "$prefix/include" -x c -
        echo "#include <$name>" | "$CXX" -std=c++20 "${warnings[@]}" -fsyntax-only -I "$prefix/include" -x c++ -
        count=$((count + 1))
    done < <(find "$prefix/include" -name '*.h')
    echo "$count headers"
    ((count > 0))
}

# The programs find their libraries, and know nothing of the build.
programs() {
    local file
    for file in "$prefix"/bin/ribd "$prefix"/bin/ribctl "$prefix"/lib*/lib*.so; do
        if readelf -d "$file" | grep -E 'R(UN)?PATH.*/' | grep -Fv "\$ORIGIN"; then
            echo "$file looks for libraries in fixed places"
            return 1
        fi
    done
    "$prefix/bin/ribd" --help >/dev/null
    "$prefix/bin/ribctl" --help >/dev/null
}

# The example of README.md, against a server of its own.
readme() {
    local dir=$scratch/readme status=0
    find_pkgconfig_dir
    rm -rf "$dir"
    mkdir -p "$dir"
    sed -n '/^```c$/,/^```$/{/^```/d;p}' "$SOURCE_DIR/README.md" >"$dir/example.c"
    "$prefix/bin/ribd" --dir "$dir/run" >"$dir/ribd.out" &
    server=$!
    trap 'kill "$server"' EXIT
    for _ in {1..100}; do
        [[ ! -s $dir/ribd.out ]] || break
        sleep 0.1
    done
    run_dir=$dir/run
    build_and_run "$CC" c c11 "$dir/example.c" "$dir/example" ipv6_rib || status=$?
    trap - EXIT
    kill "$server"
    wait "$server" || status=$?
    return $status
}

# The units are sound and confine the server; skipped where systemd is not installed.
units() {
    local dir=$prefix/lib/systemd/system
    command -v systemd-analyze >/dev/null || exit 77
    # The tree was moved after it was installed, so the path of the program is that of before.
    grep -Eq "^ExecStart=$scratch/elsewhere/bin/ribd " "$dir/ribd.service"
    mkdir -p "$scratch/units"
    sed "s,$scratch/elsewhere,$prefix," "$dir/ribd.service" >"$scratch/units/ribd.service"
    cp "$dir/ribd.socket" "$scratch/units"
    systemd-analyze verify --man=no "$scratch/units/ribd.socket" "$scratch/units/ribd.service"
    systemd-analyze security --offline=true --threshold=15 --no-pager "$scratch/units/ribd.service"
}

"$1"
