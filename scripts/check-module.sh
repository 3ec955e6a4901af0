#!/usr/bin/env bash
# Checks the Windows module: what it is, what it exports, that it carries the library whole, and what it asks of the
# system. scripts/check-module.sh [FILE]: the module of a build directory, build/windows-x86/bin/kvmon8.dll when no file
# is named.
set -euo pipefail
export LC_ALL=C
cd "$(dirname "$0")/.."
module=${1:-build/windows-x86/bin/kvmon8.dll}
objdump=i686-w64-mingw32-objdump
failures=0
fail() { echo "check-module: $1" >&2; failures=$((failures + 1)); }
dump=$($objdump -p "$module")
headers=$($objdump -h "$module")

grep -q 'file format pei-i386' <<< "$headers" || fail "not a 32-bit PE file"
grep -q '^Name.*kvmon4\.dll$' <<< "$dump" || fail "the export table's name is not kvmon4.dll"
grep -qE '^\s+DYNAMIC_BASE' <<< "$dump" || fail "not relocatable"
grep -qE '^\s+NX_COMPAT' <<< "$dump" || fail "not NX compatible"
grep -q '^Entry 5 [0-9a-f]* 0*[1-9a-f]' <<< "$dump" || fail "no base relocations"

# The name table's position is the ordinal minus the base of 1.
exports=$(sed -n '/^\[Ordinal\/Name Pointer\] Table/,/^$/p' <<< "$dump" | sed -nE 's/^\s*\[ *([0-9]+)\].* ([A-Za-z_@0-9]+)$/\1 \2/p')
wanted=$'0 DllMain\n1 InitializeMonitorEx\n2 InitializePrintMonitor'
[ "$exports" = "$wanted" ] || fail "exports are: ${exports//$'\n'/, }"
grep -q '^Ordinal Base.*1$' <<< "$dump" || fail "the ordinal base is not 1"

# Every object of the library is in it, with everything that the object defines.
symbols() { i686-w64-mingw32-nm --defined-only "$@"; }
library=$(dirname "$module")/../runtime/libkv_runtime.a
objects=$(i686-w64-mingw32-ar t "$library" | sort)
defined=$(symbols -A -g "$library" | awk '$2 ~ /^[TDBR]$/ { sub(/^.*\.a:/, "", $1); sub(/:.*/, "", $1); print $3, $1 }' | sort)
silent=$(comm -23 <(echo "$objects") <(awk '{ print $2 }' <<< "$defined" | sort -u))
[ -z "$silent" ] || fail "objects that define nothing: ${silent//$'\n'/, }"
absent=$(join -v 1 <(echo "$defined") <(symbols "$module" | awk '{ print $3 }' | sort -u) | awk '{ print $2 }' | sort -u)
[ -z "$absent" ] || fail "objects that are not in it, or not whole: ${absent//$'\n'/, }"

# Section flags stand on the line behind the section's own; CODE marks what may be executed.
while read -r name flags; do
  if [[ $flags == *CODE* && $flags != *READONLY* ]]; then fail "section $name is writable and executable"; fi
done < <(awk '/^ *[0-9]+ \./ { name = $2; getline; print name, $0 }' <<< "$headers")

# Imports: "library function" lines against the list of what Windows XP has.
imports=$(awk '/DLL Name:/ { dll = tolower($3) } /^\t[0-9a-f]+\t +[0-9]+ / { print dll, $3 } /^\t[0-9a-f]+ +<none>/ { print dll, $3 }' <<< "$dump" | sort -u)
[ -n "$imports" ] || fail "no imports found"
unknown=$(comm -23 <(echo "$imports") <(grep -v '^#' scripts/windows-xp-imports.txt | sort -u))
[ -z "$unknown" ] || fail "imports that scripts/windows-xp-imports.txt does not hold: ${unknown//$'\n'/, }"
bound=$(grep -v '^#' scripts/run-time-bound.txt | sort -u)
early=$(comm -12 <(awk '{ print $2 }' <<< "$imports" | sort -u) <(echo "$bound"))
[ -z "$early" ] || fail "imports what must be bound at run time: ${early//$'\n'/, }"

# The version resource: the fixed information (signature, structure version, file version, product version) and the
# name of the translation table, as they stand in the file.
bytes=$(od -An -v -tx1 "$module" | tr -d ' \n')
grep -q 'bd04effe000001001b000800000000001b00080000000000' <<< "$bytes" || fail "the version resource does not say 8.27"
translation=$(printf 'Translation' | iconv -t UTF-16LE | od -An -v -tx1 | tr -d ' \n')
grep -q "$translation" <<< "$bytes" || fail "no translation table"

[ "$failures" = 0 ] || exit 1
echo "check-module: $module is as it should be ($(wc -l <<< "$objects") objects of the library, $(wc -l <<< "$imports") imports)"
