# shellcheck shell=bash
# What ./run and ./check share: installing the Debian packages that a command needs, and building a preset.
#
# Everything here writes to standard error only, and nothing at all when there is nothing to do. A set-up that fails
# ends the script with exit code 125, which no command of fyrl3 uses.

root=$(cd "$(dirname "${BASH_SOURCE[0]}")/.." && pwd)

say() { printf '%s\n' "$*" >&2; }

setupFailed() {
  say "$*"
  exit 125
}

# packagesMissing NAME... prints those that are not installed.
packagesMissing() {
  local installed name
  installed=" $(dpkg-query -W -f='${db:Status-Status}:${Package} ' "$@" 2>/dev/null) "
  for name in "$@"; do
    [[ $installed == *" installed:$name "* ]] || printf '%s ' "$name"
  done
}

asRoot() {
  if [[ $(id -u) == 0 ]]; then "$@"; else sudo "$@"; fi
}

aptGet() {
  asRoot env DEBIAN_FRONTEND=noninteractive apt-get -q "$@" >&2
}

# installPackages NAME... installs what is missing, with package lists as they are if those will do.
installPackages() {
  command -v dpkg-query >/dev/null || setupFailed "This is not a Debian system. Needed (Debian's names): $*"
  local missing install
  read -ra missing <<<"$(packagesMissing "$@")"
  [[ ${#missing[@]} -gt 0 ]] || return 0
  [[ $(id -u) == 0 ]] || command -v sudo >/dev/null ||
    setupFailed "Missing packages; as root: apt-get install --no-install-recommends ${missing[*]}"

  say "Installing: ${missing[*]}"
  install=(install --yes --no-install-recommends "${missing[@]}")
  if ! apt-get --simulate "${install[@]}" >/dev/null 2>&1 || ! aptGet "${install[@]}"; then
    if ! aptGet update || ! aptGet "${install[@]}"; then setupFailed "The packages could not be installed."; fi
  fi
}

# buildPreset PRESET TARGET... brings build/PRESET up to date; one caller at a time.
buildPreset() {
  local preset=$1 dir=$root/build/$1
  shift
  mkdir -p "$dir"
  exec {buildLock}>"$dir/.lock"
  flock "$buildLock"
  if [[ ! -e $dir/build.ninja || $root/CMakePresets.json -nt $dir/build.ninja ]]; then
    say "Configuring build/$preset"
    cmake -S "$root" --preset "$preset" >&2 || setupFailed "build/$preset could not be configured."
  fi
  if ! ninja -C "$dir" -n "$@" | grep -q 'no work to do'; then
    say "Building build/$preset"
    cmake --build "$dir" --target "$@" >&2 || setupFailed "build/$preset could not be built."
  fi
  exec {buildLock}>&-
}
