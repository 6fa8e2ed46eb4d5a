# pkg_config_host.sh COMPILER PREFIX LIBDIR WORK_DIR: builds and runs the host with pkg-config's flags alone.
set -eu
export PKG_CONFIG_PATH="$2/$3/pkgconfig"
"$1" -std=c++20 "$(dirname "$0")/../../examples/minimal_host/minimal_host.cpp" -o "$4/pkg_config_host" $(pkg-config --cflags --libs rkclipplay)
LD_LIBRARY_PATH="$2/$3" "$4/pkg_config_host"
# Every library that the file names must be there, the media elements' too.
printf 'int main() {}\n' > "$4/empty.cpp"
for package in $(cd "$PKG_CONFIG_PATH" && ls -- *.pc); do
  "$1" "$4/empty.cpp" -o "$4/empty" -Wl,--no-as-needed $(pkg-config --libs "${package%.pc}")
  LD_LIBRARY_PATH="$2/$3" "$4/empty"
done
