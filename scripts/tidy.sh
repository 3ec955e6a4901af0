#!/usr/bin/env bash
# clang-tidy (.clang-tidy says which checks) over the product's and the layer's sources, or those that are named.
# scripts/tidy.sh [FILE...]
set -euo pipefail
cd "$(dirname "$0")/.."
scripts/setup.sh host checks fuzz

cmake --preset tidy > /dev/null
[ $# -gt 0 ] || set -- $(git ls-files 'monitor/*.cpp' 'runtime/*.cpp' 'tools/*.cpp' 'platform/*.cpp')
printf '%s\n' "$@" | xargs -P "$(nproc)" -n 4 clang-tidy -p build/tidy --quiet 2> /dev/null
echo "clang-tidy: no findings in $# files"
