#!/usr/bin/env bash
# How near results come to a requested size, and in how many encodes: videos and images, made here. Prints a line a request:
# setting:bytes:SSIM of each trial, then what came of it. A minute or two on two cores.
set -euo pipefail

root=$(cd -- "$(dirname -- "${BASH_SOURCE[0]}")/.." && pwd -P)
bin="$root/build/dev/bin"
work=$(mktemp -d)
trap 'rm -rf -- "$work"' EXIT
export TMPDIR="$work"
cmake --build "$root/build/dev" --target search_bench >&2

make() { ffmpeg -nostdin -v error -y "$@"; }
life='life=s=320x240:r=25:seed=3:ratio=0.3:mold=20:death_color=#406080:life_color=#f0e0a0'
make -f lavfi -i "$life" -f lavfi -i sine -t 20 -c:v libx264 -preset ultrafast -crf 18 -pix_fmt yuv420p "$work/hard.mp4"
make -f lavfi -i testsrc2=s=320x240:r=25 -f lavfi -i sine -t 30 -c:v libx264 -preset ultrafast -crf 18 -pix_fmt yuv420p \
    "$work/plain.mkv"
make -f lavfi -i testsrc2=s=320x240:r=25:d=0.04 -vf tpad=stop_mode=clone:stop_duration=20 -c:v libx264 -qp 0 \
    -pix_fmt yuv420p "$work/still.mp4"
make -f lavfi -i mandelbrot=s=1280x960 -frames:v 1 "$work/fractal.png"
make -i "$work/fractal.png" -q:v 2 "$work/fractal.jpg"

goal() { # SOURCE SUFFIX SIZE MIN_SSIM [QUALITY]
    printf '%s to %s, size %s, SSIM %s: ' "$@"
    "$bin/search_bench" goal "$work/$1" "${@:2}"
}
for size in 20% 40% 60% 90%; do goal hard.mp4 mp4 $size -; done
for size in 30% 60%; do goal plain.mkv mkv $size -; done
goal plain.mkv mkv 60kB -
goal still.mp4 mp4 50% -
for suffix in jpg webp; do
    for size in 10% 40% 80%; do goal fractal.jpg $suffix $size -; done
done
for size in 20% 30% 1kB; do goal fractal.png png $size -; done
for ssim in 0.9 0.95 0.99; do goal hard.mp4 mp4 - $ssim; done
for ssim in 0.95 0.98 0.9999; do goal fractal.jpg jpg - $ssim; done
goal hard.mp4 mp4 40% 0.5
goal fractal.jpg jpg 40% 0.999
