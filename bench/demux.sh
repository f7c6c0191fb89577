#!/usr/bin/env bash
# Measures the demuxer and prints ratios. A few minutes; needs 2 GiB in the build folder, which it gives back.
#
#   bench/demux.sh [ROUNDS]      how often each measurement takes turns with its peers (5)
set -euo pipefail

root=$(cd -- "$(dirname -- "${BASH_SOURCE[0]}")/.." && pwd -P)
rounds=${1:-5}
bench="$root/build/dev/bin/demux_bench"

"$root/scripts/build" dev
cmake --build "$root/build/dev" --target demux_bench >&2
work=$(mktemp -d "$root/build/demux-bench-XXXXXX")
trap 'rm -rf -- "$work"' EXIT

echo "making the sources" >&2
"$root/tests/media/make-media.sh" "$root/build/media"
cd -- "$root/build/media"
"$bench" describe "$((rounds * 4))" hd-1080.mp4 mp4-fragmented.mp4 cover-before.mp4 subs-mixed.mkv cover.mp3 \
    wmv-many.wmv ts.ts flv.flv avi.avi vob.vob

make_part() { # SECONDS FILE: a program stream of about 1.1 MiB a second
    nice ffmpeg -v error -nostdin -y -f lavfi -i "testsrc2=s=720x576:r=25:d=$1,noise=alls=40:allf=t" \
        -f lavfi -i "sine=440:r=48000:d=$1" -f lavfi -i "sine=880:r=48000:d=$1" -map 0 -map 1 -map 2 \
        -c:v mpeg2video -b:v 8.5M -minrate 8.5M -maxrate 8.5M -bufsize 1800k -g 12 -c:a ac3 -b:a 224k -f vob "$2"
}
make_chain() { # PART FILE: the part again and again, up to 1 GiB
    local size=0 part
    part=$(stat -c %s "$1")
    while ((size < 1 << 30)); do
        cat -- "$1"
        ((size += part))
    done >"$2"
}
make_part 1.9 "$work/short.vob"
make_part 115 "$work/long.vob"
echo "a chain of 1 GiB in few and in many chapters" >&2
for part in long short; do
    make_chain "$work/$part.vob" "$work/chain.vob"
    "$bench" chain "$rounds" "$work/chain.vob"
done
