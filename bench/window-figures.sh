#!/usr/bin/env bash
# Figures of the window program on a real X display (Xvfb, openbox, trayer as the tray host),
# with the sample export server on 127.0.0.1:
#   start-up: from launching `tesselex` to its icon in the notification area;
#   resident memory after one export, and after IDLE_MINUTES idle minutes (default 10);
#   CPU seconds per idle minute.
# The longest event-loop stall during a slow reply is measured by bench_window_stall.
# Usage: bench/window-figures.sh [IDLE_MINUTES]   (a Release build: build/release)
set -euo pipefail
cd "$(dirname "$0")/.."
idle_minutes=${1:-10}

scripts/setup xvfb openbox trayer x11-utils xdotool bc
cmake -S . -B build/release -DCMAKE_BUILD_TYPE=Release -DTESSELEX_BUILD_TESTS=OFF >/dev/null
cmake --build build/release -j "$(nproc)" --target tesselex tesselex-sample-server
app=$PWD/build/release/app/gui/tesselex
sample_server=$PWD/build/release/app/tesselex-sample-server

work=$(mktemp -d "${TMPDIR:-/tmp}/tesselex-figures.XXXXXX")
pids=()
cleanup() {
    for ((i = ${#pids[@]} - 1; i >= 0; i--)); do
        kill "${pids[i]}" 2>/dev/null || true
        wait "${pids[i]}" 2>/dev/null || true
    done
    rm -rf "$work"
}
trap cleanup EXIT INT TERM
wait_for() {
    for _ in $(seq 1000); do
        if "$@" >/dev/null 2>&1; then return 0; fi
        sleep 0.01
    done
    echo "figures: gave up waiting for: $*" >&2
    return 1
}
rss_mb() { awk '/VmRSS/ { printf "%.1f", $2 / 1024 }' "/proc/$1/status"; }
cpu_seconds() { # user + system time of a process
    awk -v hz="$(getconf CLK_TCK)" '{ printf "%.2f", ($14 + $15) / hz }' "/proc/$1/stat"
}

"$sample_server" --data data >"$work/server.log" 2>&1 &
pids+=($!)
wait_for test -s "$work/server.log"
server=$(head -n 1 "$work/server.log")
home="$work/program"
mkdir -p "$home" "$work/voyager" "$work/delivered" "$work/run"
chmod 700 "$work/run"
printf '[InternetShortcut]\r\nURL=%s/config\r\n' "$server" >"$home/export.url"
printf '[Preferences]\r\nHoldWorkFile=%s\r\n' "$work/voyager/hold.wrk" >"$home/cat.ini"
export TESSELEX_HOME="$home" XDG_CONFIG_HOME="$work/config" XDG_RUNTIME_DIR="$work/run"
mkdir -p "$work/config/TESSELEX"
printf '[Settings]\nDestination=%s\n' "$work/delivered/export.mrc" >"$work/config/TESSELEX/TESSELEX.conf"

display=:$((90 + RANDOM % 100))
Xvfb "$display" -screen 0 1280x960x24 -nolisten tcp >/dev/null 2>&1 &
pids+=($!)
export DISPLAY=$display
unset QT_QPA_PLATFORM
wait_for xdpyinfo
openbox >/dev/null 2>&1 &
pids+=($!)
trayer --edge bottom --align right --widthtype request --height 32 --SetDockType true >/dev/null 2>&1 &
pids+=($!)
sleep 2
tray=$(xdotool search --onlyvisible --class trayer | head -n 1)

start=$(date +%s.%N)
"$app" >"$work/tesselex.log" 2>&1 &
app_pid=$!
pids+=($app_pid)
wait_for bash -c "xwininfo -tree -id $tray | grep -q tesselex"
tray_at=$(date +%s.%N)
echo "start-up to tray icon: $(echo "$tray_at - $start" | bc -l | xargs printf '%.3f') s"

cp data/sample-workfile.mrc "$work/voyager/hold.wrk"
wait_for test -s "$work/delivered/export.mrc"
sleep 1
echo "resident memory after one export: $(rss_mb "$app_pid") MB"

cpu_before=$(cpu_seconds "$app_pid")
sleep $((idle_minutes * 60))
cpu_after=$(cpu_seconds "$app_pid")
echo "resident memory after $idle_minutes idle minutes: $(rss_mb "$app_pid") MB"
echo "CPU per idle minute: $(echo "($cpu_after - $cpu_before) / $idle_minutes" | bc -l |
    xargs printf '%.3f') s (over $idle_minutes minutes)"
