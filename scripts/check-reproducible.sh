#!/usr/bin/env bash
# Builds the product's files a second time, in another directory and without a compiler cache, and compares them with
# those of build/windows-x86, which it builds first: they are the same, byte for byte.
set -euo pipefail
cd "$(dirname "$0")/.."
scripts/setup.sh host windows
source scripts/preset.sh
build_preset windows-x86

second=$(mktemp -d)
trap 'rm -rf "$second"' EXIT
git ls-files -z | tar --create --null --files-from=- | tar --extract --directory="$second"
(cd "$second" && CCACHE_DISABLE=1 build_preset windows-x86)

status=0
for file in build/windows-x86/bin/{*.dll,kvctl.exe}; do
  cmp "$file" "$second/$file" || status=1
  if grep -qaF -e "$PWD/" -e "$second" "$file"; then
    echo "check-reproducible: $file tells where it was built" >&2
    status=1
  fi
done
[ $status != 0 ] || echo "check-reproducible: a second build gives the same files"
exit $status
