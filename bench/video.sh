#!/usr/bin/env bash
# Measures the video side and prints ratios and shares. About ten minutes on two cores.
#
#   bench/video.sh [ROUNDS]      how often vxcompress and ffmpeg take turns (3)
set -euo pipefail

root=$(cd -- "$(dirname -- "${BASH_SOURCE[0]}")/.." && pwd -P)
. "$root/bench/common.sh"
rounds=${1:-3}
bin="$root/build/dev/bin"
work=$(mktemp -d)
trap 'rm -rf -- "$work"' EXIT
export TMPDIR="$work"

"$root/scripts/build" dev
cmake --build "$root/build/dev" --target video_bench encoder_clock >&2

echo "making the sources" >&2
make_source() { # SECONDS FILE
    ffmpeg -v error -y -f lavfi -i "testsrc2=s=1920x1080:r=25:d=$1" -f lavfi -i "sine=440:r=48000:d=$1" \
        -c:v libx264 -preset ultrafast -pix_fmt yuv420p -c:a aac "$2"
}
make_source 60 "$work/long.mp4"
make_source 10 "$work/short.mp4"

repeat() { # TIMES COMMAND...: its output, so many times
    local i
    for ((i = 0; i < $1; ++i)); do "${@:2}"; done
}

echo "vxcompress against the ffmpeg command that it builds, 60 s of 1080p, $rounds rounds" >&2
command=$("$bin/video_bench" command "$work/long.mp4" "$work/bare.mp4")
for ((i = 0; i < rounds; ++i)); do
    bare=$(seconds bash -c "exec '$bin/ffmpeg' $command" </dev/null)
    ours=$(seconds "$bin/vxcompress" --quiet -f --quality 28 --scale 1 "$work/long.mp4" "$work/ours.mp4")
    awk -v o="$ours" -v b="$bare" 'BEGIN { printf "%.4f %s %s\n", o / b, o, b }' | tee -a "$work/ratios" >&2
done
cmp -s "$work/bare.mp4" "$work/ours.mp4" || echo "note: the two results differ" >&2
echo "vxcompress / ffmpeg, wall time:              $(cut -d' ' -f1 "$work/ratios" | median)  (at most 1.02)"

mkdir "$work/clock"
cp -- "$bin/video_bench" "$work/clock/video_bench"
cp -- "$bin/encoder_clock" "$work/clock/ffmpeg"
first=$(repeat 15 "$work/clock/video_bench" first-instruction "$work/long.mp4" | median)
ffprobe=$(repeat 15 seconds ffprobe -v error -show_streams "$work/long.mp4" | median)
awk -v f="$first" -v p="$ffprobe" 'BEGIN {
    printf "start() to ffmpeg'"'"'s first instruction:       %.1f ms, %.2f of an ffprobe (%.1f ms)  (at most 1)\n",
           f, f / (p * 1000), p * 1000 }'

read -r _ share < <("$bin/video_bench" encode "$work/long.mp4" 1 together)
printf 'processor time of monitor and event loop:    %.3f %% of one core  (under 0.2 %%)\n' "$share"

printf 'stop() to its return, the finish included:   %.1f ms  (under 100)\n' \
    "$(repeat 5 "$bin/video_bench" stop "$work/long.mp4" | median)"

read -r together _ < <("$bin/video_bench" encode "$work/short.mp4" 3 together)
read -r row _ < <("$bin/video_bench" encode "$work/short.mp4" 3 in-a-row)
awk -v t="$together" -v r="$row" 'BEGIN {
    printf "three encodes side by side / in a row:       %.2f (%.1f s, %.1f s)\n", t / r, t, r }'
