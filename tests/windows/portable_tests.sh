#!/usr/bin/env bash
# Runs the test programs of a directory with `wine` and prints how many tests passed; what they say goes to standard
# error. portable_tests.sh DIRECTORY
set -euo pipefail

# A file: a pipe would stay open until the system processes that the first program starts end, too.
log=$(mktemp)
trap 'rm -f "$log"' EXIT
total=0
failed=0
for program in "$1"/*_test.exe; do
  echo "== $(basename "$program")" >&2
  timeout 300 wine "$program" --gtest_brief=1 > "$log" 2>&1 || failed=1
  grep -v '^Running main' "$log" >&2
  passed=$(tr -d '\r' < "$log" | sed -nE 's/^\[  PASSED  \] ([0-9]+) tests?\.$/\1/p')
  [ "${passed:-0}" != 0 ] || failed=1
  total=$((total + ${passed:-0}))
done
echo "$total"
exit "$failed"
