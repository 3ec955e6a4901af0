# Sourced: `host_preset NAME` prints NAME, or host-x64 (with a line on standard error) where no 32-bit program can be
# built.
host_preset() {
  if echo 'int main() {}' | g++ -m32 -xc++ - -o /dev/null > /dev/null 2>&1; then
    echo "$1"
  else
    echo "No 32-bit compiler can be had: using the 64-bit host build instead of $1." >&2
    echo host-x64
  fi
}

# `build_preset NAME [TARGET...]` configures and builds quietly; what went wrong is shown.
build_preset() {
  local name=$1 log
  shift
  log=$(mktemp)
  if ! { cmake --preset "$name" && cmake --build --preset "$name" ${1:+--target "$@"}; } > "$log" 2>&1; then
    grep -vE '^\[[0-9]+/[0-9]+\]' "$log" | tail -n 60 >&2
    rm -f "$log"
    echo "building $name failed" >&2
    return 1
  fi
  rm -f "$log"
}
