#!/usr/bin/env bash
# Runs the installer with `wine`, without a question asked, then its uninstaller. installer.sh FILE
set -euo pipefail

fail() { echo "installer.sh: $1" >&2; exit 1; }

# run STATUS PROGRAM...: expects that exit status.
run() {
  local wanted=$1 status=0
  shift
  timeout 120 wine "$@" > /dev/null 2>&1 || status=$?
  [ "$status" = "$wanted" ] || fail "$*: exit status $status instead of $wanted"
}

# Everything that may be left behind; Windows keeps what ran from temporary directories there.
look_at_machine() {
  (cd "$WINEPREFIX/drive_c" && find . -path ./users -prune -o -print | LC_ALL=C sort)
  find "$WINEPREFIX/drive_c/users" \( -name '*.lnk' -o -iname '*folvane*' \) | LC_ALL=C sort
  for key in 'HKLM\System\CurrentControlSet\Control\Print\Monitors' 'HKLM\Software' 'HKCU\Software'; do
    wine reg query "$key" /s 2>&1 | grep -iE 'folvane|veltmoor|kvmon|KVR8' || true
  done
}

wine wineboot > /dev/null 2>&1
before=$(look_at_machine)
# Wine has no driver for the printer, so that the installer's status tells of a port without a printer.
run 2 "$1" /S
directory="$WINEPREFIX/drive_c/Program Files/Folvane port monitor"
timeout 60 wine "$directory/kvctl.exe" ports 2> /dev/null | tr -d '\r' | grep -qE '^KVR8: +Folvane +Folvane$' ||
  fail "the port is not there"
[ "$(look_at_machine)" != "$before" ] || fail "what is left behind would not be seen"
run 0 "$directory/Uninstall.exe" /S
wineserver --wait
diff <(echo "$before") <(look_at_machine) >&2 || fail "something is left behind"
