#!/usr/bin/env bash
# Tries the programs of a directory with `wine`: what people type, and what that leaves on the machine.
# programs.sh DIRECTORY
# Where Wine is not as Windows is documented, the check says so.
set -euo pipefail

bin=$1
work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT
failures=0
fail() { echo "programs.sh: $1" >&2; failures=$((failures + 1)); }

# on_windows FILE PROGRAM...: what the program says goes to the file, without carriage returns. (A pipe would stay open
# as long as the system processes that the program started.)
on_windows() {
  local file=$1 status=0
  shift
  timeout 120 wine "$@" > "$work/raw" 2>&1 || status=$?
  tr -d '\r' < "$work/raw" > "$file"
  return "$status"
}

# kvctl STATUS ARGUMENT...: runs it and expects that exit status.
kvctl() {
  local wanted=$1 status=0
  shift
  command="kvctl $*"
  on_windows "$work/said" "$bin/kvctl.exe" "$@" || status=$?
  [ "$status" = "$wanted" ] || fail "$command: exit status $status instead of $wanted: $(cat "$work/said")"
}

# says LINE...: the last kvctl printed each of these lines, and once.
says() {
  local line
  for line in "$@"; do
    [ "$(grep -cxF -- "$line" "$work/said")" = 1 ] || fail "$command does not say \"$line\" but: $(cat "$work/said")"
  done
}

# says_lines NUMBER: the last kvctl printed that many lines.
says_lines() {
  [ "$(wc -l < "$work/said")" = "$1" ] || fail "$command does not say $1 lines but: $(cat "$work/said")"
}

# What a program may leave behind: files, the spooler's part of the registry, settings. The keys of printer drivers are
# not looked at: Wine's spooler makes them when it is asked for drivers.
look_at_machine() {
  (cd "$WINEPREFIX/drive_c" && find . -path ./users -prune -o -print | LC_ALL=C sort)
  local key
  for key in 'HKLM\System\CurrentControlSet\Control\Print' 'HKLM\System\CurrentControlSet\Control\Session Manager' \
    'HKLM\Software\Veltmoor Software' 'HKLM\Software\Wow6432Node\Veltmoor Software' 'HKCU\Software'; do
    on_windows "$work/key" reg query "$key" /s || true
    grep -vE '^$|\\Drivers(\\Version-3)?$' "$work/key" || true
  done
}

version=8.27
windows='C:\windows\system32'
kvctl 0 remove --purge  # of an earlier run that was cut off
kvctl 0 spooler restart
look_at_machine > "$work/before"

echo "== the system"
# Wine reports a version as documented, but its user32.dll, which goes first, carries the version of Windows XP.
on_windows "$work/ver" cmd /c ver
build=$(sed -nE 's/.* [0-9]+\.[0-9]+\.([0-9]+)$/\1/p' "$work/ver")
kvctl 0 describe --full
says "Windows 5.01 Build $build" "VER_NT_WORKSTATION" "administrative user"
kvctl 0 locales
says '0407      de-de           1252       German (Germany)' '0419      ru-ru           1251       Russian (Russia)' \
  '0411      ja-jp           932        Japanese'
kvctl 0 whoami
says "User:          $(id -un)" 'Administrator: yes' 'Elevated:      yes' 'Integrity:     high (0x3000)'
# Wine has no terminal services: WTSEnumerateSessionsW is there and finds no session, where Windows has one at least.
kvctl 1 sessions
says 'kvctl: this computer has no terminal services, or they do not answer'
kvctl 0 ports
says 'LPT1:               Local Monitor       Local Port'
kvctl 0 printers
says_lines 0
kvctl 0 docname 'http://www.example.com/a/b.html' --strip-scheme
says 'www.example.com/a/b.html'

echo "== settings, papers and shortcuts"
kvctl 0 settings set Silent 1 --machine
kvctl 0 settings get Silent
says 1
kvctl 0 settings set Help 'http://www.example.com/?a=%s' --user
kvctl 0 settings get Help
says 'http://www.example.com/?a=%s'
kvctl 2 settings set Silent many
kvctl 0 papers list
says '9       A4                              210 x 297 mm' '5       Legal                           8.5 x 14 in'
kvctl 0 papers add 'Roll 80' 80x300mm
kvctl 0 papers list --custom
says '300     Roll 80                         80 x 300 mm'
kvctl 0 papers remove 'Roll 80'
kvctl 0 papers list --custom
says_lines 0
kvctl 0 shortcut create 'C:\try.lnk' "$windows\\notepad.exe" --arguments '-x "y z"' --description 'Try it'
kvctl 0 shortcut show 'C:\try.lnk'
says "Target:      $windows\\notepad.exe" 'Arguments:   -x "y z"' 'Description: Try it'
rm "$WINEPREFIX/drive_c/try.lnk"

echo "== installing"
kvctl 1 status
says "Module:       $windows\\kvmon8.dll is missing" 'Registered:   no' 'Spooler runs: yes' 'Port:         KVR8:, listed: no'
# Nobody has made a printer driver for Wine, so that there is the port but no printer.
for _ in first again; do
  kvctl 1 install
  says 'kvctl: the port monitor is installed, but no printer was created: the printer driver "Folvane 8" is not on this computer; --driver names another one, "kvctl drivers" lists them'
done
kvctl 0 status
says "Module:       $windows\\kvmon8.dll (version $version)" 'Registered:   yes' 'Port:         KVR8:, listed: yes' \
  "Texts:        $windows\\kvres832.dll (version $version), language 0409" \
  "Texts:        $windows\\kvres832-0407.dll (version $version), language 0407" \
  "Texts:        $windows\\kvres832-0419.dll (version $version), language 0419"
kvctl 0 ports
says 'KVR8:               Folvane             Folvane'
cmp "$bin/kvmon8.dll" "$WINEPREFIX/drive_c/windows/system32/kvmon8.dll" || fail "another module was installed"
on_windows "$work/said" "$bin/wine_spooler_client.exe" || fail "the spooler's own list: $(cat "$work/said")"
kvctl 1 print "$bin/kvctl.exe"
says 'kvctl: there is no printer on port KVR8:; "kvctl install" creates one'

# The link button of message boxes.
on_windows "$work/said" "$bin/wine_link_box.exe" || fail "$(cat "$work/said")"

echo "== removing"
kvctl 0 remove
says 'Removed: the port monitor "KVR8:".' "Removed: \"$windows\\kvmon8.dll\"." \
  'Kept: the settings in HKEY_LOCAL_MACHINE\Software\Veltmoor Software\Folvane8 (--purge removes them).' \
  'Kept: the settings in HKEY_CURRENT_USER\Software\Veltmoor Software\Folvane8 (--purge removes them).'
kvctl 0 ports
! grep -q KVR8 "$work/said" || fail "the port is still there"
kvctl 0 remove --purge
says_lines 2
kvctl 0 remove --purge
says 'There was nothing to remove.'
look_at_machine > "$work/after"
diff "$work/before" "$work/after" >&2 || fail "something is left behind"

[ "$failures" = 0 ] || exit 1
