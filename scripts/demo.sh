#!/bin/bash
# Builds the release and runs the demo; arguments go to `ribctl demo`, for example a file with routes.
set -euo pipefail
root=$(cd "$(dirname "${BASH_SOURCE[0]}")/.." && pwd)

"$root/scripts/packages.sh" build
# In a subshell, so that a file named on the command line is still found from here.
(
    cd "$root"
    cmake --preset release -B build/demo -DIPV6_RIB_TESTS=OFF -DIPV6_RIB_BENCH=OFF
    cmake --build build/demo --target ribctl -j "$(nproc)"
)
exec "$root/build/demo/bin/ribctl" demo "$@"
