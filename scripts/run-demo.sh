#!/usr/bin/env bash
# Runs the mediahost demo: in a window when there is a display, otherwise headless, recording
# frames and a contact sheet under BUILD_DIR/demo.
set -euo pipefail

if [ $# -ne 1 ]; then
    echo "usage: $0 BUILD_DIR" >&2
    exit 2
fi
build_dir=$1
host="$build_dir/src/host/mediahost"
if [ ! -x "$host" ]; then
    echo "run-demo: $host not found; build first (make build BUILD_DIR=$build_dir)" >&2
    exit 1
fi

platform=${QT_QPA_PLATFORM:-}
if { [ -n "${DISPLAY:-}" ] || [ -n "${WAYLAND_DISPLAY:-}" ]; } && [ "$platform" != offscreen ] && [ "$platform" != minimal ]; then
    echo "run-demo: playing the demo in a window; close it to end"
    exec "$host" --demo
fi

demo_dir="$build_dir/demo"
frames="$demo_dir/frames"
sheet="$demo_dir/contact-sheet.png"
rm -rf "$frames"
rm -f "$sheet"
mkdir -p "$frames"

# The folded texts are shown through OpenGL: a private Xvfb with Mesa's software renderer gives
# the offscreen platform a context.
echo "run-demo: no display; recording 8 seconds of the demo headless"
QT_QPA_PLATFORM=${platform:-offscreen} "$(dirname "$0")/with-display.sh" \
    "$host" --demo --seconds 8 --capture "$frames" --fps 4 --contact-sheet "$sheet"

if [ ! -s "$sheet" ]; then
    echo "run-demo: no contact sheet was written" >&2
    exit 1
fi
count=$(find "$frames" -name 'frame-*.png' | wc -l)
echo "run-demo: $count frames in $frames"
echo "run-demo: contact sheet: $sheet"
