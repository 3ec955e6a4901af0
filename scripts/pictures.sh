#!/usr/bin/env bash
# Takes the pictures of docs/ from the Windows build on Wine: the progress window and a message box with its link button.
set -euo pipefail
cd "$(dirname "$0")/.."
scripts/setup.sh host windows wine pictures
source scripts/preset.sh
build_preset windows-x64

screen=$(mktemp -d)
display=:97
Xvfb "$display" -screen 0 800x600x24 -br -nocursor -nolisten tcp -fbdir "$screen" > /dev/null 2>&1 &
server=$!
trap 'kill "$server"; wait "$server" || true; rm -rf "$screen"' EXIT

# take FILE PROGRAM...: what the program shows a few seconds after its start.
take() {
  local file=$1
  shift
  KV_DISPLAY=$display scripts/on-wine.sh 64 bash -euc '
    cp /usr/share/wine/fonts/*.ttf "$WINEPREFIX/drive_c/windows/Fonts/"  # where Debian puts them, Wine does not look
    wine "$@" > /dev/null 2>&1 &
    sleep 6
    xwdtopnm -quiet "$0" | pnmcrop -quiet -black | pnmtopng -quiet -compression 9
    wineserver --kill
  ' "$screen/Xvfb_screen0" "$@" > "$file"
  [ "$(stat -c %s "$file")" -lt 40000 ] || { echo "pictures.sh: $file is too large" >&2; exit 1; }
}

bin=build/windows-x64/bin
take docs/progress-window.png "$bin/kvctl.exe" demo progress --seconds 10
take docs/link-button.png "$bin/wine_link_box.exe" show
