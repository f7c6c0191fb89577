#!/usr/bin/env bash
# Writes docs/benchmarks.md by one run of all that compares vxcompress; its parts can run one by one, too. On a quiet machine, about half an hour.
#
#   bench/all.sh [--small]      --small: a trial of the scripts in a minute or two; writes to standard output
set -euo pipefail

root=$(cd -- "$(dirname -- "${BASH_SOURCE[0]}")/.." && pwd -P)
page="$root/docs/benchmarks.md"
photos=(500) videos=(30) inputs=(10 10000 100000)
if [[ ${1:-} == --small ]]; then
    page=/dev/stdout photos=(8) videos=(2 320x180) inputs=(10 1000)
fi
draft=$(mktemp)
trap 'rm -f -- "$draft"' EXIT
{
    cat <<INTRO
# How fast it is

Written by the parts of \`bench/all.sh\`, one after the other, on $(nproc) cores ($(sed -n 's/^model name.*: //p' /proc/cpuinfo | head -n 1)), with
$(ffmpeg -version | sed -n '1s/ Copyright.*//p'). The photos and videos are made by ffmpeg's generators, with grain. Times are
wall times: medians of three runs that take turns, for videos means of two.

| what | vxcompress | the other | ratio | wanted |
|---|---|---|---|---|
INTRO
    "$root/bench/photos.sh" "${photos[@]}"
    "$root/bench/videos.sh" "${videos[@]}"
    "$root/bench/startup.sh" "${inputs[@]}"
} >"$draft"
if [[ -f $page || ! -e $page ]]; then
    install -m 644 -- "$draft" "$page"
else
    cat -- "$draft" >"$page"
fi
