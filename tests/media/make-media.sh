#!/bin/sh
# Makes every source of the tests with ffmpeg's own generators: make-media.sh OUTDIR
#
# Does nothing when OUTDIR is up to date with this folder and with ffmpeg. Several may run at once on one OUTDIR:
# one makes the files, the others wait; a file appears whole.
# shellcheck disable=SC2086 # the codec texts are lists of words
set -eu

here=$(CDPATH='' cd -- "$(dirname -- "$0")" && pwd)
mkdir -p "$1"
out=$(CDPATH='' cd -- "$1" && pwd)
exec 9>"$out/.lock"
flock 9
stamp=$({ cat "$here/make-media.sh" "$here/media_bytes.py"; ffmpeg -version | head -n 1; } | sha256sum)
[ "$(cat "$out/.stamp" 2>/dev/null)" != "$stamp" ] || exit 0
work=$out/.making
rm -rf "$work"
mkdir "$work"
cd "$work"

run() { ffmpeg -v error -nostdin -y "$@"; }
bytes() { python3 "$here/media_bytes.py" "$@"; }
# picture SIZE SECONDS and sound SECONDS [FREQUENCY] are generators for -i.
picture() { printf 'testsrc2=s=%s:r=25:d=%s' "$1" "$2"; }
sound() { printf 'sine=%s:r=48000:d=%s' "${2:-440}" "$1"; }
h264='-c:v libx264 -preset ultrafast -pix_fmt yuv420p'
aac='-c:a aac -b:a 96k'

# The film that many others are made of: 4 s of 320x240 with sound.
run -f lavfi -i "$(picture 320x240 4)" -f lavfi -i "$(sound 4)" $h264 $aac film.mp4
film=film.mp4

# MP4 layouts
run -i $film -c copy mp4-moov-last.mp4
run -i $film -c copy -movflags +faststart mp4-moov-first.mp4
run -i $film -c copy -movflags +frag_keyframe+empty_moov mp4-fragmented.mp4
bytes turn 1 0 $film rotate-0.mp4
bytes turn 0 1 $film rotate-90.mp4
bytes turn -1 0 $film rotate-180.mp4
bytes turn 0 -1 $film rotate-270.mp4
bytes turn 0 0 $film rotate-zeros.mp4

# Covers
run -f lavfi -i "$(picture 128x128 0.04)" -frames:v 1 cover.png
run -i $film -i cover.png -map 0 -map 1 -c copy -disposition:v:1 attached_pic cover-after.mp4
bytes udta-first cover-after.mp4 cover-before.mp4
run -f lavfi -i "$(sound 4)" -i cover.png -map 0 -map 1 -c:a libmp3lame -b:a 128k -c:v copy \
    -id3v2_version 3 -disposition:v:0 attached_pic cover.mp3
rm cover.png

# Matroska: tracks and subtitles
printf '1\n00:00:00,500 --> 00:00:01,500\nOne line\n\n2\n00:00:02,000 --> 00:00:03,500\nTwo\nlines\n' >text.srt
bytes pgs bitmap.sup
run -i $film -f lavfi -i "$(sound 4 880)" -map 0 -map 1 -c copy -c:a:1 libvorbis \
    -metadata:s:a:0 BPS=96123 -metadata:s:a:0 language=eng -metadata:s:a:1 language=deu two-audio.mkv
run -i two-audio.mkv -i text.srt -map 0 -map 1 -c copy subs-text.mkv
run -i $film -i bitmap.sup -map 0 -map 1 -c copy subs-bitmap.mkv
run -i two-audio.mkv -i text.srt -i bitmap.sup -map 0 -map 1 -map 2 -c copy subs-mixed.mkv
rm text.srt bitmap.sup

# Windows Media: as many pictures as the name says beside 5 s of sound
for pictures in 1 2 3; do
    run -f lavfi -i "$(picture 320x240 "$(printf '0.%02d' $((4 * pictures)))")" -f lavfi -i "$(sound 5)" \
        -c:v wmv2 -c:a wmav2 -f asf wmv-$pictures.wmv
done
run -f lavfi -i "$(picture 320x240 4)" -f lavfi -i "$(sound 4)" -c:v wmv2 -c:a wmav2 -f asf wmv-many.wmv
LC_ALL=C sed s/WMV2/WMV3/g wmv-many.wmv >wmv3-tag.asf

# Other containers, right and wrong suffixes
run -i $film -c copy ts.ts
cp ts.ts ts-named.mp4
cp $film mp4-named.ts
run -i $film -c copy flv.flv
# Its pictures between others have no presentation timestamp.
run -f lavfi -i "$(picture 320x240 4)" -f lavfi -i "$(sound 4)" -c:v mpeg4 -bf 2 -c:a libmp3lame -b:a 128k avi.avi
run -i $film -an -c copy -f h264 raw.h264
run -i $film -c copy -f matroska - | cat >live.mkv

# A program stream of constant bitrate, and two of them joined: the timestamps fall back in every stream.
vob() {
    run -f lavfi -i "testsrc2=s=320x240:r=25:d=$1,noise=alls=40:allf=t" -f lavfi -i "$(sound "$1")" \
        -f lavfi -i "$(sound "$1" 880)" -map 0 -map 1 -map 2 -c:v mpeg2video -b:v 1M -minrate 1M -maxrate 1M \
        -bufsize 200k -g 12 -c:a ac3 -b:a 224k -f vob "$2"
}
vob 6 vob.vob
vob 8 vob-second.vob
cat vob.vob vob-second.vob >vob-chain.vob

# Pictures
run -f lavfi -i "$(picture 1920x1080 3)" -f lavfi -i "$(sound 3)" $h264 $aac hd-1080.mp4
run -f lavfi -i "$(picture 482x720 3),format=yuv444p,crop=481:719" -f lavfi -i "$(sound 3)" \
    $h264 -pix_fmt yuv444p $aac odd-481x719.mp4
run -f lavfi -i "$(picture 1440x1080 3)" -vf setsar=4/3 $h264 sar-4-3.mp4
run -f lavfi -i "$(picture 720x480 3)" -vf setsar=32/27 $h264 sar-32-27.mp4
run -f lavfi -i "$(picture 718x478 3)" -vf setsar=10/11 $h264 sar-10-11.mp4
run -i $film -an -c copy video-only.mp4
run -i $film -vn -c copy sound-only.m4a

# Damaged ones: the first opens and ends early, the others don't open
head -c 200000 mp4-moov-first.mp4 >truncated-moov-first.mp4
head -c 200000 mp4-moov-last.mp4 >truncated.mp4
bytes noise 200000 garbage.mp4
: >empty.mp4

rm $film
mv -f ./* "$out/"
cd "$out"
rmdir "$work"
printf '%s\n' "$stamp" >.stamp
