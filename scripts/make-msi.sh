#!/usr/bin/env bash
# Makes an installer package of the files that a ZIP of the product holds.
# make-msi.sh x86|x64 VERSION FILES ACTIONS OUTPUT: FILES is their directory, ACTIONS the library of custom actions.
# The same input gives the same package: its codes come from what it is, its times from SOURCE_DATE_EPOCH.
set -euo pipefail
arch=$1 version=$2 files=$(realpath "$3") actions=$(realpath "$4") output=$(realpath "$5")
cd "$(dirname "$0")/.."
export TZ=UTC LC_ALL=C

# A GUID that is a function of its argument, of the kind that RFC 4122 calls version 5.
guid() {
  local hash
  hash=$(printf %s "$1" | sha1sum | tr a-f A-F)
  echo "${hash:0:8}-${hash:8:4}-5${hash:13:3}-8${hash:17:3}-${hash:20:12}"
}

# What the two packages have in common differs in the last part of its GUIDs.
case $arch in
  x86) variables=(Platform=x86 Win64=no ProgramFiles=ProgramFilesFolder Family=D0FEC42508A4) ;;
  x64) variables=(Platform=x64 Win64=yes ProgramFiles=ProgramFiles64Folder Family=D0FEC42508A5) ;;
  *) echo "make-msi.sh: unknown architecture '$arch'" >&2; exit 2 ;;
esac
# A product of one version is one product, whoever builds it; packages that differ have codes that differ.
contents=$( (cd "$files" && find . -type f -print0 | sort -z | xargs -0 sha1sum) && sha1sum < "$actions" &&
  sha1sum packaging/folvane.wxs resources/folvane.ico)
variables+=(Version="$version.0" ProductCode="$(guid "Folvane port monitor $version $arch")")

work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT
rm -f "$output"
ln -s "$files" "$work/files"
cp "$actions" packaging/folvane.wxs resources/folvane.ico "$work/"
# What it does not know it names, and goes on.
if ! (cd "$work" && wixl --arch "$arch" "${variables[@]/#/--define=}" -o "$output" folvane.wxs 2> said) || [ -s "$work/said" ]; then
  cat "$work/said" >&2
  exit 1
fi

# What wixl leaves out: that two actions are for rollbacks, that properties are found out before the installer gets its
# rights, and the versions of files (which then have no hash).
rollback_library_action=$((1 + 0x40 + 0x100 + 0x400 + 0x800))  # from a library; result ignored, without impersonation
queries=(-q "UPDATE \`CustomAction\` SET \`Type\` = $rollback_library_action WHERE \`Action\` = 'RestorePort'"
  -q "UPDATE \`CustomAction\` SET \`Type\` = $rollback_library_action WHERE \`Action\` = 'UndoPort'"
  -q "UPDATE \`Property\` SET \`Value\` = 'MACHINEARCHITECTURE;PORTWASTHERE;WIX_DOWNGRADE_DETECTED;WIX_UPGRADE_DETECTED' WHERE \`Property\` = 'SecureCustomProperties'")
version_of() {  # version_of KEY LANGUAGE
  queries+=(-q "UPDATE \`File\` SET \`Version\` = '$file_version', \`Language\` = '$2' WHERE \`File\` = '$1'"
    -q "DELETE FROM \`MsiFileHash\` WHERE \`File_\` = '$1'")
}
file_version=$(sed -nE 's/^project\(.* VERSION ([0-9]+\.[0-9]+) .*/\1/p' CMakeLists.txt).0.0
version_of kvctl.exe 1033
version_of kvmon8.dll 1033
version_of kvres832.dll 1033
version_of kvres832_0407.dll 1031
version_of kvres832_0419.dll 1049
msibuild "$output" "${queries[@]}"

# And what it makes up: the package's code and times.
time=$(date -d "@${SOURCE_DATE_EPOCH:-0}" '+%Y/%m/%d %H:%M:%S')
msiinfo export "$output" _SummaryInformation |
  sed -E "s,^9\t.*,9\t{$(guid "$arch $version $SOURCE_DATE_EPOCH $contents")}\r,; s,^(12|13)\t.*,\1\t$time\r," > "$work/_SummaryInformation.idt"
msibuild "$output" -i "$work/_SummaryInformation.idt"
