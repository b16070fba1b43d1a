#!/usr/bin/env bash
# Builds the Debian packages from a build tree, unpacks them into a scratch root (dpkg -x) and takes the
# library in from there as a host project would: through the CMake package and through pkg-config, every
# public header alone, with no Boost header anywhere. Then the installed pelmor talks to the installed
# pelmor-emulator on a port the build was not made for.
#   check_install.sh <build dir> <scratch dir>
set -euo pipefail
build=$(cd "$1" && pwd)
scratch=$2
here=$(cd "$(dirname "$0")" && pwd)

fail() {
    echo "FAIL: $*" >&2
    exit 1
}

rm -rf "$scratch"
mkdir -p "$scratch"
scratch=$(cd "$scratch" && pwd)
root=$scratch/root
debs=$scratch/debs

(cd "$scratch" && cpack --config "$build/CPackConfig.cmake" -B "$debs" >"$scratch/cpack.log" 2>&1) ||
    { cat "$scratch/cpack.log" >&2; fail "cpack"; }

deb() {
    local found
    found=$(find "$debs" -maxdepth 1 -name "$1_*.deb" | head -n1)
    [[ -n $found ]] || fail "no package $1 in $debs"
    echo "$found"
}
runtime=$(deb libpelmorsocket1)
dev=$(deb libpelmorsocket-dev)
tools=$(deb pelmor-tools)

# The libraries' and the tools' packages need only run-time packages; the -dev package adds the -dev
# packages its headers include, and Boost is none of them.
runtime_depends=$(dpkg-deb -f "$runtime" Depends)
dev_depends=$(dpkg-deb -f "$dev" Depends)
tools_depends=$(dpkg-deb -f "$tools" Depends)
[[ $runtime_depends != *-dev* ]] || fail "libpelmorsocket1 depends on a -dev package: $runtime_depends"
[[ $tools_depends != *-dev* ]] || fail "pelmor-tools depends on a -dev package: $tools_depends"
[[ $runtime_depends == *libqt5core5a* && $runtime_depends == *libcurl4* ]] ||
    fail "libpelmorsocket1 lacks its computed dependencies: $runtime_depends"
[[ $dev_depends == *"libpelmorsocket1 (= "* && $dev_depends == *qtbase5-dev* ]] ||
    fail "libpelmorsocket-dev depends on: $dev_depends"
[[ $tools_depends == *"libpelmorsocket1 (= "* ]] || fail "pelmor-tools depends on: $tools_depends"
[[ $dev_depends != *boost* ]] || fail "libpelmorsocket-dev depends on Boost: $dev_depends"
for package in "$runtime" "$dev" "$tools"; do
    for file in $(dpkg-deb -c "$package" | awk '{print $6}'); do
        [[ $file == ./usr/share/doc/*/copyright ]] && continue 2
    done
    fail "$(basename "$package") has no copyright file"
done

for package in "$runtime" "$dev" "$tools"; do
    dpkg -x "$package" "$root"
done

multiarch=$(c++ -print-multiarch)
libdir=$root/usr/lib/$multiarch
for lib in libPelmorSocket.so.1 libPelmorPlatform.so.1; do
    [[ -f $libdir/$lib ]] || fail "$lib is not in /usr/lib/$multiarch"
    [[ $(readelf -S "$libdir/$lib") != *.symtab* ]] || fail "$lib is not stripped"
done
# The library finds its platform layer by its own RUNPATH, with no help from the environment.
[[ $(env -u LD_LIBRARY_PATH ldd "$libdir/libPelmorSocket.so.1") == *"libPelmorPlatform.so.1 => $libdir/"* ]] ||
    fail "libPelmorSocket.so.1 does not find libPelmorPlatform.so.1 beside itself"

if grep -rlI -i 'boost' "$root/usr/include"; then
    fail "installed headers name Boost"
fi

# Through the CMake package. Ninja's record of every header each object read shows that no Boost header
# took part, wherever Boost is installed.
cmake -S "$here/consumer" -B "$scratch/cmake-consumer" -G Ninja -DCMAKE_PREFIX_PATH="$root/usr" \
    -DCMAKE_EXPORT_COMPILE_COMMANDS=ON >/dev/null
cmake --build "$scratch/cmake-consumer" >/dev/null
if ninja -C "$scratch/cmake-consumer" -t deps | grep -i '/boost/'; then
    fail "the CMake consumer read Boost headers"
fi
! grep -qi boost "$scratch/cmake-consumer/compile_commands.json" || fail "Boost on the consumer's command line"
LD_LIBRARY_PATH=$libdir "$scratch/cmake-consumer/consumer"

# Through pkg-config: its flags alone build every header and the consumer.
export PKG_CONFIG_PATH=$libdir/pkgconfig
cflags=$(pkg-config --cflags pelmorsocket)
libs=$(pkg-config --libs pelmorsocket)
[[ $cflags$libs != *boost* ]] || fail "pkg-config names Boost: $cflags $libs"
mkdir -p "$scratch/pc-alone"
while IFS= read -r header; do
    name=${header#"$root/usr/include/"}
    dep=$scratch/pc-alone/$(echo "$name" | tr '/.' '__').d
    # shellcheck disable=SC2086
    echo "#include <$name>" | c++ -std=c++17 $cflags -x c++ -fsyntax-only -MD -MF "$dep" - ||
        fail "$name does not compile alone with: $cflags"
    ! grep -qi '/boost/' "$dep" || fail "$name reads Boost headers"
done < <(find "$root/usr/include/pelmor" -name '*.h' | sort)
# shellcheck disable=SC2086
c++ -std=c++17 $cflags "$here/consumer/consumer.cpp" -o "$scratch/pc-consumer" $libs
LD_LIBRARY_PATH=$libdir "$scratch/pc-consumer"

# One installed build, pointed at an emulator on a free port through the environment.
emulator_log=$scratch/emulator.log
"$root/usr/bin/pelmor-emulator" --port 0 --coverage-port off >"$emulator_log" 2>&1 &
emulator=$!
trap 'kill "$emulator" 2>/dev/null || true' EXIT
port=""
for _ in $(seq 100); do
    port=$(sed -n 's|^listening on http://[^:]*:\([0-9]*\)$|\1|p' "$emulator_log")
    [[ -n $port ]] && break
    kill -0 "$emulator" 2>/dev/null || { cat "$emulator_log" >&2; fail "the installed pelmor-emulator exited"; }
    sleep 0.1
done
[[ -n $port ]] || fail "the installed pelmor-emulator did not start"
env -u LD_LIBRARY_PATH PELMOR_SERVICE_HOST="127.0.0.1:$port" HOME="$scratch/home" XDG_CONFIG_HOME= \
    "$root/usr/bin/pelmor" config >"$scratch/pelmor.log" 2>&1 ||
    { cat "$scratch/pelmor.log" >&2; fail "the installed pelmor did not reach the emulator on port $port"; }
echo "packages ok: $(basename "$runtime") $(basename "$dev") $(basename "$tools")"
