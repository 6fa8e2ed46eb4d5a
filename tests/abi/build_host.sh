#!/usr/bin/env bash
# build_host.sh CLANG LLD_LINK DLLTOOL INCLUDE_DIR LIB_DIR SOURCE PROGRAM: compiles a host in MSVC's ABI and
# links it with the import libraries in LIB_DIR. There is no Windows SDK: system/ has what the host needs.
set -euo pipefail
clang=$1 lld_link=$2 dlltool=$3 include_dir=$4 lib_dir=$5 source=$6 program=$7
here=$(dirname "$0")
work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT
for source in "$source" "$here/Runtime.cpp"; do
  "$clang" --target=x86_64-pc-windows-msvc -std=c++20 -nostdinc++ -nostdlibinc -isystem "$here/system" -I "$include_dir" \
    -fno-exceptions -fno-rtti -O1 -Wall -Wextra -Werror -c "$source" -o "$work/$(basename "$source").obj"
done
for library in kernel32 msvcrt; do
  "$dlltool" -m i386:x86-64 -d "$here/system/$library.def" -l "$work/$library.lib"
done
"$lld_link" -nodefaultlib -entry:Start -subsystem:console "-out:$program" "$work"/*.obj "$work"/*.lib "$lib_dir"/*.lib
