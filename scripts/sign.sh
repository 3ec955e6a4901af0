#!/usr/bin/env bash
# Signs programs, libraries and installer packages in place, so that Windows names who made them. sign.sh FILE...
#   KV_SIGN_PKCS12         the certificate with its key and the certificates above it, a PKCS #12 file
#   KV_SIGN_PASSWORD       its password; or
#   KV_SIGN_PASSWORD_FILE  a file that holds nothing else
#   KV_SIGN_TIMESTAMP      the address of a time-stamp server (RFC 3161), so that signatures outlive the certificate
set -euo pipefail
: "${KV_SIGN_PKCS12:?names the certificate}"

work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT
password=${KV_SIGN_PASSWORD_FILE:-$work/password}
# In a file: what stands on a command line everybody on the machine can read.
[ -n "${KV_SIGN_PASSWORD_FILE:-}" ] || (umask 077 && printf %s "${KV_SIGN_PASSWORD:-}" > "$password")
for file; do
  kind=()
  case $file in *.msi) kind=(-add-msi-dse) ;; esac
  osslsigncode sign -pkcs12 "$KV_SIGN_PKCS12" -readpass "$password" -h sha256 -n "Folvane port monitor" \
    ${KV_SIGN_TIMESTAMP:+-ts "$KV_SIGN_TIMESTAMP"} "${kind[@]}" -in "$file" -out "$work/signed" > "$work/log" 2>&1 || {
    echo "sign.sh: $file was not signed:" >&2
    cat "$work/log" >&2
    exit 1
  }
  cat "$work/signed" > "$file"
  rm "$work/signed"
done
