#!/usr/bin/env bash
# Makes the packages for Windows in build/packages/ and checks what they hold: ZIP and installer of the product
# (32-bit), ZIP of its 64-bit twin. Where 32-bit Wine can be had, the installer is run on it.
set -euo pipefail
cd "$(dirname "$0")/.."
scripts/setup.sh host windows package
source scripts/preset.sh

# The time that the tools write into what they make: that of the commit.
SOURCE_DATE_EPOCH=$(git log -1 --format=%ct)
export SOURCE_DATE_EPOCH

packages=$PWD/build/packages
rm -rf "$packages"
mkdir -p "$packages"
for preset in windows-x86 windows-x64; do
  build_preset "$preset"
  (cd "build/$preset" && cpack -B "$packages" > "$packages/cpack.log" 2>&1) || { tail -n 30 "$packages/cpack.log" >&2; exit 1; }
done
rm -rf "$packages/_CPack_Packages" "$packages/cpack.log"

wanted="docs/README.md docs/install-windows.md docs/licences.md docs/licences/gcc-runtime.txt
docs/licences/mingw-w64.txt docs/link-button.png docs/progress-window.png docs/translating.md docs/user.md
kvctl.exe kvmon8.dll kvres832-0407.dll kvres832-0419.dll kvres832.dll"
for archive in "$packages"/*.zip; do
  held=$(unzip -Z1 "$archive" | sed 's,^[^/]*/,,' | grep -v '/$' | LC_ALL=C sort | tr '\n' ' ')
  [ "$held" = "$(echo $wanted | tr ' ' '\n' | LC_ALL=C sort | tr '\n' ' ')" ] || {
    echo "package.sh: $(basename "$archive") holds: $held" >&2
    exit 1
  }
done
# The module in the package is the one that check-module.sh approves of, without its symbols.
scripts/check-module.sh
unzip -q -o -j "$packages"/*-x86.zip '*/kvmon8.dll' -d "$packages/check"
i686-w64-mingw32-strip -o "$packages/check/stripped.dll" build/windows-x86/bin/kvmon8.dll
cmp "$packages/check/kvmon8.dll" "$packages/check/stripped.dll"
rm -rf "$packages/check"
ls -l "$packages"
if scripts/setup.sh wine32; then
  scripts/on-wine.sh 32 tests/windows/installer.sh "$packages"/*-x86.exe
  echo "the installer and its uninstaller leave nothing behind"
fi
