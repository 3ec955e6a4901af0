#!/usr/bin/env bash
# The main job: builds the port monitor, installs it on a fresh machine, prints through its port, and removes it.
# scripts/run.sh [FILE...]: prints these files too.
set -euo pipefail
cd "$(dirname "$0")/.."
scripts/setup.sh host
source scripts/preset.sh

preset=$(host_preset host-x86)
echo "== building ($preset)"
build_preset "$preset" kvctl kvmon8 kvmachine
bin=build/$preset/bin

echo "== a fresh machine below build/machine, its user an elevated administrator"
export KV_MACHINE=$PWD/build/machine
rm -rf "$KV_MACHINE"
case $preset in host-x64) arch=x64 ;; *) arch=x86 ;; esac
"$bin/kvmachine" create "$KV_MACHINE" --arch "$arch" user.administrator=1 user.elevated=1

echo "== installing the port and a printer on it"
"$bin/kvctl" install --printer Folvane --driver "Generic / Text Only"
echo "== how it stands"
"$bin/kvctl" status
echo "== ports and printers of the spooler"
"$bin/kvctl" ports
"$bin/kvctl" printers

echo "== printing"
job=build/generated-job-256MiB.bin
if [ "$(stat -c %s "$job" 2> /dev/null)" != $((256 << 20)) ]; then
  head -c $((256 << 20)) < <(yes 'A line of the generated job.') > "$job"
fi
"$bin/kvctl" print README.md "$@" "$job"

echo "== removing everything again"
"$bin/kvctl" remove --purge
