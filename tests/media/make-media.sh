#!/bin/sh
# Makes every source of the tests with ffmpeg's own generators: make-media.sh OUTDIR
#
# Unless said otherwise a source has 4 s of 320x240 at 25 images a second in H.264, and one AAC sound.
# Does nothing when OUTDIR is up to date with this folder and with ffmpeg. Several may run at once on one OUTDIR:
# one makes the files, the others wait; a file appears whole.
# shellcheck disable=SC2086 # the codec texts are lists of words
set -eu

mkdir -p "$1"
out=$(CDPATH='' cd -- "$1" && pwd)
exec 9>"$out/.lock"
flock 9
stamp=$({ cat "$0"; ffmpeg -version | head -n 1; } | sha256sum)
[ "$(cat "$out/.stamp" 2>/dev/null)" != "$stamp" ] || exit 0
work=$out/.making
rm -rf "$work"
mkdir "$work"
cd "$work"

run() { ffmpeg -v error -nostdin -y "$@"; }
# image SIZE SECONDS and sound SECONDS [FREQUENCY] are generators for -i.
image() { printf 'testsrc2=s=%s:r=25:d=%s' "$1" "$2"; }
sound() { printf 'sine=%s:r=48000:d=%s' "${2:-440}" "$1"; }
h264='-c:v libx264 -preset ultrafast -pix_fmt yuv420p'
aac='-c:a aac -b:a 96k'

# The video that many others are made of.
run -f lavfi -i "$(image 320x240 4)" -f lavfi -i "$(sound 4)" $h264 $aac video.mp4
video=video.mp4

# The index in front, behind, in pieces; the display matrix turned by 90 degrees clockwise
run -i $video -c copy mp4-moov-last.mp4
run -i $video -c copy -movflags +faststart mp4-moov-first.mp4
run -i $video -c copy -movflags +frag_keyframe+empty_moov mp4-fragmented.mp4
run -display_rotation 270 -i $video -c copy rotate-90.mp4 2>&- || # before FFmpeg 6:
    run -i $video -c copy -metadata:s:v rotate=90 rotate-90.mp4

# A cover after and before the video, which is shorter than its sound; with sound alone
run -f lavfi -i "$(image 128x128 0.04)" -frames:v 1 cover.png
run -i $video -f lavfi -i "$(sound 6)" -i cover.png -map 0:v -map 1 -map 2 -c copy $aac \
    -disposition:v:1 attached_pic cover-after.mp4
# Its box of user data, with the cover, moves in front of the tracks; the media data lies before both.
python3 - <<'PYTHON'
data = open("cover-after.mp4", "rb").read()
track, cover = data.rindex(b"moov"), data.rindex(b"udta") - 4
track = data.index(b"trak", track) - 4
end = cover + int.from_bytes(data[cover:cover + 4], "big")
open("cover-before.mp4", "wb").write(data[:track] + data[cover:end] + data[track:cover] + data[end:])
PYTHON
run -f lavfi -i "$(sound 4)" -i cover.png -map 0 -map 1 -c:a libmp3lame -b:a 128k -c:v copy \
    -id3v2_version 3 -disposition:v:0 attached_pic cover.mp3
rm cover.png

# AAC with a BPS tag beside Vorbis; subtitles: one SubRip, one PGS, and both beside two sounds
printf '1\n00:00:00,500 --> 00:00:01,500\nOne line\n\n2\n00:00:02,000 --> 00:00:03,500\nTwo\nlines\n' >text.srt
run -i $video -f lavfi -i "$(sound 4 880)" -map 0 -map 1 -c copy -c:a:1 libvorbis \
    -metadata:s:a:0 BPS=96123 -metadata:s:a:0 language=eng -metadata:s:a:1 language=deu two-audio.mkv
run -i $video -i text.srt -map 0 -map 1 -c copy subs-one.mkv
LC_ALL=C sed 's|S_TEXT/UTF8|S_HDMV/PGS\x00|' subs-one.mkv >subs-bitmap.mkv
run -i two-audio.mkv -i text.srt -i text.srt -map 0 -map 1 -map 2 -c copy subs-mixed.mkv
LC_ALL=C sed -i '0,/S_TEXT\/UTF8/s|S_TEXT/UTF8|S_HDMV/PGS\x00|' subs-mixed.mkv
rm text.srt

# Windows Media: three images beside 5 s of sound, and a video
run -f lavfi -i "$(image 320x240 0.12)" -f lavfi -i "$(sound 5)" -c:v wmv2 -c:a wmav2 -f asf wmv-3.wmv
run -f lavfi -i "$(image 320x240 4)" -f lavfi -i "$(sound 4)" -c:v wmv2 -c:a wmav2 -f asf wmv-many.wmv

# Other containers; packets without a presentation timestamp (images between others); no known duration
run -i $video -c copy ts.ts
run -i $video -c copy flv.flv
run -f lavfi -i "$(image 320x240 4)" -f lavfi -i "$(sound 4)" -c:v mpeg4 -bf 2 -c:a libmp3lame -b:a 128k avi.avi
run -i $video -an -c copy -f h264 raw.h264
run -i $video -c copy -f matroska - | cat >live.mkv

# A program stream of constant bitrate with two sounds; it begins late. Two joined: the timestamps fall back.
vob() {
    run -f lavfi -i "testsrc2=s=320x240:r=25:d=$1,noise=alls=40:allf=t" -f lavfi -i "$(sound "$1")" \
        -f lavfi -i "$(sound "$1" 880)" -map 0 -map 1 -map 2 -c:v mpeg2video -b:v 1M -minrate 1M -maxrate 1M \
        -bufsize 200k -g 12 -c:a ac3 -b:a 224k -output_ts_offset "$3" -f vob "$2"
}
vob 6 vob.vob 100
vob 8 vob-second.vob 0
cat vob.vob vob-second.vob >vob-chain.vob

# Sizes: large; odd in both directions (4:4:4); wide pixels. One kind of stream. Images
run -f lavfi -i "$(image 1920x1080 3)" -f lavfi -i "$(sound 3)" $h264 $aac hd-1080.mp4
run -f lavfi -i "$(image 482x720 3),format=yuv444p,crop=481:719" -f lavfi -i "$(sound 3)" \
    $h264 -pix_fmt yuv444p $aac odd-481x719.mp4
run -f lavfi -i "$(image 1440x1080 3)" -vf setsar=4/3 $h264 sar-4-3.mp4
run -i $video -an -c copy video-only.mp4
run -i $video -vn -c copy sound-only.m4a
run -f lavfi -i "testsrc2=s=320x240,noise=alls=20" -frames:v 1 photo.png
run -i photo.png -q:v 1 photo.jpg
run -i photo.png -q:v 31 photo-poor.jpg
for kind in jpg png gif webp bmp; do
    run -f lavfi -i testsrc2=s=64x48 -frames:v 1 "a.$kind"
done
run -f lavfi -i color=red@0.5:s=64x48,format=rgba -frames:v 1 alpha.webp

# Damaged ones: the first opens and ends early, the others don't open
head -c 200000 mp4-moov-first.mp4 >truncated-moov-first.mp4
head -c 200000 mp4-moov-last.mp4 >truncated.mp4
LC_ALL=C tr '\000-\377' '\200-\377\000-\177' <truncated.mp4 >garbage.mp4
: >empty.mp4

rm $video
mv -f ./* "$out/"
cd "$out"
rmdir "$work"
printf '%s\n' "$stamp" >.stamp
