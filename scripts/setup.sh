#!/usr/bin/env bash
# Installs what is missing for the given purposes and nothing else. Purposes: host (default), windows, wine, wine32,
# checks, mutate, package, pictures, fuzz. Exit status 0 when everything is there; 1 when something that
# cannot be done without is missing. A missing 32-bit compiler is not fatal: the callers fall back to the 64-bit host
# build (see preset.sh).
set -euo pipefail
cd "$(dirname "$0")/.."

have() { command -v "$1" > /dev/null 2>&1; }
can_build_32() { echo 'int main() {}' | g++ -m32 -xc++ - -o /dev/null > /dev/null 2>&1; }

debian_keys=/usr/share/keyrings/debian-archive-keyring.gpg
purposes=("$@")
[ ${#purposes[@]} -gt 0 ] || purposes=(host)

missing=()
need() {  # need PACKAGE TEST...
  local package=$1
  shift
  "$@" > /dev/null || missing+=("$package")
}

look() {
  missing=()
  for purpose in "${purposes[@]}"; do
    case $purpose in
      host)
        need g++ have g++
        need g++-multilib can_build_32
        need cmake have cmake
        need ninja-build have ninja
        need llvm have llvm-rc
        need lld have lld-link
        need googletest test -f /usr/src/googletest/CMakeLists.txt
        need libbenchmark-dev test -f /usr/include/benchmark/benchmark.h
        ;;
      windows)
        need g++-mingw-w64-i686 have i686-w64-mingw32-g++-win32
        need g++-mingw-w64-x86-64 have x86_64-w64-mingw32-g++-posix
        ;;
      wine)
        need wine have wine
        need wine64 test -e /usr/lib/wine/wine64
        ;;
      wine32)
        need debootstrap have debootstrap
        need debian-archive-keyring test -f "$debian_keys"
        ;;
      checks)
        need clang-format have clang-format
        need clang-tidy have clang-tidy
        ;;
      mutate)
        need ccache have ccache
        need python3 have python3
        ;;
      package)
        need wixl have wixl
        need msitools have msibuild
        need osslsigncode have osslsigncode
        need openssl have openssl
        need zip have zip
        need unzip have unzip
        ;;
      pictures)
        need xvfb have Xvfb
        need netpbm have xwdtopnm
        need fonts-wine compgen -G '/usr/share/wine/fonts/*.ttf'
        ;;
      fuzz)
        need clang have clang
        need libclang-rt-14-dev compgen -G '/usr/lib/llvm-*/lib/clang/*/lib/linux/libclang_rt.fuzzer-x86_64.a'
        ;;
      *)
        echo "setup.sh: unknown purpose '$purpose'" >&2
        exit 2
        ;;
    esac
  done
}

install() {
  scripts/as-root.sh env DEBIAN_FRONTEND=noninteractive apt-get install -y -q --no-install-recommends "$@" \
    > "$log" 2>&1
}

install_missing() {
  echo "setup.sh: installing ${missing[*]}"
  if ! install "${missing[@]}"; then
    # The package index may be old, or a part of it unreachable: update what can be, then try once more, one by one.
    scripts/as-root.sh apt-get update -q > "$log" 2>&1 || true
    look
    for package in "${missing[@]}"; do install "$package" || true; done
  fi
  look
  fatal=()
  for package in "${missing[@]}"; do
    case $package in g++-multilib | libbenchmark-dev) ;; *) fatal+=("$package") ;; esac
  done
  if [ ${#fatal[@]} -gt 0 ]; then
    echo "setup.sh: cannot install ${fatal[*]}:" >&2
    tail -n 5 "$log" >&2
    exit 1
  fi
}

# 32-bit Wine comes in a root directory of its own: beside the packages of a 64-bit machine apt often cannot have it.
# What was cut off is made again; its mounts end with the command.
make_wine32_root() {
  local root=build/wine32-root
  [ -d "$root" ] || fill_wine32_root "$root"
  if ! timeout 300 scripts/on-wine.sh 32 wine cmd /c exit 0 > "$log" 2>&1 < /dev/null; then
    echo "setup.sh: no 32-bit Wine: $(tail -n 1 "$log")" >&2
    exit 1
  fi
}

fill_wine32_root() {
  local root=$1
  echo "setup.sh: making $root"
  mkdir -p build
  if ! {
    scripts/as-root.sh rm -rf --one-file-system "$root.new" &&
      scripts/as-root.sh timeout 900 unshare --mount debootstrap --arch=i386 --variant=minbase --include=wine32 \
        --keyring="$debian_keys" bookworm "$root.new" http://deb.debian.org/debian &&
      scripts/as-root.sh sh -c 'rm -f "$1".new/var/cache/apt/archives/*.deb && mv "$1.new" "$1"' sh "$root"
  } > "$log" 2>&1; then
    echo "setup.sh: no 32-bit Wine: $(tail -n 1 "$log")" >&2
    exit 1
  fi
}

log=$(mktemp)
trap 'rm -f "$log"' EXIT
look
[ ${#missing[@]} -eq 0 ] || install_missing
for purpose in "${purposes[@]}"; do
  [ "$purpose" != wine32 ] || make_wine32_root
done
