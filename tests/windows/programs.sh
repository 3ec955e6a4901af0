#!/usr/bin/env bash
# The programs of a directory with `wine`. programs.sh DIRECTORY
set -euo pipefail
timeout 120 wine "$1/wine_spooler_client.exe"
timeout 60 wine "$1/kvctl.exe" ports | tr -d '\r' | grep -E '^KVR8: +Folvane +Folvane$'
