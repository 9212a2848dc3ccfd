#!/bin/bash
# Stores what the library promises to programs that were built against it, for the test "abi". For a release, and for a change
# of the interface that is meant.
set -euo pipefail
cd "$(dirname "${BASH_SOURCE[0]}")/.."

scripts/packages.sh build test
cmake --preset dev
cmake --build --preset dev -j "$(nproc)" --target ipv6_rib abi_records
tests/install/abi.sh dump abi build/dev/lib/libipv6_rib.so build/dev/lib/libabi_records.so
