# shellcheck shell=bash
# What the benchmarks share; sourced by them.

seconds() { # COMMAND...: its wall time
    local begin end
    begin=$(date +%s.%N)
    "$@" >/dev/null 2>&1
    end=$(date +%s.%N)
    awk -v b="$begin" -v e="$end" 'BEGIN { printf "%.4f\n", e - b }'
}

median() { sort -g | awk '{ v[NR] = $1 } END { print v[int((NR + 1) / 2)] }'; }

bytes_in() { find "$1" -type f -printf '%s\n' | awk '{ s += $1 } END { print s + 0 }'; } # FOLDER

row() { printf '| %s ' "$@" && echo '|'; } # CELL...: of docs/benchmarks.md

over() { awk -v a="$1" -v b="$2" -v f="${3:-%.3f}" 'BEGIN { printf f, a / b }'; } # A B [FORMAT]: A/B

# FOLDER OTHER: how alike the results of one name are to their sources, 0 to 1, on average over at most 20.
mean_ssim() {
    local name source
    find "$2" -type f -printf '%f\n' | sort |
        awk '{ name[NR] = $0 } END { n = NR < 20 ? NR : 20; for (i = 0; i < n; ++i) print name[int(i * NR / n) + 1] }' | while IFS= read -r name; do
        source=$(find "$1" -name "${name%.*}.*" | head -n 1)
        ffmpeg -nostdin -hide_banner -i "$2/$name" -i "$source" -lavfi ssim -f null - 2>&1 |
            sed -n 's/.*All:\([0-9.]*\).*/\1/p'
    done | awk '{ s += $1 } END { if (NR) printf "%.4f", s / NR }'
}

# COUNT FOLDER SUFFIX: photos of 1 to 4 megapixels with detail, gradients and grain, each another.
make_photos() {
    local i=0 size
    for size in 1152x864 1632x1224 2016x1512 2304x1728; do
        i=$((i + 1))
        ffmpeg -v error -nostdin -f lavfi -i "mandelbrot=s=$size:r=5:maxiter=200:end_scale=0.05,noise=alls=8:allf=t" \
            -frames:v "$((($1 + 4 - i) / 4))" -q:v 2 "$2/%03d-$i.$3"
    done
}
