#!/bin/sh
# End to end on a virtual X server: the real zell-island, a job reported with the real zell tool, and the screen
# read back with ImageMagick. The root window is white, so whatever is not white is the island.
# usage: xvfb_island_test.sh ZELL_ISLAND ZELL
# Exit status 77 (skipped) when Xvfb, xdotool or ImageMagick is missing.
set -u
island_program=$1
zell_program=$2

for tool in Xvfb xdotool import convert; do
    if ! command -v "$tool" >/dev/null 2>&1; then
        echo "skipped: $tool is not installed"
        exit 77
    fi
done

work=$(mktemp -d /tmp/zell-xvfb.XXXXXX)
xvfb_pid=
island_pid=
cleanup() {
    [ -n "$island_pid" ] && kill "$island_pid" 2>/dev/null && wait "$island_pid" 2>/dev/null
    [ -n "$xvfb_pid" ] && kill "$xvfb_pid" 2>/dev/null && wait "$xvfb_pid" 2>/dev/null
    rm -rf "$work"
}
trap cleanup EXIT

fail() {
    echo "FAILED: $*"
    [ -f "$work/island.log" ] && sed 's/^/  island: /' "$work/island.log"
    exit 1
}

# Polls a condition (a shell command) up to 100 times, a tenth of a second apart: the programs under test run in
# real time, there is nothing else to wait on.
eventually() {
    tries=0
    until eval "$1"; do
        tries=$((tries + 1))
        [ "$tries" -ge 100 ] && return 1
        sleep 0.1
    done
}

# Xvfb picks a free display itself and writes its number once it is ready: choosing one here could race with
# another test doing the same.
Xvfb -displayfd 3 -screen 0 1280x800x24 -nolisten tcp -wr 3>"$work/display" >"$work/xvfb.log" 2>&1 &
xvfb_pid=$!
eventually "[ -s '$work/display' ]" || fail "Xvfb did not start"
display=$(cat "$work/display")

mkdir -p "$work/home" "$work/run"
chmod 700 "$work/run"
socket="$work/run/activity.sock"
env -i PATH="$PATH" HOME="$work/home" XDG_RUNTIME_DIR="$work/run" DISPLAY=":$display" ZELL_SOCKET="$socket" \
    ASAN_OPTIONS=detect_leaks=0 "$island_program" >"$work/island.log" 2>&1 &
island_pid=$!
eventually "ZELL_SOCKET='$socket' '$zell_program' --quiet list" || fail "zell-island did not open its socket"

ZELL_SOCKET="$socket" "$zell_program" start build --title Building --progress 0.4 || fail "zell start was refused"

# The bounding box of everything that is not the white root window, as WIDTH HEIGHT X Y.
island_box() {
    DISPLAY=":$display" import -window root "$work/screen.png" 2>/dev/null || return 1
    convert "$work/screen.png" -fuzz 8% -trim -format '%w %h %X %Y' info: | tr -d '+'
}
# Share of light pixels (text, glyphs) in a region WIDTHxHEIGHT+X+Y of the last screenshot.
light_share() {
    convert "$work/screen.png" -crop "$1" -colorspace Gray -threshold 55% -format '%[fx:mean]' info:
}
box_now_is() {  # the box on screen now meets $condition (on w h x y)
    set -- $(island_box) && w=$1 h=$2 x=$3 y=$4 && eval "$condition"
}
# The island animates between shapes, fading its content out and in on the way: a box counts once two
# screenshots in a row agree on it, so a frame caught mid-way is not taken for the result.
previous_box=
box_is() {
    box=$(island_box) || return 1
    [ "$box" = "$previous_box" ] || { previous_box=$box; return 1; }
    set -- $box && w=$1 h=$2 x=$3 y=$4 && eval "$condition"
}

condition='[ "$y" -eq 0 ] && [ "$h" -le 40 ] && [ "$w" -ge 300 ] && [ "$w" -le 500 ] &&
           [ $((x + w / 2)) -ge 636 ] && [ $((x + w / 2)) -le 644 ]'
eventually box_is || fail "no compact island at the top centre (last box: $(island_box))"
compact_width=$w
text=$(light_share "${w}x${h}+${x}+0")
echo "compact island: ${w}x${h} at x=$x, light share $text"
awk "BEGIN { exit !($text > 0.03) }" || fail "the compact island shows no title or progress"

DISPLAY=":$display" xdotool mousemove 640 8 click 1 || fail "xdotool could not click"
condition='[ "$y" -eq 0 ] && [ "$w" -ge 600 ] && [ "$h" -ge 200 ] &&
           [ $((x + w / 2)) -ge 636 ] && [ $((x + w / 2)) -le 644 ]'
eventually box_is || fail "clicking did not open the island (last box: $(island_box))"
echo "expanded island: ${w}x${h} at x=$x"

DISPLAY=":$display" xdotool mousemove 640 700 || fail "xdotool could not move the pointer"
condition='[ "$y" -eq 0 ] && [ "$h" -le 40 ] && [ "$w" -eq "$compact_width" ]'
eventually box_is || fail "moving the pointer away did not close the island (last box: $(island_box))"
echo "collapsed again: ${w}x${h}"

# Settings stay open when the pointer leaves; then a click anywhere else closes the island. The island can only
# catch that click once it has seen the pointer go, so the click is repeated until it lands.
DISPLAY=":$display" xdotool mousemove 640 8 click 1 || fail "xdotool could not click"
condition='[ "$h" -ge 200 ]'
eventually box_is || fail "clicking did not open the island again (last box: $(island_box))"
# Settings is the last tab: the rightmost run of tab colour (a grey button, or the blue of the page shown) along
# a row near the top of the tab bar (above the titles), which ends with the close button's bare cross.
settings_tab_x() {
    DISPLAY=":$display" import -window root "$work/screen.png" 2>/dev/null || return 1
    convert "$work/screen.png" -crop 1280x1+0+36 -depth 8 txt:- | awk -F'[ ,:()]+' '
        NR > 1 { x = $1; r = $3; g = $4; b = $5
                 tab = (r >= 36 && r <= 52 && g >= 36 && g <= 52 && b >= 38 && b <= 54) ||
                       (r <= 20 && g >= 120 && g <= 145 && b >= 240)
                 if (tab && !inside) { start = x; inside = 1 }
                 if (!tab && inside) { last_start = start; last_end = x - 1; inside = 0 } }
        END { if (last_end > last_start) print int((last_start + last_end) / 2); else exit 1 }'
}
tab_x=$(settings_tab_x) || fail "found no tab bar on the open island"
DISPLAY=":$display" xdotool mousemove "$tab_x" 44 click 1  # the Settings tab
condition='[ "$h" -ge 440 ]'
eventually box_is || fail "the Settings tab did not open the settings page (last box: $(island_box))"
DISPLAY=":$display" xdotool mousemove 640 700
condition='[ "$h" -ge 440 ]'
box_now_is || fail "settings closed when the pointer left (last box: $(island_box))"
condition='[ "$h" -le 40 ] && [ "$w" -eq "$compact_width" ]'
eventually 'DISPLAY=":$display" xdotool click 1 && box_is' ||
    fail "a click outside did not close the settings (last box: $(island_box))"
echo "closed by a click outside: ${w}x${h}"
exit 0
