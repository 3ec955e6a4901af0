#!/usr/bin/env bash
# The Windows builds on Wine, without a display: the portable tests, the module in Wine's own spooler and the programs;
# 64-bit, and where 32-bit Wine can be had the product itself.
set -euo pipefail
cd "$(dirname "$0")/.."
scripts/setup.sh host windows wine
source scripts/preset.sh

# Beside the builds, for it takes long.
scripts/setup.sh wine32 &
wine32=$!
build_preset windows-x64
build_preset windows-x86
build_preset windows-x86-tests portable_tests

# try_on_wine BITS DIRECTORY: sets `tests` to the number of tests that passed.
try_on_wine() {
  tests=$(scripts/on-wine.sh "$1" tests/windows/portable_tests.sh "$2")
  echo "== the programs ($1-bit)"
  scripts/on-wine.sh "$1" tests/windows/programs.sh "$2"
}

try_on_wine 64 "$PWD/build/windows-x64/bin"
summary="$tests tests ran on 64-bit Wine"
if wait "$wine32"; then
  # The tests go beside the product: they load the module that people get.
  rm -f build/windows-x86/bin/*_test.exe
  cp build/windows-x86-tests/bin/{*_test,wine_*}.exe build/windows-x86/bin/
  try_on_wine 32 "$PWD/build/windows-x86/bin"
  summary+=", $tests on 32-bit Wine"
fi
echo "$summary; the host's test programs hold the same ones"
