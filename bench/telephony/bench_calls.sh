#!/usr/bin/env bash
# The answer machine under load, over the SIP line, called by baresip (a SIP
# client we did not write) inside a private network namespace:
#   - answer latency after the Nth ring, measured on the wire: the time from
#     the INVITE to the 200 OK, less the rings waited. Reference: baresip
#     itself answering at once (answermode=auto), same caller, same run.
#   - CALLS consecutive calls: how many were answered and filed, how many
#     lost, and navo's resident memory along the way (and the reference
#     callee's over as many calls).
#   - a screenshot of the Phone list after the calls.
# usage (as root): bench/telephony/bench_calls.sh BUILD_DIR [--calls N] [--rings R]
#                  [--ring-ms MS] [--reference-calls M] [--shots DIR]
set -euo pipefail

if [ "${NAVO_BENCH_NETNS:-}" != 1 ]; then
    for tool in unshare ip baresip sox Xvfb xdotool import; do
        command -v "$tool" >/dev/null || { echo "bench_calls: $tool is needed (scripts/common.sh lists the packages)" >&2; exit 2; }
    done
    unshare -n true 2>/dev/null || { echo "bench_calls: needs a private network namespace (run as root)" >&2; exit 2; }
    export NAVO_BENCH_NETNS=1
    exec unshare -n bash -c 'ip link set lo up && exec "$0" "$@"' "$0" "$@"
fi

build=$(cd "${1:?usage: bench_calls.sh BUILD_DIR [options]}" && pwd)
shift
calls=100 rings=2 ring_ms=1000 reference_calls= shots=$PWD/bench-calls-screenshots
while [ $# -gt 0 ]; do
    case $1 in
        --calls) calls=$2; shift 2 ;;
        --rings) rings=$2; shift 2 ;;
        --ring-ms) ring_ms=$2; shift 2 ;;
        --reference-calls) reference_calls=$2; shift 2 ;;
        --shots) shots=$2; shift 2 ;;
        *) echo "bench_calls: unknown option $1" >&2; exit 2 ;;
    esac
done
reference_calls=${reference_calls:-$calls}
for program in app/navo app/libnavotapi.so tests/navo-demo-store store/navo-store bench/bench_sip_wiretap; do
    [ -e "$build/$program" ] || { echo "bench_calls: $build/$program is missing: cmake --build $build --target benchmarks navo navo-demo-store navo-store" >&2; exit 2; }
done
mkdir -p "$shots"
shots=$(cd "$shots" && pwd)
work=$(mktemp -d)
cleanup() {
    for pid in ${wiretap:-} ${reference:-}; do kill "$pid" 2>/dev/null || true; done
    rm -rf "$work"
}
trap cleanup EXIT
mkdir -p "$work/tmp" "$work/sip"

navo_port=5070 reference_port=5080 caller_port=5090
# Greeting 0.5 s, then the 0.6 s tone: the caller is quiet that long, speaks
# for a second at 500 Hz (8 kHz, the PCMU rate), then hangs up.
sox -n -r 8000 -b 16 -c 1 "$work/greeting.wav" synth 0.5 sine 400 vol 0.3
sox -n -r 8000 -b 16 -c 1 "$work/voice.wav" synth 1.0 sine 500 vol 0.5 pad 1.3 2
sox -n -r 8000 -b 16 -c 1 "$work/quiet.wav" trim 0 5
answered_after=$(awk -v r="$rings" -v p="$ring_ms" 'BEGIN { printf "%.1f", r * p / 1000 }')
call_seconds=$(awk -v a="$answered_after" 'BEGIN { printf "%d", a + 3.5 + 0.999 }')

# A baresip folder: listen address, RTP ports, audio from a file, no sound card.
baresip_folder() {  # folder port rtp-ports account source
    mkdir -p "$1"
    printf '%s\n' "$4" > "$1/accounts"
    printf 'sip_listen 127.0.0.1:%s\nnet_interface 127.0.0.1\nrtp_ports %s\naudio_source aufile,%s\naudio_player aubridge,nil\nmodule_path /usr/lib/baresip/modules\nmodule g711.so\nmodule aufile.so\nmodule aubridge.so\nmodule account.so\nmodule menu.so\n' \
        "$2" "$3" "$5" > "$1/config"
}
baresip_folder "$work/caller" $caller_port 10000-10020 '"Bench Caller" <sip:01632960999@127.0.0.1>;regint=0' "$work/voice.wav"
baresip_folder "$work/reference" $reference_port 10100-10120 '<sip:reference@127.0.0.1>;regint=0;answermode=auto' "$work/quiet.wav"

