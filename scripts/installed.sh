#!/usr/bin/env bash
# Checks the installed tree: installs a build into a temporary directory, builds examples/reader against it as a stranger
# would, and runs the reader and the installed program.
#   scripts/installed.sh BUILD
set -euo pipefail
root=$(cd "$(dirname "${BASH_SOURCE[0]}")/.." && pwd)
build=$(cd "$1" && pwd)
temporary=$(mktemp -d)
trap 'rm -rf "$temporary"' EXIT
prefix=$temporary/prefix

fail() {
  printf '%s\n' "$*"
  exit 1
}

cmake --install "$build" --prefix "$prefix"

# The tree may stand anywhere: nothing in it knows where it was made.
if grep -rl --fixed-strings "$root" "$prefix"; then fail "These files name the directory of the build."; fi

cp -r "$root/examples/reader" "$temporary/reader"
cmake -G Ninja -S "$temporary/reader" -B "$temporary/reader/build" -DCMAKE_PREFIX_PATH="$prefix"
cmake --build "$temporary/reader/build"
"$temporary/reader/build/reader" | tee "$temporary/output"
diff "$temporary/output" "$root/examples/reader/expected.txt" || fail "The reader prints something else."

# Moved, the program still finds its libraries.
mv "$prefix" "$temporary/moved"
"$temporary/moved/bin/fyrl3" --version
