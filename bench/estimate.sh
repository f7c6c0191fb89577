#!/usr/bin/env bash
# How near the estimate of a video's size comes: ten made videos of easy and hard stretches, estimated by samples and then
# encoded whole. Prints a line a video, how many truths lie inside their range, and the median width of the range.
# About ten minutes on two cores.
#
#   bench/estimate.sh [QUALITY|PERCENT%]      as --quality and --size take them (28)
set -euo pipefail

root=$(cd -- "$(dirname -- "${BASH_SOURCE[0]}")/.." && pwd -P)
. "$root/bench/common.sh"
quality=${1:-28}
bin="$root/build/dev/bin"
# The videos are the same in every run: with VXC_BENCH_VIDEOS they are kept there for the next.
work=$(mktemp -d)
trap 'rm -rf -- "$work"' EXIT
videos=${VXC_BENCH_VIDEOS:-$work}
mkdir -p "$videos"
export TMPDIR="$work"

cmake --build "$root/build/dev" --target search_bench >&2

# KIND:SECONDS stretches. The last column is how the video itself is encoded: by quality, so that its own bytes tell
# what is hard, or at a constant bitrate, so that they tell nothing.
table='
1 quality  still:20 test:30 noise:15 still:40 life:25
2 quality  mandel:60 gradient:60 still:30
3 quality  noise:10 still:110 noise:10 still:20
4 quality  test:15 gradient:15 life:15 mandel:15 test:15 gradient:15 life:15 mandel:15 test:15 still:15 noise:15 life:15
5 bitrate  still:45 test:45 mandel:45 life:45
6 bitrate  life:80 gradient:100
7 bitrate  test:70 still:70 test:70 still:30
8 quality  gradient:240
9 quality  life:40 test:100 life:40 mandel:40
10 bitrate mandel:30 noise:5 mandel:60 gradient:45 noise:5 test:30
'

stretch() { # KIND SECONDS SEED: an input for ffmpeg's lavfi
    local size=s=320x240:r=25
    case $1 in
    still) echo "testsrc2=$size:d=0.04,tpad=stop_mode=clone:stop_duration=$2" ;;
    test) echo "testsrc2=$size:d=$2" ;;
    noise) echo "color=gray:$size:d=$2,noise=alls=40:allf=t:all_seed=$3" ;;
    mandel) echo "mandelbrot=$size:start_scale=2:end_scale=0.05:end_pts=1000" ;;
    life) echo "life=$size:seed=$3:ratio=0.3:mold=20:death_color=#406080:life_color=#f0e0a0" ;;
    gradient) echo "gradients=$size:seed=$3:nb_colors=6:speed=0.02" ;;
    esac
}

make_video() { # NUMBER RATE STRETCH...
    local inputs=() chain="" item count=0 total=0
    for item in "${@:3}"; do
        inputs+=(-f lavfi -t "${item#*:}" -i "$(stretch "${item%:*}" "${item#*:}" "$((7 * $1 + count))")")
        chain+="[$count:v]format=yuv420p,setsar=1[v$count];"
        total=$((total + ${item#*:}))
        count=$((count + 1))
    done
    local joints
    joints=$(printf '[v%s]' $(seq 0 $((count - 1))))
    local rate=(-crf 18)
    [[ $2 == bitrate ]] && rate=(-b:v 1500k -minrate 1500k -maxrate 1500k -bufsize 1500k -x264opts nal-hrd=cbr)
    ffmpeg -nostdin -v error -y "${inputs[@]}" -f lavfi -i "sine=440:r=44100:d=$total" \
        -filter_complex "$chain${joints}concat=n=${count}[v]" -map '[v]' -map "$count:a" \
        -c:v libx264 -preset ultrafast "${rate[@]}" -c:a aac -b:a 96k "$videos/$1.part.mp4"
    mv -- "$videos/$1.part.mp4" "$videos/$1.mp4"
}

while read -r number rate stretches; do
    [[ -n $number ]] || continue
    # shellcheck disable=SC2086
    [[ -e $videos/$number.mp4 ]] || make_video "$number" "$rate" $stretches
    read -r low high samples < <("$bin/search_bench" estimate "$videos/$number.mp4" mp4 "$quality")
    truth=$("$bin/search_bench" encode "$videos/$number.mp4" mp4 "$quality")
    awk -v n="$number" -v l="$low" -v h="$high" -v t="$truth" -v s="$samples" 'BEGIN {
        middle = (l + h) / 2
        printf "%s %d %.3f %d..%d, %d samples, truth %d\n", n, l <= t && t <= h, (h - l) / middle, l, h, s, t }' |
        tee -a "$work/videos"
done <<<"$table"

echo "truths inside the range: $(awk '{ n += $2 } END { print n " of " NR }' "$work/videos")"
echo "width of the range, as a share of its middle: $(cut -d' ' -f3 "$work/videos" | median)"
