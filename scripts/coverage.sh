#!/usr/bin/env bash
# Which lines of monitor/ and runtime/ the tests run (at the product's word size): the figure on standard output, the
# lines that none runs in build/coverage/lines.txt.
set -euo pipefail
cd "$(dirname "$0")/.."
scripts/setup.sh host coverage
source scripts/preset.sh
build_preset coverage

[ ! -d /dev/shm ] || export TMPDIR=/dev/shm
find build/coverage -name '*.gcda' -delete
ctest --preset coverage --parallel "$(nproc)" --timeout 600 > build/coverage/ctest.log ||
  { tail -n 60 build/coverage/ctest.log >&2; exit 1; }
gcovr --root . --filter monitor/ --filter runtime/ -j "$(nproc)" build/coverage/monitor build/coverage/runtime \
  --txt build/coverage/lines.txt --print-summary | grep '^lines'
