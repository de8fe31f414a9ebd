#!/usr/bin/env bash
# What an application developer gets from an installed copy of the library:
# every installed header compiles alone; a small program builds through the
# CMake package and through pkg-config and runs; the tools and the package
# agree on the version and SOVERSION; the two example applications build
# through find_package and find simulated devices with both searches inside
# a private network namespace (nothing leaves it), the window one under
# Xvfb, saving a picture of itself.
#
#   consumers_test.sh BUILD_DIR SOURCE_DIR DEVSIM
set -euo pipefail

if [ "${1:-}" = "--inside" ]; then
    work=$2 devsim=$3

    # One link with the client's address and one address per device (a veth
    # end is up once both are).
    ip link set lo up
    ip link add qtex0 type veth peer name qtex1
    ip link set qtex1 up
    ip link set qtex0 up
    for i in 1 10 11 12; do ip addr add "10.79.0.$i/24" dev qtex0; done
    ip route add 224.0.0.0/4 dev qtex0
    for _ in $(seq 100); do ip link show qtex0 | grep -q "state UP" && break; sleep 0.05; done

    "$devsim" --range 10.79.0.10-10.79.0.12 --port 30555 --announce-interval 0 --ready-file "$work/ready" &
    sim_pid=$!
    trap 'kill $sim_pid 2>/dev/null || true; wait $sim_pid 2>/dev/null || true' EXIT
    for _ in $(seq 100); do [ -s "$work/ready" ] && break; sleep 0.05; done
    [ -s "$work/ready" ] || { echo "consumers test: devsim did not come up" >&2; exit 1; }

    "$work/qt_search/qt_search_example" --network-name qtex0 --start-ip 10.79.0.9 --end-ip 10.79.0.13 \
        --port 30555 --expect-multicast 3 --expect-range 3 --seconds 15

    # devsearch range on a terminal: its bar follows the addresses done, and
    # it ends when the library reports the pass over (.9 and .13 never answer).
    script -qec "$work/prefix/bin/devsearch range 10.79.0.9-10.79.0.13 --port 30555" /dev/null \
        >"$work/range.out" </dev/null
    grep -q '\[##############################\] 5/5 addresses, 3 found' "$work/range.out" ||
        { echo "consumers test: no full range bar in:" >&2; cat -v "$work/range.out" >&2; exit 1; }
    grep -q 'devsearch range: 3 found, 5 of 5 addresses done' "$work/range.out" ||
        { echo "consumers test: no range summary in:" >&2; cat -v "$work/range.out" >&2; exit 1; }

    export XDG_RUNTIME_DIR="$work/xdg"
    mkdir -m 700 "$XDG_RUNTIME_DIR"
    xvfb-run -a -s "-screen 0 1280x800x24" "$work/device_table/device_table" --auto --expect 3 \
        --network-name qtex0 --start-ip 10.79.0.10 --end-ip 10.79.0.12 --port 30555 \
        --screenshot "$work/device_table.png" >"$work/table.out"
    exit 0
fi

build=$(realpath "$1")
source=$(realpath "$2")
devsim=$3
work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT
prefix="$work/prefix"
fail() { echo "consumers test: $*" >&2; exit 1; }

cmake --install "$build" --prefix "$prefix" >/dev/null
export PKG_CONFIG_PATH="$prefix/lib/pkgconfig"
export LD_LIBRARY_PATH="$prefix/lib:${LD_LIBRARY_PATH:-}"

# Each installed header alone, with nothing but what pkg-config gives.
ls "$prefix/include/devsearch" | xargs -P 2 -I{} sh -c \
    'echo "#include <devsearch/{}>" | g++ -std=c++17 -fsyntax-only -Wall -Wextra -Werror $(pkg-config --cflags devsearch) -x c++ - ||
     { echo "consumers test: devsearch/{} does not compile alone" >&2; exit 255; }'

# Version: the package, the library's file name and both tools agree.
version=$(pkg-config --modversion devsearch)
soversion=$(readelf -d "$prefix/lib/libdevsearch.so" | sed -n 's/.*SONAME.*libdevsearch\.so\.\([0-9]*\).*/\1/p')
[ "$("$prefix/bin/devsearch" --version)" = "devsearch $version (libdevsearch SOVERSION $soversion)" ] ||
    fail "devsearch --version says '$("$prefix/bin/devsearch" --version)', not $version and $soversion"
[ "$("$devsim" --version)" = "devsim $version (libdevsearch SOVERSION $soversion)" ] ||
    fail "devsim --version says '$("$devsim" --version)'"

# The small program and both examples through the CMake package, the program
# through pkg-config too.
configure() { cmake -S "$1" -B "$2" -G Ninja -DCMAKE_BUILD_TYPE=Release -DCMAKE_PREFIX_PATH="$prefix" >/dev/null; }
for dir in tests/search/consumer examples/qt_search examples/device_table; do
    configure "$source/$dir" "$work/${dir##*/}"
    cmake --build "$work/${dir##*/}" >/dev/null
done
"$work/consumer/consumer" | grep -q "libdevsearch $version, headers $version: 1 row, hardware hw-1"
# shellcheck disable=SC2046
g++ -std=c++17 -Wall -Wextra -Werror "$source/tests/search/consumer/main.cpp" -o "$work/consumer-pc" \
    $(pkg-config --cflags --libs devsearch)
"$work/consumer-pc" >/dev/null || fail "the program built with pkg-config failed"

unshare -n bash "$0" --inside "$work" "$devsim"

# The window listed the three devices once each, with the multicast search's
# names, and its range bar was full.
cat "$work/table.out"
[ "$(grep -c $'^[^\t]*\t10\\.79\\.0\\.1[0-2]\t30001\tSIM' "$work/table.out")" = 3 ] ||
    fail "the window did not list the three devices"
grep -q '^range 3/3$' "$work/table.out" || fail "the window's range bar is not full"
[ "$(head -c 8 "$work/device_table.png" | od -An -tx1 | tr -d ' \n')" = 89504e470d0a1a0a ] ||
    fail "no PNG picture of the window"
cp "$work/device_table.png" "$build/device_table.png"
echo "consumers test: picture of the window in $build/device_table.png"
