#!/usr/bin/env bash
# Measures the image side and prints ratios. About three minutes a round on two cores.
#
#   bench/image.sh [ROUNDS]      how often tasks and xargs take turns over all 200 images (2)
set -euo pipefail

root=$(cd -- "$(dirname -- "${BASH_SOURCE[0]}")/.." && pwd -P)
. "$root/bench/common.sh"
rounds=${1:-2}
bin="$root/build/dev/bin"
cores=$(nproc)
work=$(mktemp -d)
trap 'rm -rf -- "$work"' EXIT
export TMPDIR="$work"

"$root/scripts/build" dev
cmake --build "$root/build/dev" --target image_bench >&2

echo "making 200 JPEGs of 1 to 4 megapixel" >&2
mkdir "$work/sources" "$work/bare" "$work/ours"
megapixel=0
for size in 1152x864 1632x1224 2016x1512 2304x1728; do
    megapixel=$((megapixel + 1))
    ffmpeg -v error -f lavfi -i "testsrc2=s=$size:r=1,noise=alls=8:allf=t" -frames:v 50 -q:v 2 \
        "$work/sources/%02d-$megapixel.jpg" </dev/null
done

encode_bare() { # SOURCE...: names in the folder of the sources
    printf '%s\0' "$@" | (cd "$work/sources" &&
        xargs -0 -P "$cores" -I{} "$bin/cJpeg" -outfile "$work/bare/{}" -quality 75 -baseline {})
}

# They take turns after every 20 images, and in who begins, so that a noisy machine is noisy for both.
echo "tasks side by side against xargs -P $cores, quality 75, $rounds rounds" >&2
cd "$work/sources"
turn=0
for ((round = 0; round < rounds; ++round)); do
    for fives in 0[1-5] 0[6-9] 1[0-5] 1[6-9] 2[0-5] 2[6-9] 3[0-5] 3[6-9] 4[0-5] 4[6-9] 50; do
        # shellcheck disable=SC2206  # a pattern
        part=($fives-*.jpg)
        turn=$((turn + 1))
        ((turn % 2)) || ours=$("$bin/image_bench" batch 75 "$cores" "$work/ours" "${part[@]}")
        bare=$(seconds encode_bare "${part[@]}")
        ((turn % 2)) && ours=$("$bin/image_bench" batch 75 "$cores" "$work/ours" "${part[@]}")
        awk -v o="$ours" -v b="$bare" 'BEGIN { printf "%s %s %.4f\n", o, b, o / b }' |
            tee -a "$work/turns" >&2
    done
done
diff -rq "$work/bare" "$work/ours" >&2 || echo "note: results differ" >&2
awk -v n="$rounds" -v m="$(cut -d' ' -f3 "$work/turns" | median)" '{ o += $1; b += $2 } END {
    printf "200 JPEGs, tasks / xargs, wall time:         %.3f, median of the turns %.3f  (at most 1.05; %.1f s, %.1f s)\n",
           o / b, m, o / n, b / n }' "$work/turns"

photo="$work/sources/01-2.jpg"
for ((i = 0; i < 15; ++i)); do
    seconds "$bin/cJpeg" -outfile "$work/one.jpg" -quality 75 -baseline "$photo" >>"$work/one-bare"
    seconds "$bin/vxcompress" -f --quality 75 "$photo" "$work/one.jpg" >>"$work/one-ours"
done
awk -v o="$(median <"$work/one-ours")" -v b="$(median <"$work/one-bare")" 'BEGIN {
    printf "one photo of 2 MP, vxcompress - cJpeg:       %.1f ms  (%.1f ms, %.1f ms)\n",
           (o - b) * 1000, o * 1000, b * 1000 }'

ffmpeg -v error -f lavfi -i testsrc2=s=64x64 -frames:v 1 "$work/small.jpg" </dev/null
for n in 10 1000; do
    printf 'peak memory of a host with %4d queued jobs:  %.1f MiB\n' "$n" \
        "$(awk -v k="$("$bin/image_bench" memory "$n" "$work/small.jpg")" 'BEGIN { print k / 1024 }')"
done
