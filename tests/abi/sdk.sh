#!/usr/bin/env bash
# sdk.sh SOURCE_DIR WORK_DIR MINGW EMULATOR BUILD_HOST...: packs the SDK, unpacks it elsewhere, builds its
# sample with mingw and in MSVC's ABI, and runs both.
set -euo pipefail
source_dir=$1 work_dir=$2 mingw=$3 emulator=$4
shift 4
zip=$("$source_dir/scripts/windows-sdk" | tail -n 1)
rm -rf "$work_dir"
mkdir -p "$work_dir"
cd "$work_dir"
cmake -E tar xf "$source_dir/$zip"
sdk=$(echo "$PWD"/RkClipPlay-*)
sample=$sdk/samples/minimal_host

cmake -S "$sample" -B mingw -G Ninja -D CMAKE_SYSTEM_NAME=Windows -D CMAKE_CXX_COMPILER="$mingw"
cmake --build mingw
"$emulator" mingw/minimal_host.exe

"$@" "$sdk/include" "$sdk/lib" "$sample/minimal_host.cpp" "$sdk/bin/minimal_host.exe"
"$emulator" "$sdk/bin/minimal_host.exe"
