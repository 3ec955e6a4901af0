#!/usr/bin/env bash
# Installs, upgrades, repairs and removes the product with `wine msiexec`, without a question asked.
# installer.sh PACKAGE OLDER OTHER: the package, one of an older version, and the one for the other word size. The last
# thing that it does is what docs/install-windows.md shows.
# Where Wine is not as Windows is documented, the check says so.
set -euo pipefail

package=Z:$1 older=Z:$2 other=Z:$3
drive=$WINEPREFIX/drive_c
system=$drive/windows/system32
directory="$drive/Program Files/Folvane port monitor"
session_manager='HKLM\System\CurrentControlSet\Control\Session Manager'
fail() { echo "installer.sh: $1" >&2; grep -av '^Property' "$drive/log.txt" | tail -n 40 >&2 || true; exit 1; }

# installer STATUS ARGUMENT...: runs it and expects that exit status, of which only the lowest 8 bits get here.
installer() {
  local wanted=$1 status=0
  shift
  command="msiexec $*"
  rm -f "$drive/log.txt"
  timeout 300 wine msiexec "$@" /qn /norestart '/l*v' 'C:\log.txt' > /dev/null 2>&1 || status=$?
  [ "$status" = $((wanted % 256)) ] || fail "$command: exit status $status instead of that of $wanted"
}

# says LINE...: the last installation has these lines in its log.
says() {
  local line
  for line in "$@"; do
    grep -aqxF -- "$line" <(tr -d '\r' < "$drive/log.txt") || fail "$command: no line '$line' in the log"
  done
}

# monitors: prints what the registry has of them, never nothing. On a busy machine Wine has been seen to end without a word.
monitors() {
  for _ in 1 2 3; do
    wine reg query 'HKLM\System\CurrentControlSet\Control\Print\Monitors' /s > "$drive/said.txt" 2>&1 || true
    if [ -s "$drive/said.txt" ]; then break; fi
  done
  cat "$drive/said.txt"
}

# port yes|no: whether the spooler has it, with the module in the system directory.
port() {
  local is=no listed
  listed=$(monitors)
  if grep -q 'kvmon8\.dll' <<< "$listed" && [ -f "$system/kvmon8.dll" ]; then is=yes; fi
  [ "$is" = "$1" ] || fail "after $command: is the port there? $is: $(ls "$system"/kv*) $listed"
  [ "$is" = no ] || [ ! -f "$directory/kvctl.exe" ] || timeout 60 wine "$directory/kvctl.exe" status > "$drive/said.txt" 2>&1 ||
    fail "after $command: the port does not work: $(cat "$drive/said.txt")"
}

# version VERSION: that of the one product that is listed as installed.
version() {
  local listed
  listed=$(wine reg query 'HKLM\Software\Microsoft\Windows\CurrentVersion\Uninstall' /s 2> /dev/null | tr -d '\r' |
    awk '$1 == "DisplayVersion" { version = $3 } $1 == "DisplayName" { name = $3 } /^$/ || $1 == "Publisher" {
      if (name == "Folvane" && version != "") print version; name = version = "" }')
  [ "$listed" = "$1" ] || fail "after $command: installed versions: '$listed'"
}

# set_architecture NAME: of the processor that the system was made for.
set_architecture() { wine reg add "$session_manager\\Environment" /v PROCESSOR_ARCHITECTURE /d "$1" /f > /dev/null; }

# Everything that may be left behind; Windows keeps what ran from temporary directories there.
look_at_machine() {
  (cd "$drive" && find . \( -path ./users -o -path './*.txt' \) -prune -o -print | LC_ALL=C sort)
  find "$drive/users" \( -name '*.lnk' -o -iname '*folvane*' \) | LC_ALL=C sort
  for key in 'HKLM\System\CurrentControlSet\Control\Print\Monitors' 'HKLM\Software' 'HKCU\Software'; do
    wine reg query "$key" /s 2>&1 | grep -iE 'folvane|veltmoor|kvmon|KVR8' || true
  done
}

wine wineboot > /dev/null 2>&1
wine net start spooler > /dev/null 2>&1 || true
mkdir -p "$drive/windows/Installer"  # Windows always has it
kvctl='"C:\Program Files\Folvane port monitor\kvctl.exe"'
# What an earlier run that was cut off has left.
[ "$WINEARCH" = win32 ] || set_architecture AMD64
wine reg delete "$session_manager" /v PendingFileRenameOperations /f > /dev/null 2>&1 || true
if [ -e "$system/kvmon8.dll" ] || [ -e "$directory" ]; then
  installer 0 /i "$package"
  installer 0 /x "$package"
fi
before=$(look_at_machine)

