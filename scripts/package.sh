#!/usr/bin/env bash
# Makes the packages for Windows in build/packages/: for the product (32-bit) and its 64-bit twin each a ZIP and an
# installer package, and their SHA256SUMS. With KV_SIGN_PKCS12 they are signed (see sign.sh).
# Then checks them: what they hold, that the same files give the same packages, that signatures are good (with a
# certificate of its own), and on Wine what the installer packages do; the 32-bit one where 32-bit Wine can be had.
set -euo pipefail
cd "$(dirname "$0")/.."
scripts/setup.sh host windows wine package
source scripts/preset.sh
export LC_ALL=C TZ=UTC
# The time that the tools write into what they make: that of the commit.
SOURCE_DATE_EPOCH=$(git log -1 --format=%ct)
export SOURCE_DATE_EPOCH

packages=$PWD/build/packages
work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT
fail() { echo "package.sh: $1" >&2; exit 1; }

# Beside the builds, for it takes long.
scripts/setup.sh wine32 &
wine32=$!
build_preset windows-x86
build_preset windows-x64
version=$(sed -nE 's/^CMAKE_PROJECT_VERSION:STATIC=//p' build/windows-x86/CMakeCache.txt)
name=folvane-port-monitor-$version

# stage DIRECTORY: for each word size $name-ARCH/, what people get, and actions-ARCH/, which the installer package needs.
stage() {
  local arch
  for arch in x86 x64; do
    cmake --install "build/windows-$arch" --strip --prefix "$1/$name-$arch"
    cmake --install "build/windows-$arch" --strip --component installer --prefix "$1/actions-$arch"
  done > "$work/log"
}

# pack DIRECTORY OUTPUT: makes the packages of what is staged.
pack() {
  local arch
  mkdir -p "$2"
  find "$1" -exec touch -d "@$SOURCE_DATE_EPOCH" {} +
  for arch in x86 x64; do
    rm -f "$2/$name-$arch.zip"
    (cd "$1" && find "$name-$arch" -type f | sort | zip -q -X -9 -@ "$2/$name-$arch.zip")
    scripts/make-msi.sh "$arch" "$version" "$1/$name-$arch" "$1/actions-$arch/installer_actions.dll" "$2/$name-$arch.msi"
  done
}

