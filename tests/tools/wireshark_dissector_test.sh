#!/usr/bin/env bash
# Captures both searches, simulated devices, malformed datagrams and a TCP
# stream of binary bodies inside a private network namespace, decodes the
# capture with the Wireshark dissector and compares the fields with what was
# sent. Nothing leaves the namespace.
#
#   wireshark_dissector_test.sh DEVSEARCH DEVSIM DISSECTOR_LUA
set -euo pipefail

skip() {  # a failure where the tools are required (CI=true)
    echo "wireshark dissector test: $1" >&2
    exit "$([ "${CI:-}" = true ] && echo 1 || echo 77)"
}

if [ "${1:-}" != "--inside" ]; then
    for tool in tshark tcpdump; do command -v $tool >/dev/null || skip "needs $tool; run scripts/setup"; done
    unshare -n true 2>/dev/null || skip "cannot make a network namespace (run as root)"
    exec unshare -n bash "$0" --inside "$@"
fi
devsearch=$2 devsim=$3 lua=$4
work=$(mktemp -d)
pids=()
trap 'kill "${pids[@]}" 2>/dev/null || true; wait 2>/dev/null || true; rm -rf "$work"' EXIT
wait_for() {  # wait_for CONDITION: up to 5 s
    for _ in $(seq 100); do eval "$1" && return 0; sleep 0.05; done
    echo "wireshark dissector test: timed out waiting for: $1" >&2 && exit 1
}

# The client on 10.81.0.1, three devices beside it; multicast goes out of ws0.
ip link set lo up
ip link add ws0 type veth peer name ws1
ip link set ws1 up
ip link set ws0 up
for a in 1 10 11 12; do ip addr add "10.81.0.$a/24" dev ws0; done
ip route add 224.0.0.0/4 dev ws0
wait_for 'ip link show ws0 | grep -q "state UP"'

# Incoming only: a multicast datagram is seen once (on ws1), unicast on lo.
# Immediate mode keeps the last packets from being lost at the stop; the small
# snapshot length gives its ring room for hundreds of packets, not a few.
tcpdump --immediate-mode -U -s 6000 -B 4096 -Q in -i any -w "$work/cap.pcap" udp or tcp 2>"$work/tcpdump.log" &
pids+=($!)
wait_for 'grep -q "listening on" "$work/tcpdump.log"'
"$devsim" --range 10.81.0.10-10.81.0.12 --announce-interval 1 --ready-file "$work/ready" 2>/dev/null &
pids+=($!)
wait_for '[ -s "$work/ready" ]'
"$devsearch" search --interface ws0 --seconds 2 >/dev/null 2>&1
"$devsearch" range 10.81.0.10-10.81.0.12 >/dev/null 2>&1

python3 - <<'EOF'
import functools, operator, socket, struct, time
def sdk(command, sequence, body, check_flip=0, reserved=0):
    head = struct.pack(">2sHHBBIIIH", b"\xaf\xaf", 1, sequence, 0x80, 0, command, 0, len(body), reserved)
    return head + bytes([functools.reduce(operator.xor, head) ^ check_flip, 0x23]) + body
udp = socket.socket(socket.AF_INET, socket.SOCK_DGRAM)
udp.sendto(sdk(30542, 4660, b"<a/>", check_flip=0x10, reserved=1), ("127.0.0.1", 30001))
udp.sendto(sdk(30540, 4661, b"")[:20], ("127.0.0.1", 31002))
udp.sendto(b"\xfe" + bytes(19) + struct.pack(">I", 100) + bytes(10), ("127.0.0.1", 30003))
# Two binary bodies on one stream; the second command is split over two segments.
server = socket.create_server(("127.0.0.1", 30100))
client = socket.create_connection(("127.0.0.1", 30100))
client.setsockopt(socket.IPPROTO_TCP, socket.TCP_NODELAY, 1)
snapshot = sdk(31026, 7, struct.pack(">ii", 3, 5) + b"jpg")
ptz = sdk(14006, 8, struct.pack(">iiI", 0, 2, 2) + b"Up" + struct.pack(">I", 6) + b"preset")
client.sendall(snapshot + ptz[:30])
time.sleep(0.2)
client.sendall(ptz[30:])
time.sleep(0.2)
EOF
kill -INT "${pids[0]}"
wait "${pids[0]}" || true

