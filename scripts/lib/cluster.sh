# shellcheck shell=bash
# What the trials of clusters on one machine share; sourced by them. Sets root, work, bin and home, and starts nothing.

root=$(cd -- "$(dirname -- "${BASH_SOURCE[0]}")/../.." && pwd -P)
say() { printf '%s: %s\n' "${0##*/}" "$*" >&2; }
fail() { say "$*"; exit 1; }

[[ $EUID -eq 0 ]] || fail "takes root, for namespaces of its own"
preset=${1:-release}
"$root/scripts/build" "$preset"
bin="$root/build/$preset/bin"
# shellcheck disable=SC2034  # for who sources this
home=$(getent passwd root | cut -d: -f6)
work=$(mktemp -d)

# Everything that is started is ended by its number, whatever happens.
started=()
finish() {
    local status=$? pid
    for pid in "${started[@]}"; do
        kill -9 "$pid" 2>/dev/null || true
    done
    wait 2>/dev/null || true
    if ((status)); then
        say "failed; what was logged last:"
        find "$work" -name '*.log' -size +0 -printf '%p\n' -exec tail -n 15 {} \; >&2
    fi
    rm -rf -- "$work"
    exit "$status"
}
trap finish EXIT
trap 'exit 130' INT TERM

forget() { # PID: it has ended
    local pid kept=()
    for pid in "${started[@]}"; do
        [[ $pid == "$1" ]] || kept+=("$pid")
    done
    started=("${kept[@]}")
}

wait_until() { # SECONDS WHAT COMMAND...
    local end=$((SECONDS + $1)) what=$2
    shift 2
    until "$@" >/dev/null 2>&1; do
        ((SECONDS < end)) || fail "not in time: $what"
        sleep 0.2
    done
}

free_ports() { # COUNT: ports of the loopback that nobody has
    python3 - "$1" <<'PYTHON'
import socket, sys
sockets = [socket.socket() for _ in range(int(sys.argv[1]))]
for one in sockets:
    one.bind(("127.0.0.1", 0))
print(*(one.getsockname()[1] for one in sockets))
PYTHON
}

# Sixty files in $1, and what one run on one machine makes of them in $2: photos, drawings, videos.
make_archive() {
    local make=("$bin/ffmpeg" -v error -nostdin -f lavfi) i
    mkdir -p -- "$1/photos" "$1/odd names" "$1/videos"
    "${make[@]}" -i "mandelbrot=s=1280x960,noise=alls=8:allf=t" -frames:v 40 -q:v 2 "$1/photos/%02d.jpg"
    "${make[@]}" -i "mandelbrot=s=1280x960,noise=alls=8:allf=t" -frames:v 8 -q:v 2 "$1/odd names/é (%02d) & more.jpg"
    "${make[@]}" -i "mandelbrot=s=640x480" -frames:v 8 "$1/odd names/%02d.png"
    for i in 1 2 3 4; do
        "${make[@]}" -i "testsrc2=s=320x240:r=25:d=4" -vf "noise=alls=$((i * 9)):allf=t" -c:v libx264 -preset ultrafast \
            -pix_fmt yuv420p "$1/videos/$i.mp4"
    done
    [[ $(files_in "$1") -eq 60 ]] || fail "there are not sixty files"
    "$bin/vxcompress" --quiet -r "$1" -o "$2"
}

files_in() { find "$1" -name '.*' -prune -o -type f -printf . 2>/dev/null | wc -c; } # FOLDER: without what is hidden
has_files() { (($(files_in "$1") >= $2)); }                                         # FOLDER COUNT

# FOLDER WANTED: every result is there, whole, once, and nothing else.
check_results() {
    diff -r --exclude='.*' -- "$2" "$1" >&2 || fail "the results are not those of one run on one machine"
}

# The shell commands below a line <!-- NAME --> of the page, so that what it says is what is tried.
command_of() { # NAME
    awk -v mark="<!-- $1 -->" '$0 == mark { found = 1 } found && /^```$/ { exit } inside { print }
        found && /^```sh$/ { inside = 1 }' "$root/docs/many-machines.md"
}