# sign_and_pack DIRECTORY OUTPUT: likewise, all signed.
sign_and_pack() {
  find "$1" \( -name '*.dll' -o -name '*.exe' \) -exec scripts/sign.sh {} +
  pack "$1" "$2"
  scripts/sign.sh "$2"/*.msi
}

# extract PACKAGE DIRECTORY: makes the directory, of what the package puts into the program's own.
extract() {
  rm -rf "$work/root"
  msiextract -C "$work/root" "$1" > "$work/log"
  mv "$(find "$work/root" -type d -name 'Folvane port monitor')" "$2"
}

rm -rf "$packages"
stage "$work/files"
pack "$work/files" "$packages"

echo "== what the packages hold"
wanted="docs/README.md docs/install-windows.md docs/licences.md docs/licences/gcc-runtime.txt
docs/licences/mingw-w64.txt docs/link-button.png docs/progress-window.png docs/translating.md docs/user.md
kvctl.exe kvmon8.dll kvres832-0407.dll kvres832-0419.dll kvres832.dll"
[ "$(find "$work/files/$name-x86" -type f -printf '%P\n' | sort)" = "$(tr ' ' '\n' <<< "$wanted" | sort)" ] ||
  fail "the packages hold: $(cd "$work/files/$name-x86" && find . -type f)"
# The module in the packages is the one that check-module.sh approves of, without its symbols.
scripts/check-module.sh
i686-w64-mingw32-strip -o "$work/stripped.dll" build/windows-x86/bin/kvmon8.dll
cmp "$work/files/$name-x86/kvmon8.dll" "$work/stripped.dll"
for arch in x86 x64; do
  unzip -q "$packages/$name-$arch.zip" -d "$work/unpacked"
  diff -r "$work/files/$name-$arch" "$work/unpacked/$name-$arch"
  extract "$packages/$name-$arch.msi" "$work/extracted-$arch"
  diff -r "$work/files/$name-$arch" "$work/extracted-$arch"
done

# By these Windows knows the product of this version, and versions as upgrades of each other.
value() { msiinfo export "$packages/$name-$1.msi" "$2" | tr -d '\r' | sed -n "s/^$3\t//p"; }
expect() { [ "$1" = "$2" ] || fail "an installer package has '$1' where it should have '$2'"; }
expect "$(value x86 Property UpgradeCode)" '{03845F5C-57A2-4D1A-AB45-D0FEC42508A4}'
expect "$(value x64 Property UpgradeCode)" '{03845F5C-57A2-4D1A-AB45-D0FEC42508A5}'
expect "$(value x86 _SummaryInformation 7)" 'Intel;1033'
expect "$(value x64 _SummaryInformation 7)" 'x64;1033'
expect "$(value x86 LaunchCondition 'Installed OR NOT VersionNT64')" \
  'This package is for 32-bit Windows. On a 64-bit Windows the print spooler loads 64-bit monitors only: install the package whose name ends in -x64.msi.'
expect "$(value x86 CustomAction RestorePort)" $'3393\tActions\tTryKvctl\t'
expect "$(value x86 CustomAction RemovePort)" $'3073\tActions\tRunKvctl\t'
expect "$(value x86 File 'kvmon8.dll')" "Module"$'\t'"kvmon8.dll"$'\t'"$(stat -c %s "$work/files/$name-x86/kvmon8.dll")"$'\t'"$version.0.0"$'\t1033\t512\t2'

echo "== the same files give the same packages"
stage "$work/again"
pack "$work/again" "$work/second"
diff -r "$packages" "$work/second"

echo "== signatures"
# A certificate for this check alone.
openssl req -x509 -newkey rsa:2048 -nodes -days 2 -subj "/CN=Check of the packages" -addext extendedKeyUsage=codeSigning \
  -keyout "$work/key.pem" -out "$work/certificate.pem" 2> "$work/log"
openssl pkcs12 -export -inkey "$work/key.pem" -in "$work/certificate.pem" -passout pass:secret -out "$work/certificate.p12"
verify() { osslsigncode verify -CAfile "$work/certificate.pem" -in "$1" > "$work/log" 2>&1; }
! verify "$work/second/$name-x86.msi" || fail "signatures are not checked"
as_check() {  # as_check PASSWORD COMMAND...: signs with that certificate
  KV_SIGN_PKCS12=$work/certificate.p12 KV_SIGN_PASSWORD=$1 KV_SIGN_PASSWORD_FILE='' KV_SIGN_TIMESTAMP='' "${@:2}"
}
as_check secret sign_and_pack "$work/again" "$work/second"
! as_check wrong scripts/sign.sh "$work/second/$name-x86.msi" 2> "$work/log" || fail "a wrong password signs"
for arch in x86 x64; do
  extract "$work/second/$name-$arch.msi" "$work/signed-$arch"
  verify "$work/second/$name-$arch.msi" || fail "the signature of the installer package ($arch): $(cat "$work/log")"
  for file in "$work/signed-$arch"/*.{exe,dll} "$work/again/actions-$arch"/*.dll; do
    verify "$file" || fail "the signature of $file: $(cat "$work/log")"
  done
done

if [ -n "${KV_SIGN_PKCS12:-}" ]; then
  echo "== signing with $KV_SIGN_PKCS12"
  sign_and_pack "$work/files" "$packages"
fi
(cd "$packages" && sha256sum "$name"* > SHA256SUMS && sha256sum --check --quiet SHA256SUMS)
ls -l "$packages"

# An older version to upgrade from, of the same files.
for arch in x86 x64; do
  scripts/make-msi.sh "$arch" 8.26 "$work/files/$name-$arch" "$work/files/actions-$arch/installer_actions.dll" \
    "build/older-$arch.msi"
done
# try_on_wine BITS ARCH OTHER
try_on_wine() {
  echo "== the installer package on $1-bit Wine"
  scripts/on-wine.sh "$1" tests/windows/installer.sh "$packages/$name-$2.msi" "$PWD/build/older-$2.msi" "$packages/$name-$3.msi"
}
try_on_wine 64 x64 x86
if wait "$wine32"; then try_on_wine 32 x86 x64; fi
rm build/older-*.msi
echo "the packages install, upgrade, repair and remove the port, and leave nothing behind"
