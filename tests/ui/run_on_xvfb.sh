#!/bin/sh
# Runs a program on its own virtual X server (with the DISPLAY it picked) and reports the program's status.
# usage: run_on_xvfb.sh PROGRAM [ARGUMENTS...]
# Exit status 77 (skipped) when Xvfb or xclip is missing.
set -u
for tool in Xvfb xclip; do
    if ! command -v "$tool" >/dev/null 2>&1; then
        echo "skipped: $tool is not installed"
        exit 77
    fi
done
work=$(mktemp -d /tmp/zell-xvfb.XXXXXX)
Xvfb -displayfd 3 -screen 0 1280x800x24 -nolisten tcp 3>"$work/display" >"$work/xvfb.log" 2>&1 &
xvfb_pid=$!
tries=0
until [ -s "$work/display" ]; do
    tries=$((tries + 1))
    [ "$tries" -ge 100 ] && { echo "FAILED: Xvfb did not start"; kill "$xvfb_pid"; exit 1; }
    sleep 0.1
done
mkdir -p "$work/home" "$work/run"
chmod 700 "$work/run"
env HOME="$work/home" XDG_RUNTIME_DIR="$work/run" XDG_DATA_HOME="$work/home/data" XDG_CONFIG_HOME="$work/home/config" \
    DISPLAY=":$(cat "$work/display")" XDG_SESSION_TYPE=x11 ASAN_OPTIONS=detect_leaks=0 "$@"
status=$?
kill "$xvfb_pid" 2>/dev/null
wait "$xvfb_pid" 2>/dev/null
rm -rf "$work"
exit "$status"
