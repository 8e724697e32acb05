#!/usr/bin/env bash
# Installs the built project into a scratch prefix, then builds and runs a
# consumer program against it twice: through pkg-config and through find_package.
set -euo pipefail
build_dir=$1
work=$2
here=$(cd "$(dirname "$0")" && pwd)
rm -rf "$work"
mkdir -p "$work"
prefix=$work/prefix

cmake --install "$build_dir" --prefix "$prefix" >/dev/null
test -f "$prefix/include/nycert/nycert.h"
ls "$prefix"/lib/libnycert.so* "$prefix/lib/libnycert.a" >/dev/null
test -f "$prefix/lib/pkgconfig/nycert.pc"
test -f "$prefix/lib/cmake/nycert/nycertConfig.cmake"

export PKG_CONFIG_PATH=$prefix/lib/pkgconfig
c++ -std=c++17 -o "$work/consumer_pc" "$here/consumer.cc" $(pkg-config --cflags --libs nycert)
LD_LIBRARY_PATH=$prefix/lib "$work/consumer_pc"

cmake -S "$here" -B "$work/cmake" -G Ninja -DCMAKE_PREFIX_PATH="$prefix" >/dev/null
cmake --build "$work/cmake" >/dev/null
LD_LIBRARY_PATH=$prefix/lib "$work/cmake/consumer_shared"
"$work/cmake/consumer_static"
echo "consumer builds and runs against the installed package"
