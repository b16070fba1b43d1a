#!/usr/bin/env bash
# Installs the build into a scratch prefix, then builds and runs a consumer against it twice: through the
# CMake package and through pkg-config.
#   check_install.sh <build dir> <scratch dir>
set -euo pipefail
build=$1
scratch=$2
here=$(cd "$(dirname "$0")" && pwd)

rm -rf "$scratch"
mkdir -p "$scratch"
prefix=$scratch/prefix
cmake --install "$build" --prefix "$prefix" >/dev/null

cmake -S "$here/consumer" -B "$scratch/cmake-consumer" -DCMAKE_PREFIX_PATH="$prefix" >/dev/null
cmake --build "$scratch/cmake-consumer" >/dev/null
libdir=$(dirname "$(find "$prefix" -name 'libPelmorSocket.so.*' | head -n1)")
LD_LIBRARY_PATH=$libdir "$scratch/cmake-consumer/consumer"

pcdir=$(dirname "$(find "$prefix" -name pelmorsocket.pc)")
flags=$(PKG_CONFIG_PATH=$pcdir pkg-config --cflags --libs pelmorsocket)
# shellcheck disable=SC2086
c++ -std=c++17 -fPIC "$here/consumer/consumer.cpp" -o "$scratch/pc-consumer" $flags
LD_LIBRARY_PATH=$libdir "$scratch/pc-consumer"
