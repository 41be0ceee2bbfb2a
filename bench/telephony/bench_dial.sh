#!/usr/bin/env bash
# Outgoing call set-up over the SIP line: Navo's Ek7TapiDial to the callee's
# 200 OK against baresip dialling the same callee (bench_sip_dial), inside a
# private network namespace with only loopback (so it needs root).
# usage: bench/telephony/bench_dial.sh BUILD_DIR [--calls N]
set -euo pipefail
if [ "${NAVO_BENCH_NETNS:-}" != 1 ]; then
    for tool in unshare ip baresip; do
        command -v "$tool" >/dev/null || { echo "bench_dial: $tool is needed" >&2; exit 2; }
    done
    unshare -n true 2>/dev/null || { echo "bench_dial: needs a private network namespace (run as root)" >&2; exit 2; }
    export NAVO_BENCH_NETNS=1
    exec unshare -n bash -c 'ip link set lo up && exec "$0" "$@"' "$0" "$@"
fi
build=$(cd "${1:?usage: bench_dial.sh BUILD_DIR [--calls N]}" && pwd)
shift
for program in app/libnavotapi.so bench/bench_sip_wiretap bench/bench_sip_dial; do
    [ -e "$build/$program" ] || { echo "bench_dial: $build/$program is missing: cmake --build $build --target benchmarks_telephony" >&2; exit 2; }
done
work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT
mkdir -p "$work/sip"
export NAVO_TAPI_MODULE=$build/app/libnavotapi.so NAVO_LINE_PROVIDERS="SIP line" NAVO_LINE_CONFIG=$work/no-line.conf
export NAVO_SIP_PORT=5070 NAVO_SIP_RTP_PORTS=7078-7098 NAVO_SIP_DATA_DIR=$work/sip NAVO_TRACE=0
# The SIP stack logs on both outputs; only the figures are kept.
status=0
"$build/bench/bench_sip_dial" --wiretap "$build/bench/bench_sip_wiretap" --work "$work" "$@" \
    > "$work/out.txt" 2> "$work/stderr.txt" || status=$?
grep -v -e '-warning-' -e '-error-' -e '-message-' "$work/out.txt" || true
[ "$status" = 0 ] || grep -e '^error' "$work/stderr.txt" >&2 || true
exit "$status"
