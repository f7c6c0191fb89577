#!/usr/bin/env bash
# Where the first milliseconds go, and what many inputs cost. Prints rows of docs/benchmarks.md.
#
#   bench/startup.sh [INPUTS...]      so many inputs (10 10000 100000)
set -euo pipefail

root=$(cd -- "$(dirname -- "${BASH_SOURCE[0]}")/.." && pwd -P)
. "$root/bench/common.sh"
(($#)) || set -- 10 10000 100000
"$root/scripts/build" release
bin="$root/build/release/bin"
work=$(mktemp -d)
trap 'rm -rf -- "$work"' EXIT
export TMPDIR="$work"

make_photos 4 "$work" jpg
ffmpeg -v error -nostdin -f lavfi -i testsrc2=s=64x64 -frames:v 1 "$work/small.jpg"

milliseconds() { # COMMAND...: the median of many runs
    for _ in {1..25}; do
        seconds "$@"
    done | median | awk '{ printf "%.1f", $1 * 1000 }'
}
rest() { awk -v a="$1" -v b="$2" 'BEGIN { printf "%.1f ms", a - b }'; }
nothing=$(milliseconds true)
loaded=$(milliseconds env LD_PRELOAD="$root/build/release/lib/libVxCompressor.so" true)
env=$(milliseconds env true)
version=$(milliseconds "$bin/vxcompress" --version)
whole=$(milliseconds "$bin/vxcompress" -f "$work/small.jpg" "$work/out.jpg")
encoder=$(milliseconds "$bin/cJpeg" -outfile "$work/out.jpg" -quality 75 -baseline "$work/small.jpg")
row "one image of 64x64, vxcompress and cJpeg" "$whole ms" "$encoder ms" "$(over "$whole" "$encoder" %.1f)" ""
row "— of it the program with Qt (--version)" "$(rest "$version" "$nothing")" "" "" ""
row "— loading the module with FFmpeg's libraries" "$(rest "$loaded" "$env")" "" "" ""
row "— the encoder" "$encoder ms" "" "" ""

# Seconds to the first line of results, and the peak memory by then or a while later, in a run that is then ended.
for inputs in "$@"; do
    rm -rf -- "$work/tree" "$work/out" "$work/first"
    for ((folder = 0; folder * 1000 < inputs; ++folder)); do
        mkdir -p "$work/tree/$folder"
        # Links are made faster than copies, and are files like others for who reads them; no file may have 100,000.
        cp "$work/small.jpg" "$work/tree/$folder/0000.jpg"
        seq -f "$work/tree/$folder/%04.0f.jpg" 1 $((inputs < 1000 ? inputs - 1 : 999)) |
            xargs -n 1 ln "$work/tree/$folder/0000.jpg"
    done
    mkfifo "$work/first"
    "$bin/vxcompress" -r "$work/tree" -o "$work/out" >"$work/first" 2>/dev/null &
    pid=$!
    began=$(date +%s.%N)
    exec 3<"$work/first"
    IFS= read -r _ <&3
    ended=$(date +%s.%N)
    cat <&3 >/dev/null &
    reader=$!
    peak=0
    for _ in {1..100}; do
        now=$(awk '/^VmHWM/ { print $2 }' "/proc/$pid/status" 2>/dev/null) || break
        [[ -n $now ]] || break
        peak=$now
        sleep 0.1
    done
    kill -INT "$pid" 2>/dev/null || true
    wait "$pid" "$reader" || true
    exec 3<&-
    row "$inputs inputs: the first result; peak memory" "$(awk -v b="$began" -v e="$ended" 'BEGIN { printf "%.3f s", e - b }')" \
        "$(awk -v k="$peak" 'BEGIN { printf "%.1f MiB", k / 1024 }')" "" ""
done