rss_kib() { awk '/^VmRSS:/ { print $2 }' "/proc/$1/status" 2>/dev/null || echo 0; }

"$build/bench/bench_sip_wiretap" > "$work/wire.tsv" & wiretap=$!

# ---- Navo: a fresh store, the SIP line as device 0, the machine on at start.
TMPDIR="$work/tmp" "$build/tests/navo-demo-store" "$work/navo" 0 --greeting "$work/greeting.wav" >/dev/null
cp "$build/app/navo" "$work/navo/navo"
ini="$work/navo/NAVO.ini"
sed -i 's/^CommID=X$/CommID=0/' "$ini"
printf 'RecID=0\nRings=%s\nAutoMessage=1\n' "$rings" >> "$ini"
export NAVO_TAPI_MODULE=$build/app/libnavotapi.so NAVO_LINE_PROVIDERS="SIP line" NAVO_LINE_CONFIG=$work/no-line.conf
export NAVO_SIP_PORT=$navo_port NAVO_SIP_RTP_PORTS=7078-7098 NAVO_SIP_DATA_DIR=$work/sip NAVO_RING_PERIOD_MS=$ring_ms
export WORK=$work CALLS=$calls CALL_SECONDS=$call_seconds SHOTS=$shots NAVO_PORT=$navo_port

echo "navo: $calls calls, answered after $rings rings of $ring_ms ms, each call about $call_seconds s"
"$(dirname "$0")/../../tests/e2e/in_xvfb.sh" 1280x1024x24 bash -c '
    set -e
    TMPDIR="$WORK/tmp" NAVO_TRACE=1 "$WORK/navo/navo" > "$WORK/navo-output.txt" 2> "$WORK/trace.txt" & pid=$!
    win=
    for _ in $(seq 100); do
        win=$(xdotool search --name "^Navo for user :" 2>/dev/null | head -1) && [ -n "$win" ] && break
        sleep 0.2
    done
    [ -n "$win" ] || { echo "navo did not open its window"; kill $pid; exit 3; }
    sleep 1
    eval "$(xdotool getwindowgeometry --shell "$win")"
    xdotool mousemove $((X + 60)) $((Y + 120 + 4 * 80)) click 1   # the Phone list
    sleep 0.5
    for n in $(seq "$CALLS"); do
        baresip -f "$WORK/caller" -e "/dial sip:navo@127.0.0.1:$NAVO_PORT" -t "$CALL_SECONDS" \
            < /dev/null > "$WORK/caller-$n.txt" 2>&1 || true
        sleep 0.5   # the line is free again: the next caller rings
        printf "%s\t%s\n" "$n" "$(awk "/^VmRSS:/ { print \$2 }" /proc/$pid/status)" >> "$WORK/navo-rss.tsv"
        [ $((n % 10)) -ne 0 ] || echo "  $n calls"
    done
    sleep 1
    import -window root "$SHOTS/phone-list-after-calls.png"
    kill -TERM $pid
    for _ in $(seq 100); do kill -0 $pid 2>/dev/null || break; sleep 0.1; done
    wait $pid 2>/dev/null || true
'

# ---- Reference: baresip answering at once, the same caller.
echo "reference: $reference_calls calls answered by baresip (answermode=auto)"
baresip -f "$work/reference" < /dev/null > "$work/reference.txt" 2>&1 & reference=$!
sleep 1
for n in $(seq "$reference_calls"); do
    baresip -f "$work/caller" -e "/dial sip:reference@127.0.0.1:$reference_port" -t 2 < /dev/null > /dev/null 2>&1 || true
    sleep 0.5
    printf '%s\t%s\n' "$n" "$(rss_kib $reference)" >> "$work/reference-rss.tsv"
done
kill $reference; wait $reference 2>/dev/null || true; reference=
sleep 0.5
kill $wiretap; wait $wiretap 2>/dev/null || true; wiretap=

# ---- Figures.
# Per call: the first INVITE and the first 200 OK to it, by Call-ID; the
# INVITE's request line says who was called.
awk -F'\t' '
    $3 == "INVITE" && $4 ~ /^INVITE / && !($2 in invite) { invite[$2] = $1; target[$2] = ($4 ~ /@127\.0\.0\.1:'"$navo_port"'/) ? "navo" : "reference" }
    $3 == "INVITE" && $4 ~ /^SIP\/2\.0 200/ && !($2 in ok) { ok[$2] = $1 }
    $3 == "INVITE" && $4 ~ /^SIP\/2\.0 180/ && !($2 in ringing) { ringing[$2] = $1 }
    $3 == "INVITE" && $4 ~ /^SIP\/2\.0 486/ { busy[$2] = 1 }
    END {
        for (id in invite) {
            if (id in ok) printf "%s\t%.3f\t%.3f\n", target[id], (ok[id] - invite[id]) * 1000, (id in ringing) ? (ok[id] - ringing[id]) * 1000 : -1
            else printf "%s\t%s\n", target[id], (id in busy) ? "busy" : "unanswered"
        }
    }' "$work/wire.tsv" > "$work/calls.tsv"

