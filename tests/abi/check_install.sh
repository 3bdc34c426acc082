#!/bin/sh
# usage: check_install.sh BUILD_DIR CONSUMER_DIR CC CXX
# Installs into an empty folder and builds a small program against it: with pkg-config (shared and static) and with
# CMake. Run without a BMC the program must end with the driver's status.
set -eu
build=$1 consumer=$2 cc=$3 cxx=$4
root=$(mktemp -d)
trap 'rm -rf "$root"' EXIT
cmake --install "$build" --prefix "$root/usr" > "$root/log"
library=$(dirname "$(find "$root/usr" -name liblumipmi.so)")
export PKG_CONFIG_PATH="$library/pkgconfig" LD_LIBRARY_PATH="$library"

runs() { # PROGRAM: it must find no BMC
  status=0
  LUMIPMI_DRIVER=vm:127.0.0.1:1 "$1" > "$root/out" 2> "$root/err" || status=$?
  [ $status = 3 ] || { echo "$1: exit status $status"; cat "$root/out" "$root/err"; exit 1; }
}

# shellcheck disable=SC2046
$cc -std=c99 -Wall -Wextra -Werror $(pkg-config --cflags lumipmi) "$consumer/main.c" -o "$root/shared" \
  $(pkg-config --libs lumipmi)
runs "$root/shared"
# shellcheck disable=SC2046
$cxx -std=c++20 -x c++ -Wall -Wextra -Werror $(pkg-config --cflags lumipmi) "$consumer/main.c" -x none \
  -o "$root/static" "$library/liblumipmi.a" "$library/liblumipmi-broker.a" "$library/liblumipmi-driver.a" \
  -lm -lpthread -ldl
runs "$root/static"
cmake -S "$consumer" -B "$root/cmake" -G Ninja -DCMAKE_PREFIX_PATH="$root/usr" -DCMAKE_C_COMPILER="$cc" > "$root/log"
cmake --build "$root/cmake" > "$root/log" || { cat "$root/log"; exit 1; }
runs "$root/cmake/consumer"
pkg-config --modversion lumipmi
