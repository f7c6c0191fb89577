#!/usr/bin/env bash
# Run by a user in the home folder: every kind of job, the doctor, the manual, a host of one's own.
generate() { ffmpeg -v error -nostdin -f lavfi -i "testsrc2=s=640x480:r=25:d=2,noise=alls=20:allf=t" "$@"; }
generate -frames:v 1 -q:v 1 photo.jpg
generate -frames:v 1 drawing.png
generate -q:v 1 -c:v mpeg4 video.mkv
for output in smaller.jpg smaller.png smaller.webp smaller.mp4; do
    case $output in
        *.png | *.webp) input=drawing.png ;;
        *.jpg) input=photo.jpg ;;
        *) input=video.mkv ;;
    esac
    vxcompress "$input" "$output"
    (($(stat -c %s "$output") < $(stat -c %s "$input")))
    ffmpeg -v error -nostdin -xerror -i "$output" -f null -
done
vxcompress doctor
vxcompress doctor --json | grep -q '"status":0'

[[ $(man -w vxcompress) == */man1/vxcompress.1.gz ]]
man vxcompress 2>&1 | col -b >page
grep -q 'vxcompress - make image and video files smaller' page

cmake -S /trial/examples -B build -DCMAKE_INSTALL_PREFIX="$PWD/host" >log
cmake --build build >>log
cmake --install build >>log
# The place that the example looks for the library in, and its encoders.
ln -s /usr/lib/*-linux-gnu host/lib
ln -s /usr/lib/vxcompressor/cJpeg host/bin/
host/bin/embed photo.jpg embedded.jpg
cmp smaller.jpg embedded.jpg
[[ -z $(ls -d /tmp/vxcompress* .vxcompress* 2>/dev/null) ]]