# HOME is the scratch folder so that no personal plugin loads the dissector twice.
decode() {
    HOME="$work" tshark -r "$work/cap.pcap" -X lua_script:"$lua" -o devsearch_sdk.tcp_port:30100 "$@" \
        2>>"$work/tshark.err"
}
fields() {  # fields FILTER FIELD...: one line per frame, values separated by commas
    local filter=$1
    shift
    # shellcheck disable=SC2046
    decode -Y "$filter" -T fields -E separator=, $(printf -- '-e %s ' "$@")
}
fail=0
expect() {  # expect NAME EXPECTED ACTUAL
    diff <(echo "$2") <(echo "$3") >&2 || { echo "wireshark dissector test: $1 differ (<: expected)" >&2; fail=1; }
}

# Source, destination, port (none where ephemeral), then the SDK head or the
# announcement's device; each distinct line once.
expect "decoded datagrams" "$(
    LC_ALL=C sort <<'EOF'
10.81.0.1,10.81.0.10,30001,30541,0,1,,,,,
10.81.0.1,10.81.0.11,30001,30541,0,1,,,,,
10.81.0.1,10.81.0.12,30001,30541,0,1,,,,,
10.81.0.1,234.5.6.7,31001,30539,0,1,,,,,
10.81.0.10,10.81.0.1,31002,30540,0,1,SIM000001,,,,
10.81.0.10,234.5.6.7,30003,,,,,23,SIM000001,10.81.0.10,30001
10.81.0.10,10.81.0.1,,30542,0,1,SIM000001,,,,
10.81.0.11,10.81.0.1,31002,30540,0,1,SIM000002,,,,
10.81.0.11,234.5.6.7,30003,,,,,20,SIM000002,10.81.0.11,30001
10.81.0.11,10.81.0.1,,30542,0,1,SIM000002,,,,
10.81.0.12,10.81.0.1,31002,30540,0,1,SIM000003,,,,
10.81.0.12,234.5.6.7,30003,,,,,16,SIM000003,10.81.0.12,30001
10.81.0.12,10.81.0.1,,30542,0,1,SIM000003,,,,
EOF
)" "$(fields 'udp && ip.src != 127.0.0.1' ip.src ip.dst udp.dstport \
    devsearch_sdk.{command,sequence,check_ok,device_id} devsearch_disc.{command,device_id,ip,control_port} |
    awk -F, -v OFS=, '$3 >= 32768 { $3 = "" } 1' | LC_ALL=C sort -u)"

# Expert groups: 16777216 is Checksum, 117440512 Malformed.
expect "malformed datagrams" "$(
    cat <<'EOF'
30001,4660,0,16777216,Check byte 0x8B is wrong: bytes 0 to 21 give 0x9B
31002,,,117440512,20 bytes, shorter than the 24-byte head
30003,,,117440512,117440512,117440512,Marker is not 0xFF,Payload length 100, but 10 bytes follow the envelope,10 bytes behind the envelope, shorter than the 76-byte command head
EOF
)" "$(fields 'ip.src == 127.0.0.1 && udp' udp.dstport devsearch_sdk.{sequence,check_ok} \
    _ws.expert.{group,message})"

expect "binary bodies over TCP" "$(
    cat <<'EOF'
31026,7,1,3,5,6a7067,,,,
14006,8,1,,0,,2,Up,preset,1
EOF
)" "$(fields 'tcp && devsearch_sdk' devsearch_sdk.{command,sequence,flag_a,data_length,result_code,data} \
    devsearch_sdk.{camera_id,operation,name,ptz_id})"

# Every frame in full: no dissector error may appear, in the tree or on stderr.
decode -V >"$work/verbose.txt"
if grep -i "lua error\|malformed packet" "$work/verbose.txt" "$work/tshark.err" >&2; then fail=1; fi
[ $fail = 0 ] || cat "$work/tcpdump.log" >&2
exit $fail
