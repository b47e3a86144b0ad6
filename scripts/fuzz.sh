#!/usr/bin/env bash
# Runs every fuzz target of a build for a while, over the seeds in fuzz/corpus/NAME.
#
#   scripts/fuzz.sh FOLDER SECONDS      FOLDER, seen from the root, holds the programs NAME_fuzz
#
# MARVO_FUZZ_SEED (a number) makes a run repeat another one; without it each goes its own way.
# Inputs found on the way are kept in FOLDER/found/NAME and serve the next run; an input that fails is kept in
# FOLDER/failures and named. Status 1 when any target failed, has no seeds, or when there is no target.
set -euo pipefail
cd "$(dirname "${BASH_SOURCE[0]}")/.."
folder=$1
seconds=$2
mkdir -p "$folder/failures" "$folder/logs"

fuzz_one() {
    local program=$1 name seeds log
    name=$(basename "$program" _fuzz)
    seeds=fuzz/corpus/$name
    log=$folder/logs/$name.log
    if [ -z "$(find "$seeds" -type f -print -quit 2>/dev/null)" ]; then
        printf '%s: no seeds in %s\n' "$name" "$seeds" >&2
        return 1
    fi
    mkdir -p "$folder/found/$name"
    # The weighing of inputs by rare features takes half of the time where a run touches much code.
    if ! "$program" -entropic=0 -seed="${MARVO_FUZZ_SEED:-0}" -max_total_time="$seconds" -timeout=10 -rss_limit_mb=2048 -print_final_stats=1 \
        -artifact_prefix="$folder/failures/$name-" "$folder/found/$name" "$seeds" >"$log" 2>&1 </dev/null; then
        tail -n 60 "$log" >&2
        printf '%s: failed; the input is in %s\n' "$name" "$folder/failures" >&2
        return 1
    fi
    printf '%s: %s runs, nothing found\n' "$name" "$(sed -n 's/^stat::number_of_executed_units: *//p' "$log")"
}

if [ "${3:-}" = --one ]; then
    fuzz_one "$4"
    exit
fi
mapfile -t programs < <(find "$folder" -maxdepth 1 -type f -perm -u+x -name '*_fuzz' | sort)
if [ ${#programs[@]} -eq 0 ]; then
    printf 'There is no fuzz target in %s\n' "$folder" >&2
    exit 1
fi
printf '%s\n' "${programs[@]}" | xargs -P "$(nproc)" -I{} "$PWD/scripts/fuzz.sh" "$folder" "$seconds" --one {}
