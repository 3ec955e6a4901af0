#!/usr/bin/env bash
# All tests: with the address and undefined-behaviour sanitizers, then once more in the 64-bit release build.
set -euo pipefail
cd "$(dirname "$0")/.."
scripts/setup.sh host
source scripts/preset.sh

# Machines of tests live in memory where they can: removing directories is slow on disks.
[ ! -d /dev/shm ] || export TMPDIR=/dev/shm

for preset in $(host_preset host-asan) host-x64; do
  [ "$preset" != "${done_before:-}" ] || continue
  done_before=$preset
  echo "== $preset"
  build_preset "$preset"
  # The release build is quick enough to let every single call of an installation fail.
  [ "$preset" != host-x64 ] || export KV_EVERY_FAILURE=1
  UBSAN_OPTIONS=print_stacktrace=1 ctest --preset "$preset" --parallel "$(nproc)" --timeout 600
done
