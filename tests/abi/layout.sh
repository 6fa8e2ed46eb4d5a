#!/usr/bin/env bash
# layout.sh CLANG NM OBJDUMP SOURCE_DIR BIN_DIR WORK_DIR: shows how MSVC and mingw lay out what crosses the
# border and compares it with tables.txt, records.txt and names.txt, and the names with those that the DLLs
# in BIN_DIR export. With UPDATE=1 writes the three files from MSVC's layout instead.
set -euo pipefail
clang=$1 nm=$2 objdump=$3 source_dir=$4 bin_dir=$5 work_dir=$6
here=$(dirname "$0")
mkdir -p "$work_dir"
differences=0

# compile TARGET ARGUMENT...
compile() {
  "$clang" --target="$1" -std=c++20 -nostdinc++ -nostdlibinc -isystem "$here/system" -I "$source_dir" -I "$work_dir" \
    -fcxx-exceptions -fexceptions -fno-rtti "${@:2}"
}

# show TARGET FLAG OUTPUT: what the compiler shows with the flag.
show() {
  compile "$1" -Xclang "$2" -c "$here/Probe.cpp" -o "$work_dir/$1.o" > "$3"
}

# The slots of every interface: a line for each, numbered from 0. Both compilers' destructors read alike.
tables() {
  awk '
    /^VFTable for |^Vtable for / {
      count = split($0, part, "\047")
      name = part[count - 1]
      shown = sub(/^Probe_/, "", name) && !(name in seen)
      if (shown) { seen[name] = 1; slot = 0 }
      next
    }
    /^VFTable indices|^VTable indices|^$/ { shown = 0 }
    !shown || !/^ +[0-9]+ \| / || /offset_to_top|RTTI/ { next }
    {
      sub(/^ +[0-9]+ \| /, "")
      sub(/ \[pure\]$/, "")
      if (/~|DeletingDestructor/) $0 = "destructor"
      printf "%s %d %s\n", name, slot++, $0
    }' "$1" | sort -k1,1 -k2,2n
}

# The offsets of every field and the size of every record.
records() {
  awk '
    /Dumping AST Record Layout/ { record = ""; next }
    / 0 \| struct / && record == "" { record = $NF; next }
    record !~ /^(S|.*::S)Rk/ { next }
    /\| \[sizeof=/ { match($0, /sizeof=[0-9]+/); print record, substr($0, RSTART, RLENGTH); next }
    /^ +[0-9]+ \|   [^ ]/ { sub(/^ +/, ""); sub(/ \|  +/, " "); print record, $0 }' "$1" | sort -u -k1,1 -k2,2V
}

compare() {
  diff -u --label "$1" "$here/$1" --label "$2" "$3" || differences=1
}

# Every interface that the module's header brings.
compile x86_64-w64-windows-gnu -E -w -x c++ "$source_dir/module/RkClipPlay.h" |
  sed -nE 's/^(class|struct) (IRk[A-Za-z]+)( : .*)? \{$/PROBE(\2)/p' > "$work_dir/Interfaces.inc"

for target in x86_64-pc-windows-msvc x86_64-w64-windows-gnu; do
  show $target -fdump-vtable-layouts "$work_dir/$target.tables"
  show $target -fdump-record-layouts "$work_dir/$target.records"
  tables "$work_dir/$target.tables" > "$work_dir/tables.txt"
  records "$work_dir/$target.records" > "$work_dir/records.txt"
  if [[ $target == *msvc ]]; then
    "$nm" -u "$work_dir/$target.o" | awk '$NF ~ /^[?].*Rk/ { print $NF }' | LC_ALL=C sort > "$work_dir/names.txt"
    if [[ -n ${UPDATE:-} ]]; then
      cp "$work_dir"/{tables,records,names}.txt "$here"
    fi
    compare names.txt $target "$work_dir/names.txt"
  fi
  compare tables.txt $target "$work_dir/tables.txt"
  compare records.txt $target "$work_dir/records.txt"
done

for library in RkClipPlay RkKernel RkClipCore RkAVUtils RkLogAPI; do
  "$objdump" -p "$bin_dir/$library.dll" | awk '$1 == "[" && $NF ~ /^[?]/ { print $NF }'
done | LC_ALL=C sort > "$work_dir/exports.txt"
compare names.txt "the DLLs' exports" "$work_dir/exports.txt"

[[ $differences == 0 ]] || exit 1
echo "$(wc -l < "$here/tables.txt") slots of $(cut -d' ' -f1 "$here/tables.txt" | uniq | wc -l) interfaces," \
  "$(grep -c sizeof "$here/records.txt") records, $(wc -l < "$here/names.txt") names: no difference"
