#!/usr/bin/env bash
# Runs the test programs of a directory with `wine` and prints how many tests passed; what they say goes to standard
# error. portable_tests.sh DIRECTORY
set -euo pipefail

total=0
failed=0
for program in "$1"/*_test.exe; do
  echo "== $(basename "$program")" >&2
  output=$(timeout 300 wine "$program" --gtest_brief=1 2>&1 | tr -d '\r') || failed=1
  echo "$output" >&2
  passed=$(sed -nE 's/^\[  PASSED  \] ([0-9]+) tests?\.$/\1/p' <<< "$output")
  [ "${passed:-0}" != 0 ] || failed=1
  total=$((total + ${passed:-0}))
done
echo "$total"
exit "$failed"
