#!/usr/bin/env bash
# Many photos in one call of vxcompress, against the bare encoders under xargs and against programs for the same job.
# Prints rows of docs/benchmarks.md.
#
#   bench/photos.sh [COUNT]      photos (500)
set -euo pipefail

root=$(cd -- "$(dirname -- "${BASH_SOURCE[0]}")/.." && pwd -P)
. "$root/bench/common.sh"
count=${1:-500}
"$root/scripts/setup" --bench
"$root/scripts/build" release
bin="$root/build/release/bin"
cores=$(nproc)
work=$(mktemp -d)
trap 'rm -rf -- "$work"' EXIT
export TMPDIR="$work"

mkdir "$work/jpg" "$work/some" "$work/png"
make_photos "$count" "$work/jpg" jpg
# A WebP takes some times as long, a PNG ten times.
find "$work/jpg" -type f | sort | head -n "$(((count * 2 + 4) / 5))" | xargs cp -t "$work/some"
make_photos "$(((count + 9) / 10))" "$work/png" png

ours() { # SUFFIX SOURCES
    rm -rf -- "$work/ours" && "$bin/vxcompress" --quiet -r "$2" -o "$work/ours" --format "$1"
}
bare() { # SUFFIX SOURCES
    rm -rf -- "$work/bare" && mkdir "$work/bare" && cd "$2"
    local each=(xargs -0 -P "$cores" -I{})
    case $1 in
        jpg) find . -type f -printf '%f\0' | "${each[@]}" "$bin/cJpeg" -outfile "$work/bare/{}" -quality 75 -baseline {} ;;
        png) find . -type f -printf '%f\0' | "${each[@]}" "$bin/pngquant" --quality 0-80 --force {} -o "$work/bare/{}" ;;
        webp) find . -type f -printf '%f\0' |
            "${each[@]}" "$bin/ffmpeg" -v error -nostdin -i {} -c:v libwebp -quality 75 "$work/bare/{}.webp" ;;
    esac
}

# They take turns, and in who begins, so that a noisy machine is noisy for both.
against_bare() { # SUFFIX SOURCES
    local turn first second
    for turn in 1 2 3; do
        first=ours second=bare
        ((turn % 2)) || { first=bare second=ours; }
        seconds "$first" "$1" "$2" >>"$work/$first-$1"
        seconds "$second" "$1" "$2" >>"$work/$second-$1"
    done
    local our their
    our=$(median <"$work/ours-$1") their=$(median <"$work/bare-$1")
    row "$(find "$2" -type f | wc -l) photos to $1, vxcompress / xargs -P $cores over the encoder" \
        "$our s" "$their s" "$(over "$our" "$their")" "at most 1.05"
}
against_bare png "$work/png"
against_bare webp "$work/some"
against_bare jpg "$work/jpg"

peer() { # NAME COMMAND...: with the results in $work/peer
    local name=$1 their
    shift
    rm -rf -- "$work/peer" && mkdir "$work/peer"
    their=$(seconds "$@")
    row "the same to jpg at 75, vxcompress / $name: time" "$our s" "$their s" "$(over "$our" "$their")" ""
    row "— bytes" "$(bytes_in "$work/ours")" "$(bytes_in "$work/peer")" \
        "$(over "$(bytes_in "$work/ours")" "$(bytes_in "$work/peer")")" ""
    row "— SSIM to the source" "$(mean_ssim "$work/jpg" "$work/ours")" "$(mean_ssim "$work/jpg" "$work/peer")" "" ""
}
our=$(seconds ours jpg "$work/jpg")
with_jpegoptim() { find "$work/jpg" -type f -print0 | xargs -0 -P "$cores" -n 10 jpegoptim -q -m75 -d "$work/peer"; }
with_mogrify() { find "$work/jpg" -type f -print0 | xargs -0 -P "$cores" -n 10 mogrify -quality 75 -path "$work/peer"; }
peer "jpegoptim -m75 (xargs -P $cores)" with_jpegoptim
peer "mogrify -quality 75 (xargs -P $cores)" with_mogrify

# One call for each photo would load FFmpeg's libraries each time.
mkdir "$work/forty"
find "$work/jpg" -type f | sort | head -n 40 | xargs cp -t "$work/forty"
rm -f -- "$work/ours-jpg" "$work/bare-jpg"
against_bare jpg "$work/forty"
