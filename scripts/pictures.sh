#!/usr/bin/env bash
# Takes the pictures of the documents from the Windows build on Wine: the progress window and a message box with its
# link button. scripts/pictures.sh [DIRECTORY]: where they go; docs when nothing is said.
set -euo pipefail
cd "$(dirname "$0")/.."
scripts/setup.sh host windows wine pictures
source scripts/preset.sh
build_preset windows-x64

directory=${1:-docs}
mkdir -p "$directory"
screen=$(mktemp -d)
display=:97
Xvfb "$display" -screen 0 800x600x24 -br -nocursor -nolisten tcp -fbdir "$screen" > /dev/null 2>&1 &
server=$!
trap 'kill "$server"; wait "$server" || true; rm -rf "$screen"' EXIT

# take FILE PROGRAM...: what the program shows a few seconds after its window has come.
take() {
  local file=$1
  shift
  KV_DISPLAY=$display scripts/on-wine.sh 64 bash -euc '
    cp /usr/share/wine/fonts/*.ttf "$WINEPREFIX/drive_c/windows/Fonts/"  # where Debian puts them, Wine does not look
    wine "$@" > /dev/null 2>&1 &
    for _ in {1..60}; do
      sleep 0.5
      [ -z "$(xwdtopnm -quiet "$0" | tail -c +64 | tr -d "\0" | head -c 1)" ] || break
    done
    sleep 4
    xwdtopnm -quiet "$0" | pnmcrop -quiet -black | pnmtopng -quiet -compression 9
    wineserver --kill
  ' "$screen/Xvfb_screen0" "$@" > "$file"
  local width height
  read -r width height < <(pngtopnm -quiet "$file" | sed -n 2p)
  [ "$width" -gt 200 ] && [ "$height" -gt 80 ] || { echo "pictures.sh: $file shows no window" >&2; exit 1; }
  [ "$(stat -c %s "$file")" -lt 40000 ] || { echo "pictures.sh: $file is too large" >&2; exit 1; }
}

bin=build/windows-x64/bin
take "$directory/progress-window.png" "$bin/kvctl.exe" demo progress --seconds 10
take "$directory/link-button.png" "$bin/wine_link_box.exe" show
