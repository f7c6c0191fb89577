#!/usr/bin/env bash
# Four videos of 1080p in one call of vxcompress against HandBrakeCLI on the same four: x264 veryfast, the same rate factor,
# AAC. Prints rows of docs/benchmarks.md.
#
#   bench/videos.sh [SECONDS [SIZE]]      of each video (30), and its image (1920x1080)
set -euo pipefail

root=$(cd -- "$(dirname -- "${BASH_SOURCE[0]}")/.." && pwd -P)
. "$root/bench/common.sh"
length=${1:-30}
size=${2:-1920x1080}
quality=24
"$root/scripts/setup" --bench
"$root/scripts/build" release
bin="$root/build/release/bin"
work=$(mktemp -d)
trap 'rm -rf -- "$work"' EXIT
export TMPDIR="$work"

mkdir "$work/videos"
i=0
for image in "testsrc2=s=$size:r=25" "gradients=s=$size:r=25:n=6:speed=0.02" "testsrc2=s=$size:r=25,noise=alls=12:allf=t" \
    "gradients=s=$size:r=25:n=8:speed=0.1,noise=alls=6:allf=t"; do
    i=$((i + 1))
    ffmpeg -v error -nostdin -f lavfi -i "$image" -f lavfi -i "sine=f=$((i * 220)):r=48000" -t "$length" \
        -c:v libx264 -preset ultrafast -crf 12 -pix_fmt yuv420p -c:a aac "$work/videos/$i.mkv"
done

ours() {
    rm -rf -- "$work/ours" && "$bin/vxcompress" --quiet -r "$work/videos" -o "$work/ours" --format mp4 --quality $quality
}
peer() {
    rm -rf -- "$work/peer" && mkdir "$work/peer"
    local video
    for video in "$work"/videos/*; do
        HandBrakeCLI -i "$video" -o "$work/peer/$(basename "${video%.*}").mp4" -e x264 --encoder-preset veryfast \
            -q $quality -E av_aac --crop 0:0:0:0 </dev/null
    done
}
for turn in 1 2; do
    ((turn == 1)) && seconds ours >>"$work/our-times"
    seconds peer >>"$work/peer-times"
    ((turn == 2)) && seconds ours >>"$work/our-times"
done
our=$(awk '{ s += $1 } END { print s / NR }' "$work/our-times")
their=$(awk '{ s += $1 } END { print s / NR }' "$work/peer-times")
row "four videos of $length s, $size, vxcompress / HandBrakeCLI: time" "$our s" "$their s" "$(over "$our" "$their")" \
    "at most 0.95"
row "— bytes" "$(bytes_in "$work/ours")" "$(bytes_in "$work/peer")" \
    "$(over "$(bytes_in "$work/ours")" "$(bytes_in "$work/peer")")" ""
row "— SSIM to the source" "$(mean_ssim "$work/videos" "$work/ours")" \
    "$(mean_ssim "$work/videos" "$work/peer")" "" ""
