#!/usr/bin/env bash
# Every command that the documents show (a line indented by four spaces or more) does what they say:
# - a synopsis of kvctl (with brackets or ALTERNATIVES) is the one of the command's own help;
# - any other command of kvctl succeeds on a fresh machine, the commands of a document one after the other;
# - a script is a step of .ci/run, whatever its environment;
# - msiexec is what scripts/package.sh runs on Wine;
# - whatever else there is succeeds, benchmarks in the shortest time that they know.
set -euo pipefail
cd "$(dirname "$0")/.."
scripts/setup.sh host
source scripts/preset.sh
preset=$(host_preset host-x86)
build_preset "$preset" kvctl kvmon8 kvmachine

bin=$PWD/build/$preset/bin
case $preset in host-x64) arch=x64 ;; *) arch=x86 ;; esac
export BENCHMARK_MIN_TIME=0.001
work=$(mktemp -d)
trap 'rm -rf "$work" build/try' EXIT
commands=0
fail() { echo "check-documents.sh: $document: $line: $1" >&2; tail -n 20 "$work/log" >&2; exit 1; }

# A machine on which the port is installed, unless the document tells how to install it.
new_machine() {
  rm -rf "$work/machine" build/try
  "$bin/kvmachine" create "$work/machine" --arch "$arch" user.administrator=1 user.elevated=1
  grep -q '^    kvctl install --driver' "$document" ||
    (cd "$work" && KV_MACHINE=$work/machine "$bin/kvctl" install --driver "Generic / Text Only")
}

in_machine() { (cd "$work" && PATH=$bin:$PATH KV_MACHINE=$work/machine bash -c "$1"); }

for document in README.md docs/*.md; do
  new_machine > "$work/log" 2>&1
  cp README.md "$work/"
  cp README.md "$work/report.txt"
  while IFS= read -r line; do
    line=${line#"${line%%[![:space:]]*}"}
    commands=$((commands + 1))
    case $line in
      kvctl*[][]*)
        name=$(cut -d' ' -f2 <<< "$line")
        in_machine "kvctl $name --help" > "$work/log"
        grep -qxF "Usage: $line" "$work/log" || fail "is not what 'kvctl $name --help' says"
        ;;
      kvctl\ * | source\ *kvctl\ *) in_machine "$line" > "$work/log" 2>&1 || fail "exit status $?" ;;
      scripts/setup.sh\ *) $line > "$work/log" 2>&1 || fail "exit status $?" ;;
      msiexec\ *) [[ $document == docs/install-windows.md ]] || fail "only docs/install-windows.md is read by scripts/package.sh" ;;
      scripts/*.sh* | KV_*=*\ scripts/*.sh*)
        while [[ $line == KV_* ]]; do line=${line#* }; done
        [ -x "${line%% *}" ] || fail "no such script"
        grep -qE "(^|[( ])${line%% *}( |\$|\))" .ci/run || fail "no step of .ci/run" ;;
      .ci/run) [ -x "$line" ] || fail "no such script" ;;
      *) bash -c "$line" > "$work/log" 2>&1 || fail "exit status $?" ;;
    esac
  done < <(grep -E '^ {4,}[^ ]' "$document")
done
echo "$commands commands of the documents are as they should be"
