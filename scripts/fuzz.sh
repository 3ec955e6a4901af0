#!/usr/bin/env bash
# Builds the fuzzers (clang, libFuzzer, sanitizers) and runs each of them.
# scripts/fuzz.sh [SECONDS]: how long each one runs; 20 when nothing is said.
set -euo pipefail
cd "$(dirname "$0")/.."
scripts/setup.sh host fuzz
source scripts/preset.sh
build_preset fuzz

[ -d /dev/shm ] && export TMPDIR=/dev/shm
for program in build/fuzz/bin/*_fuzz; do
  name=$(basename "$program" _fuzz)
  corpus=build/fuzz/corpus/$name
  mkdir -p "$corpus"
  seeds=()
  [ ! -d "fuzz/corpus/$name" ] || seeds=("fuzz/corpus/$name")
  echo "== $name"
  "$program" -max_total_time="${1:-20}" -timeout=10 -print_final_stats=1 -artifact_prefix=build/fuzz/ "$corpus" \
    "${seeds[@]}" > "build/fuzz/$name.log" 2>&1 || { tail -n 40 "build/fuzz/$name.log" >&2; exit 1; }
  grep '^stat::number_of_executed_units' "build/fuzz/$name.log"
done
