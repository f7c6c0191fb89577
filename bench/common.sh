# What the benchmarks share; sourced by them.

seconds() { # COMMAND...: its wall time
    local begin end
    begin=$(date +%s.%N)
    "$@" >/dev/null 2>&1
    end=$(date +%s.%N)
    awk -v b="$begin" -v e="$end" 'BEGIN { printf "%.4f\n", e - b }'
}

median() { sort -g | awk '{ v[NR] = $1 } END { print v[int((NR + 1) / 2)] }'; }
