#!/usr/bin/env bash
# Runs a command where an OpenGL context can be made: as it is when there is a display, otherwise
# on a private Xvfb server (Mesa's software renderer does the OpenGL). The server picks a free
# display number itself, so several of these can run at once.
set -euo pipefail

if [ $# -eq 0 ]; then
    echo "usage: $0 COMMAND [ARG...]" >&2
    exit 2
fi
if [ -n "${DISPLAY:-}" ]; then
    exec "$@"
fi
if ! command -v Xvfb >/dev/null 2>&1; then
    echo "with-display: no display and no Xvfb (package xvfb); OpenGL will not be available" >&2
    exec "$@"
fi

fifo=$(mktemp -u)
mkfifo "$fifo"
Xvfb -displayfd 3 -screen 0 1920x1080x24 -nolisten tcp 3>"$fifo" >/dev/null 2>&1 &
server=$!
trap 'kill "$server" 2>/dev/null || true; wait "$server" 2>/dev/null || true; rm -f "$fifo"' EXIT
if ! read -r -t 20 number <"$fifo"; then
    echo "with-display: Xvfb did not start" >&2
    exit 1
fi
rm -f "$fifo"
status=0
DISPLAY=":$number" "$@" || status=$?
exit "$status"
