#!/usr/bin/env bash
# Fails when the repository holds a binary file that is no picture, no icon and no part of a fuzz corpus: what is built
# stays out of it.
set -euo pipefail
cd "$(dirname "$0")/.."
empty=$(git hash-object -t tree /dev/null)
# Git prints hyphens in place of line counts for binary files.
binaries=$(git diff --cached --numstat "$empty" -- ':!docs/*.png' ':!resources/*.ico' ':!fuzz/corpus' | sed -n 's/^-\t-\t//p')
[ -z "$binaries" ] || { echo "check-tree: binary files in the repository: ${binaries//$'\n'/, }" >&2; exit 1; }
