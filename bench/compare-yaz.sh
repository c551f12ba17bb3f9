#!/usr/bin/env bash
# Side by side: "tesselex-cli marc convert" (encoding 2) and "yaz-marcdump -i marc -o marc" on
# the same file of real-sized records. Prints records/s, MB/s and peak memory of each, for
# 100,000 records and for three times as many (memory must not grow with the file).
#
# usage: bench/compare-yaz.sh [SOURCE_DIR]   (default ../shared/testdata/marc)
# Builds a Release tesselex-cli in build/record-release; generated files go to build/record-bench.
set -euo pipefail

root=$(cd "$(dirname "$0")/.." && pwd)
source_dir=${1:-$root/../shared/testdata/marc}
build=$root/build/record-release
work=$root/build/record-bench
mkdir -p "$work"

command -v yaz-marcdump >/dev/null || { echo "yaz-marcdump is not installed (Debian package yaz)" >&2; exit 2; }
[ -x /usr/bin/time ] || { echo "/usr/bin/time is not installed (Debian package time)" >&2; exit 2; }

if [ ! -f "$build/CMakeCache.txt" ]; then
    cmake -S "$root" -B "$build" -DCMAKE_BUILD_TYPE=Release -DTESSELEX_SANITIZE=OFF \
        -DTESSELEX_BUILD_TESTS=OFF -DTESSELEX_BUILD_BENCH=OFF >/dev/null
fi
cmake --build "$build" -j2 --target tesselex-cli >/dev/null
cli=$build/app/tesselex-cli

# One run: prints "seconds peak_kb" of the command (output to the given file).
measure() {
    local out=$1; shift
    local log=$work/time.log
    local start end
    start=$(date +%s.%N)
    /usr/bin/time -f "%M" -o "$log" "$@" >"$out" 2>/dev/null
    end=$(date +%s.%N)
    echo "$(echo "$end - $start" | bc -l) $(tail -1 "$log")"
}

report() {
    local name=$1 records=$2 bytes=$3 seconds=$4 peak=$5
    awk -v n="$name" -v r="$records" -v b="$bytes" -v s="$seconds" -v p="$peak" 'BEGIN {
        printf "%-28s %9d records %8.3f s %10.0f rec/s %8.1f MB/s %8.1f MB peak\n",
               n, r, s, r / s, b / s / 1048576, p / 1024 }'
}

for count in 100000 300000; do
    file=$work/records-$count.mrc
    [ -f "$file" ] || python3 "$root/bench/make-record-file.py" "$source_dir" "$file" "$count" >/dev/null
    bytes=$(stat -c %s "$file")
    cat "$file" >/dev/null  # warm the page cache for both programs alike
    best_t=""; best_y=""
    for round in 1 2 3; do
        read -r t_sec t_kb < <(measure "$work/tesselex.out" "$cli" marc convert "$file" -)
        read -r y_sec y_kb < <(measure "$work/yaz.out" yaz-marcdump -i marc -o marc "$file")
        if [ -z "$best_t" ] || (( $(echo "$t_sec < ${best_t%% *}" | bc -l) )); then best_t="$t_sec $t_kb"; fi
        if [ -z "$best_y" ] || (( $(echo "$y_sec < ${best_y%% *}" | bc -l) )); then best_y="$y_sec $y_kb"; fi
    done
    echo "== $count records, $((bytes / 1048576)) MB (best of 3 runs)"
    report "tesselex-cli marc convert" "$count" "$bytes" ${best_t}
    report "yaz-marcdump -i marc -o marc" "$count" "$bytes" ${best_y}
    if cmp -s "$work/tesselex.out" "$file"; then
        echo "tesselex-cli output is byte-identical to its input"
    else
        echo "tesselex-cli output differs from its input (records that break a rule Export restores)"
    fi
done
rm -f "$work"/*.out "$work/time.log"
