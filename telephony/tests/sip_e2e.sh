#!/bin/sh
# Runs a test program inside a private network namespace with only loopback,
# so the SIP stacks under test reach nothing but each other. Needs root (or
# unprivileged user namespaces); without them the test is reported skipped.
# usage: sip_e2e.sh PROGRAM [ARGS...]
if ! unshare -n true 2>/dev/null; then
    echo "sip_e2e: cannot make a private network namespace (unshare -n); skipped"
    exit 77
fi
for tool in linphonec baresip ip; do
    if ! command -v "$tool" >/dev/null 2>&1; then
        echo "sip_e2e: $tool is not installed; skipped"
        exit 77
    fi
done
export NAVO_SIP_NETNS=1
exec unshare -n sh -c 'ip link set lo up && exec "$@"' sip_e2e "$@"
