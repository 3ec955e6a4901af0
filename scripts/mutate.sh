#!/usr/bin/env bash
# Which faults do the tests notice? Puts one small change at a time into a source of monitor/, runtime/ or tools/ (a
# comparison turned, a number one higher, a text misspelt, a statement left out …), builds what depends on it and runs the
# folder's own test program, then the others. Prints every change that no test noticed, and a table: changes made, found by
# the folder's own tests, found by others, survived.
#
# scripts/mutate.sh [--count N] [--seed S] [--jobs N] [--own] [--list] [--survivors] [FOLDER...]: N changes (100) in each
# of the folders (all). With --own, the other programs are not tried, which is quicker while tests are being written. The
# same seed gives the same changes, and an interrupted run goes on where it was. All work is done on copies below
# build/mutate/.
set -euo pipefail
cd "$(dirname "$0")/.."
scripts/setup.sh host mutate
exec python3 scripts/mutate.py "$@"
