#!/usr/bin/env bash
# Runs a command where `wine` starts Windows programs of one word size, on a prefix of its own below build/ whose
# windows nobody sees. scripts/on-wine.sh 32|64 COMMAND...
# With KV_DISPLAY, 64-bit programs show their windows on that X display, with the frames that Windows draws.
# 32-bit Wine lives in the root directory that `setup.sh wine32` makes, in which the repository has its usual path.
set -euo pipefail
cd "$(dirname "$0")/.."
bits=$1
shift

root=$PWD/build/wine32-root
if [ "$bits" = 32 ] && [ -z "${KV_IN_WINE32_ROOT:-}" ]; then
  # The mounts end with the command, and nobody else sees them.
  exec scripts/as-root.sh unshare --mount bash -euc '
    root=$1
    shift
    mkdir -p "$root$PWD"
    mount --bind "$PWD" "$root$PWD"
    mount -t proc proc "$root/proc"
    exec chroot "$root" env -i KV_IN_WINE32_ROOT=1 HOME=/root PATH=/usr/lib/wine:/usr/bin:/bin \
      "$PWD/scripts/on-wine.sh" 32 "$@"
  ' bash "$root" "$@"
fi

export WINEPREFIX=$PWD/build/wine$bits WINEARCH=win$bits WINEDEBUG=-all WINEDLLOVERRIDES="mscoree,mshtml="
graphics=('HKCU\Software\Wine\Drivers' /v Graphics /d null)
unset DISPLAY
if [ -n "${KV_DISPLAY:-}" ]; then
  WINEPREFIX+=-shown
  export DISPLAY=$KV_DISPLAY
  graphics=('HKCU\Software\Wine\X11 Driver' /v Managed /d N)
fi
made=$WINEPREFIX/made-whole
if [ ! -f "$made" ]; then
  echo "== making a Wine prefix ($bits-bit)" >&2
  rm -rf "$WINEPREFIX"
  mkdir -p "$WINEPREFIX"
  wine wineboot --init > /dev/null 2>&1
  wineserver --wait
  wine reg add "${graphics[@]}" /f > /dev/null
  # The desktop that `reg` itself ran on still has no driver at all: it must be gone before a test makes a window.
  wineserver --wait
  touch "$made"
fi
status=0
"$@" || status=$?
wineserver --wait
exit "$status"