echo "== the package for the other word size, and for another processor" >&2
# Windows names the launch condition, or has its own words for a platform that it does not know.
case $WINEARCH in win32) installer 1633 /i "$other" ;; *) installer 1603 /i "$other" ;; esac
if [ "$WINEARCH" = win64 ]; then
  set_architecture ARM64
  installer 1603 /i "$package"
  set_architecture AMD64
fi
diff <(echo "$before") <(look_at_machine) >&2 || fail "a refused package left something behind"

echo "== a printer that cannot be had" >&2
installer 1603 /i "$package" PRINTER=Preview 'DRIVER=No such driver'
says "$kvctl install --no-printer" "$kvctl install --printer \"Preview\" --driver \"No such driver\"" \
  'kvctl: exit status 1'
# The rollback. Windows goes back step by step; Wine has deleted all files before, kvctl.exe among them, so that this
# step fails there.
says "$kvctl remove"
[ ! -e "$directory" ] || fail "a failed installation left files"

echo "== installing, upgrading" >&2
installer 0 /i "$older"
port yes
version 8.26.0
installer 0 /i "$package"
port yes
version 8.27.0
installer 1603 /i "$older"
port yes
version 8.27.0
# Within an upgrade Windows tells the older version so, which then leaves the port alone; Wine does not, so that the port
# goes and comes back. "kvctl remove", but no installation, deletes the library of a language that is not in the package.
cp "$system/kvres832-0407.dll" "$system/kvres832-0411.dll"
installer 0 /x "$package" 'UPGRADINGPRODUCTCODE={5D1C5C0E-7E0B-4E0C-9D80-3F6B5A7C1E55}'
port yes
[ ! -e "$directory" ] || fail "the first half of an upgrade left files"
installer 0 /i "$package"
port yes
[ -f "$system/kvres832-0411.dll" ] || fail "an upgrade removed the port"

echo "== repairing" >&2
# Wine's "/f" does not know products; these properties are what it stands for.
repair=(/i "$package" REINSTALL=ALL REINSTALLMODE=amus)
rm "$system/kvmon8.dll" "$directory/kvctl.exe" "$directory/docs/user.md"
installer 0 "${repair[@]}"
port yes
ls "$directory/kvctl.exe" "$directory/docs/user.md" > /dev/null || fail "a repair did not bring all files back"

echo "== a file that waits for a restart" >&2
pending='\??\C:\windows\system32\kvres832-0411.dll'
printf 'REGEDIT4\r\n\r\n[%s]\r\n"PendingFileRenameOperations"=hex(7):%s00,00,00\r\n' \
  "HKEY_LOCAL_MACHINE${session_manager#HKLM}" "$(printf %s "$pending" | od -An -v -tx1 | tr -d '\n' | sed -E 's/ (..)/\1,/g')" \
  > "$drive/pending.reg"
wine regedit /S 'C:\pending.reg' > /dev/null 2>&1
rm "$drive/pending.reg"
installer 3010 "${repair[@]}"
wine reg delete "$session_manager" /v PendingFileRenameOperations /f > /dev/null
installer 0 "${repair[@]}"

echo "== removing" >&2
rm "$directory/kvctl.exe"
installer 1603 /x "$package"
says 'kvctl cannot be started: error 2' "$kvctl install --no-printer"
port yes
installer 0 /i "$package"  # after a rollback Wine has the files, but knows nothing of the product
installer 0 /x "$package" KEEPPORT=1
port yes
[ ! -e "$directory" ] || fail "the removal left files"
# What was there before is left alone by a rollback.
installer 1603 /i "$package" 'DRIVER=No such driver'
port yes
installer 0 /i "$package"
installer 0 /x "$package" CANCELJOBS=1 PURGE=1
says "$kvctl remove --cancel-jobs --purge" 'Removed: the port monitor "KVR8:".'
port no
diff <(echo "$before") <(look_at_machine) >&2 || fail "something is left behind"

echo "== a new port and the product's own printer, whose driver is not there" >&2
installer 0 /i "$package"
says "$kvctl install --no-printer" "$kvctl install" 'kvctl: exit status 1'
port yes
installer 0 /x "$package"
diff <(echo "$before") <(look_at_machine) >&2 || fail "something is left behind"

echo "== the commands of docs/install-windows.md" >&2
commands=0
while IFS= read -r line; do
  commands=$((commands + 1))
  command=${line//-x86.msi/-${1##*-}}
  (cd "$(dirname "$1")" && eval "timeout 300 wine $command" < /dev/null > /dev/null 2>&1) || fail "$command: exit status $?"
done < <(grep -E '^ {4}msiexec ' docs/install-windows.md)
[ "$commands" -ge 3 ] || fail "there are only $commands commands"
diff <(echo "$before") <(look_at_machine) >&2 || fail "something is left behind"
