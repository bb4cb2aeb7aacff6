# shellcheck shell=bash disable=SC2034
# Helpers shared by ./demo, ./test and .ci/run. To be sourced by bash, after which the working directory is the
# repository's root.

set -uo pipefail
cd "$(dirname "${BASH_SOURCE[0]}")/.." || exit 1

jobs=$(nproc)

# Colours only for people: not in a log file, not where NO_COLOR asks for none.
if [[ -t 1 && -z ${NO_COLOR:-} && ${TERM:-dumb} != dumb ]]; then
  bold=$'\e[1m' red=$'\e[31m' green=$'\e[32m' plain=$'\e[0m'
else
  bold='' red='' green='' plain=''
fi

# say TEXT: a headline of what happens next.
say() { printf '%s== %s%s\n' "$bold" "$1" "$plain"; }

# complain WHAT NEXT: what went wrong, and what the reader can do about it.
complain() {
  printf '%sError: %s%s\n' "$red" "$1" "$plain" >&2
  printf '  What to do: %s\n' "$2" >&2
}

# install_packages LIST…: installs what is missing of scripts/packages/LIST, without questions.
install_packages() {
  local wanted=() missing=() package list
  for list in "$@"; do
    mapfile -t -O "${#wanted[@]}" wanted <"scripts/packages/$list" || return 1
  done
  if ! command -v dpkg-query >/dev/null; then
    printf 'This is not a Debian system; what these packages hold must be there: %s\n' "${wanted[*]}"
    return 0
  fi
  for package in "${wanted[@]}"; do
    [[ $(dpkg-query -W -f '${db:Status-Status}' "$package" 2>/dev/null) == installed ]] || missing+=("$package")
  done
  ((${#missing[@]} == 0)) && return 0

  say "Installing ${missing[*]}"
  local as_root=() log
  if ((EUID != 0)); then
    if ! command -v sudo >/dev/null; then
      complain "installing packages needs root, and there is no sudo" "as root: apt-get install ${missing[*]}"
      return 1
    fi
    # Without a terminal nobody can type a password.
    if [[ -t 0 ]]; then as_root=(sudo); else as_root=(sudo -n); fi
  fi
  log=$(mktemp)
  if ! { "${as_root[@]}" apt-get update -qq &&
    "${as_root[@]}" env DEBIAN_FRONTEND=noninteractive apt-get install -y -qq --no-install-recommends \
      "${missing[@]}"; } </dev/null >"$log" 2>&1; then
    tail -n 15 "$log" >&2
    rm -f "$log"
    complain "the packages could not be installed" "install them by hand: apt-get install ${missing[*]}"
    return 1
  fi
  rm -f "$log"
}

# run_logged LOG COMMAND…: the output goes to the log, and to the terminal when there is one; elsewhere only a
# failure shows its end.
run_logged() {
  local log=$1
  shift
  mkdir -p "$(dirname "$log")"
  if [[ -t 1 ]]; then
    "$@" </dev/null 2>&1 | tee "$log"
    return "${PIPESTATUS[0]}"
  fi
  "$@" </dev/null >"$log" 2>&1 && return 0
  tail -n 60 "$log" >&2
  return 1
}

# run_build LOG COMMAND…: the output of configuring or building goes to the log; people see how far it is, and the
# log's end when it fails.
run_build() {
  local log=$1 status
  shift
  mkdir -p "$(dirname "$log")"
  "$@" </dev/null 2>&1 | tee "$log" | show_progress
  status=${PIPESTATUS[0]}
  ((status == 0)) || tail -n 60 "$log" >&2
  return "$status"
}

# show_progress: what ninja has done so far, "[3/120] …". A terminal has one line that is written over; a file gets a
# line for each fifth.
show_progress() {
  local line step all told=0 part width
  while IFS= read -r line; do
    [[ $line =~ ^\[([0-9]+)/([0-9]+)\] ]] || continue
    step=${BASH_REMATCH[1]} all=${BASH_REMATCH[2]}
    if [[ -t 1 ]]; then
      width=${COLUMNS:-$(tput cols 2>/dev/null || printf 80)}
      printf '\r%s\e[K' "${line:0:width-1}"
    elif part=$((step * 5 / all)) && ((part > told && all > 20)); then
      printf '   %d of %d steps\n' "$step" "$all"
      told=$part
    fi
  done
  [[ ! -t 1 ]] || printf '\r\e[K'
}

# has_tools COMMAND…: whether the machine has all of them.
has_tools() {
  local tool
  for tool in "$@"; do command -v "$tool" >/dev/null || return 1; done
}

has_python_tools() {
  /usr/bin/python3 -c 'import ensurepip, mypy, pathlib, sysconfig, wheel
pathlib.Path(sysconfig.get_path("include"), "Python.h").stat()' 2>/dev/null
}

# choose_bindings: has build_preset make the packages for other languages, as far as there is for them what
# scripts/packages/bindings names.
choose_bindings() {
  configure_options=()
  has_tools swig || return
  if has_python_tools; then configure_options+=(-DLUMORA_BUILD_PYTHON=ON); fi
  if has_tools javac jar java; then configure_options+=(-DLUMORA_BUILD_JAVA=ON); fi
  if has_tools mcs mono doxygen; then configure_options+=(-DLUMORA_BUILD_CSHARP=ON); fi
}

# build_preset PRESET [TARGET…]: configures and builds in build/PRESET, with what configure_options holds. Where
# another command builds there already it waits for that.
configure_options=()
build_preset() (
  preset=$1 targets=()
  shift
  (($# > 0)) && targets=(--target "$@")
  mkdir -p "build/$preset" && exec 9>"build/$preset/lock" || exit 1
  if ! flock -n 9; then
    say "Waiting for another build in build/$preset"
    flock 9
  fi
  say "Configuring $preset"
  if ! run_build "build/$preset/configure.log" cmake --preset "$preset" "${configure_options[@]}"; then
    complain "configuring $preset failed" "read build/$preset/configure.log; rm -r build/$preset starts afresh"
    exit 1
  fi
  say "Building $preset"
  if ! run_build "build/$preset/build.log" cmake --build --preset "$preset" --parallel "$jobs" "${targets[@]}"; then
    complain "building $preset failed" "mend what build/$preset/build.log tells, then run the same command again"
    exit 1
  fi
)
