# Shared by the scripts: the packages they need and how a preset is built. Sourced, never run.
set -euo pipefail
caller_dir=$PWD
cd "$(dirname "${BASH_SOURCE[0]}")/.."

RK_BUILD_PACKAGES=(
  g++ cmake ninja-build pkg-config
  libgtest-dev libgmock-dev libbenchmark-dev libcli11-dev nlohmann-json3-dev
  libavformat-dev libavcodec-dev libavutil-dev libswscale-dev libswresample-dev libavfilter-dev
  libsdl2-dev ffmpeg
)
RK_WINDOWS_PACKAGES=(
  g++-mingw-w64-x86-64-posix cmake ninja-build googletest wine wine64 clang-14 lld-14 llvm-14
  pulseaudio pulseaudio-utils
)
RK_CLANG_PACKAGES=(clang-14 clang-tidy-14 clang-format-14 libclang-rt-14-dev)

rk_fail() {
  echo "$(basename "$0"): $*" >&2
  exit 1
}

# rk_help_on_request "$@": prints the comment at the top of the calling script and exits if the first
# argument asks for help.
rk_help_on_request() {
  [[ ${1:-} == --help || ${1:-} == -h ]] || return 0
  awk 'NR > 1 && !/^#/ { exit } NR > 1 { sub(/^# ?/, ""); print }' "scripts/$(basename "$0")"
  exit 0
}

# Installs the packages that are missing. Without root it names the command and stops. On a system without
# dpkg the packages have other names, and CMake reports what it does not find.
rk_need_packages() {
  command -v dpkg-query > /dev/null || return 0
  local package missing=()
  for package in "$@"; do
    [[ $(dpkg-query -W -f '${db:Status-Status}' "$package" 2> /dev/null) == installed ]] || missing+=("$package")
  done
  ((${#missing[@]})) || return 0
  local install=(apt-get install -y --no-install-recommends "${missing[@]}")
  [[ $(id -u) == 0 ]] ||
    rk_fail $'packages are missing; install them with\n'"sudo apt-get update && sudo ${install[*]}"
  echo "Installing ${missing[*]}" >&2
  export DEBIAN_FRONTEND=noninteractive
  rk_logged packages-update apt-get update
  rk_logged packages "${install[@]}"
}

# rk_logged NAME COMMAND...: runs the command with its output in build/NAME.log and shows the log on failure.
rk_logged() {
  local log="build/$1.log"
  shift
  mkdir -p build
  "$@" 2>&1 < /dev/null | rk_show_progress "$log" || {
    grep -v '^\[[0-9]*/[0-9]*\] ' "$log" | tail -n 200 >&2 || true
    rk_fail "failed: $* (the whole output is in $log)"
  }
}

# Copies its input to a file and reports each tenth of a build, from ninja's "[DONE/ALL]" lines. Short builds
# stay silent.
rk_show_progress() {
  awk -v log_file="$1" '
      { print > log_file }
      match($0, /^\[[0-9]+\/[0-9]+\]/) {
        split(substr($0, 2, RLENGTH - 2), count, "/")
        tenth = int(10 * count[1] / count[2])
        if (count[2] >= 20 && tenth > shown) {
          shown = tenth
          printf "  %d %% (%d of %d)\n", 10 * tenth, count[1], count[2] > "/dev/stderr"
        }
      }'
}

rk_configure() {
  local packages=("${RK_BUILD_PACKAGES[@]}")
  [[ $1 != clang ]] || packages+=("${RK_CLANG_PACKAGES[@]}")
  [[ $1 != windows ]] || packages=("${RK_WINDOWS_PACKAGES[@]}")
  rk_need_packages "${packages[@]}"
  rk_logged "$1-configure" cmake --preset "$1"
}

# rk_build PRESET [TARGET...]: configures and builds in build/PRESET.
rk_build() {
  local preset="$1"
  shift
  rk_configure "$preset"
  echo "Building preset $preset (output in build/$preset.log)" >&2
  rk_logged "$preset" cmake --build --preset "$preset" ${1:+--target "$@"} -- -k 0
}
