#!/usr/bin/env bash
# The portable tests as Windows programs on Wine (64-bit, headless), and the module in Wine's own spooler.
set -euo pipefail
cd "$(dirname "$0")/.."
scripts/setup.sh host windows wine
source scripts/preset.sh
build_preset windows-x64

bin=$PWD/build/windows-x64/bin
export WINEPREFIX=$PWD/build/wine64 WINEARCH=win64 WINEDEBUG=-all WINEDLLOVERRIDES="mscoree,mshtml=" DISPLAY=
if [ ! -f "$WINEPREFIX/system.reg" ]; then
  echo "== making a Wine prefix"
  mkdir -p "$WINEPREFIX"
  wineboot --init > /dev/null 2>&1
  wineserver --wait
fi
# Windows that nobody sees. The desktop that `reg` itself runs on still has no driver at all: it must be gone before
# the first test makes a window.
wine reg add 'HKCU\Software\Wine\Drivers' /v Graphics /d null /f > /dev/null
wineserver --wait

tests=0
for program in "$bin"/*_test.exe; do
  echo "== $(basename "$program")"
  timeout 300 wine "$program" --gtest_brief=1
  tests=$((tests + $(timeout 60 wine "$program" --gtest_list_tests | grep -c '^  ')))
done

echo "== the module in Wine's spooler"
timeout 120 wine "$bin/wine_spooler_client.exe"
timeout 60 wine "$bin/kvctl.exe" ports | tr -d '\r' | grep -E '^KVR8: +Folvane +Folvane$'
wineserver --wait
echo "$tests tests ran on Wine"