wait_ms=$((rings * ring_ms))
# Answered calls' latencies in ms, sorted: who wait_ms
awk -F'\t' -v who=navo -v wait="$wait_ms" '$1 == who && $2 ~ /^[0-9.]+$/ { print $2 - wait }' "$work/calls.tsv" | sort -g > "$work/navo.ms"
awk -F'\t' -v who=reference '$1 == who && $2 ~ /^[0-9.]+$/ { print $2 }' "$work/calls.tsv" | sort -g > "$work/reference.ms"
awk -F'\t' -v who=navo -v wait="$wait_ms" '$1 == who && $3 ~ /^[0-9.]+$/ { print $3 - wait }' "$work/calls.tsv" | sort -g > "$work/navo-from-ringing.ms"
quantile() { awk -v p="$2" '{ v[NR] = $1 } END { i = int(p * NR + 0.999999); if (i < 1) i = 1; print (NR ? v[i] : 0) }' "$1"; }
describe() {  # who file
    awk -v who="$1" '{ v[NR] = $1; sum += $1 }
        function q(p,  i) { i = int(p * NR + 0.999999); if (i < 1) i = 1; return v[i] }
        END {
            if (NR == 0) { printf "%-9s no answered calls\n", who; exit }
            printf "%-9s n=%d  min %.1f  median %.1f  mean %.1f  p90 %.1f  p95 %.1f  p99 %.1f  max %.1f ms\n",
                   who, NR, v[1], q(0.5), sum / NR, q(0.9), q(0.95), q(0.99), v[NR]
        }' "$2"
}
echo
echo "answer latency (INVITE to 200 OK on the wire; for navo less the $rings rings of $ring_ms ms it waits):"
describe navo "$work/navo.ms"
describe reference "$work/reference.ms"
echo "navo's own part, from its 180 Ringing (when it starts counting rings) to the 200 OK, less the rings:"
describe navo "$work/navo-from-ringing.ms"
awk -v n="$(quantile "$work/navo.ms" 0.5)" -v r="$(quantile "$work/reference.ms" 0.5)" -v p="$(quantile "$work/navo.ms" 0.95)" 'BEGIN {
    printf "ratio of medians navo / reference = %.2f\n", (r > 0 ? n / r : 0)
    printf "goal: answered within 100 ms of the ring count: p95 %.1f ms -> %s\n", p, (p <= 100 ? "met" : "NOT met") }'

echo
answered=$(awk -F'\t' '$1 == "navo" && $2 ~ /^[0-9.]+$/' "$work/calls.tsv" | wc -l)
refused=$(awk -F'\t' '$1 == "navo" && $2 !~ /^[0-9.]+$/' "$work/calls.tsv" | wc -l)
store=$(ls "$work"/navo/Profiles/*/NAVO.vxt)
filed=$("$build/store/navo-store" list "$store" phone | tail -1 | awk '{ print $1 }')
from_caller=$("$build/store/navo-store" list "$store" phone | grep -c "	01632960999	" || true)
echo "calls placed by baresip: $calls; answered by navo: $answered; busy or unanswered: $refused"
echo "messages filed in the store: $filed (from the caller's number: $from_caller); lost: $((calls - ${filed:-0}))"
grep -c "^Navo closed" "$work/trace.txt" >/dev/null && echo "navo shut down in order after the calls" || echo "navo did NOT shut down in order"

memory() {  # file who
    awk -F'\t' -v who="$2" '
        { rss[$1] = $2; last = $1 }
        END {
            first = (10 in rss) ? 10 : 1
            growth = rss[last] - rss[first]
            printf "%-9s RSS after call 1: %d KiB, call %d: %d KiB, call %d: %d KiB; growth %d KiB (%.1f KiB per call)\n",
                   who, rss[1], first, rss[first], last, rss[last], growth, (last > first ? growth / (last - first) : 0)
        }' "$1"
}
echo
echo "memory (resident set size):"
memory "$work/navo-rss.tsv" navo
memory "$work/reference-rss.tsv" reference
echo
echo "screenshot: $shots/phone-list-after-calls.png"
