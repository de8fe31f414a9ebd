#!/usr/bin/env bash
# Builds the Qt example application against an installed copy of the library
# and lets it find simulated devices with both searches, inside a private
# network namespace: nothing leaves it.
#
#   qt_example_test.sh BUILD_DIR SOURCE_DIR DEVSIM QT_MAJOR
set -euo pipefail

if [ "${1:-}" = "--inside" ]; then
    example=$2
    devsim=$3
    sim_pid=""
    ready=$(mktemp)
    finish() {
        if [ -n "$sim_pid" ]; then kill "$sim_pid" 2>/dev/null || true; wait "$sim_pid" 2>/dev/null || true; fi
        rm -f "$ready"
    }
    trap finish EXIT

    # One link with the client's address and one address per device.
    ip link set lo up
    ip link add qtex0 type veth peer name qtex1
    ip link set qtex1 up
    ip link set qtex0 up
    ip addr add 10.79.0.1/24 dev qtex0
    for i in 10 11 12; do ip addr add "10.79.0.$i/24" dev qtex0; done
    ip route add 224.0.0.0/4 dev qtex0
    for _ in $(seq 100); do
        ip link show qtex0 | grep -q "state UP" && ip link show qtex1 | grep -q "state UP" && break
        sleep 0.05
    done

    : >"$ready"
    "$devsim" --range 10.79.0.10-10.79.0.12 --port 30555 --announce-interval 0 --ready-file "$ready" &
    sim_pid=$!
    for _ in $(seq 100); do [ -s "$ready" ] && break; sleep 0.05; done
    [ -s "$ready" ] || { echo "qt example test: devsim did not come up" >&2; exit 1; }

    "$example" --network-name qtex0 --start-ip 10.79.0.9 --end-ip 10.79.0.13 --port 30555 \
        --expect-multicast 3 --expect-range 3 --seconds 15
    exit $?
fi

build=$1
source=$2
devsim=$3
qt_major=$4
work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT

cmake --install "$build" --prefix "$work/prefix" >/dev/null
cmake -S "$source/examples/qt_search" -B "$work/build" -G Ninja -DCMAKE_BUILD_TYPE=RelWithDebInfo \
    -DCMAKE_PREFIX_PATH="$work/prefix" -DDEVSEARCH_QT_MAJOR="$qt_major" >/dev/null
cmake --build "$work/build" >/dev/null

# Only the installed layout: headers and library of the prefix, nothing of the build tree.
test -f "$work/prefix/include/devsearch/DeviceSearch.h"
LD_LIBRARY_PATH="$work/prefix/lib:$work/prefix/lib64:${LD_LIBRARY_PATH:-}" \
    unshare -n bash "$0" --inside "$work/build/qt_search_example" "$devsim"
