# shellcheck shell=bash
# Runs jobs one after the other, each with a bound of time, and tells how long each took. Sourced.
#
# A job NAME is a shell function job_NAME of the sourcing script; its bound in seconds stands in job_limit[NAME],
# that of all of them together in total_limit. A job named in job_after_failure runs last when another has failed.
# The sourcing script starts itself again as "SCRIPT --job NAME" for each, so that a bound ends all of a job.

declare -A job_limit=()
job_after_failure=
default_job_limit=900
total_limit=4500

# run_one_job NAME: the inner call. A plain command of the script, since errexit does not hold in a condition.
run_one_job() {
    set -euo pipefail
    "job_$1"
}

# what_failed LOG: of a job's output, each failed test of ctest with the lines it printed; where there is none, the end.
what_failed() {
    local failed
    failed=$(awk '
        /^ *[0-9]+\/[0-9]+ Test / || /^ +Start +[0-9]+: / { inside = 0 }
        /^ *[0-9]+\/[0-9]+ Test .*(\*\*\*|Subprocess)/ { inside = 1; lines = 0 }
        inside && lines++ < 80 { print }
    ' "$1")
    if [ -n "$failed" ]; then printf '%s\n' "$failed"; else tail -n 60 "$1"; fi
}

# run_jobs SCRIPT NAME...: all of them, whatever fails. Status 1 when any failed, with their names.
run_jobs() {
    local script=$1 name start status verdict limit logs job shown queue failed=() lines=()
    shift
    for name in "$@" $job_after_failure; do
        if ! declare -F "job_$name" >/dev/null; then
            printf 'There is no job "%s"\n' "$name" >&2
            return 2
        fi
    done
    logs=$(mktemp -d)
    queue=("$@")
    while [ ${#queue[@]} -gt 0 ]; do
        name=${queue[0]}
        queue=("${queue[@]:1}")
        printf '\n=== %s\n' "$name"
        start=$SECONDS
        status=0
        : >"$logs/$name"
        limit=${job_limit[$name]:-$default_job_limit}
        # No less than a second: a bound of 0 would be none at all.
        if [ "$limit" -gt $((total_limit - SECONDS)) ]; then limit=$((total_limit - SECONDS)); fi
        if [ "$limit" -lt 1 ]; then limit=1; fi
        # Into a file and shown from there: whatever a job leaves behind could keep a pipe open for ever.
        timeout --kill-after=30 "$limit" bash "$script" --job "$name" </dev/null >"$logs/$name" 2>&1 &
        job=$!
        # In the background it does not hear the keyboard's Ctrl-C itself.
        trap 'kill "$job"; exit 130' INT TERM
        tail --lines=+1 --follow --sleep-interval=0.2 --pid="$job" "$logs/$name" 2>/dev/null &
        shown=$!
        wait "$job" || status=$?
        trap - INT TERM
        wait "$shown" || true
        case $status in
        0) verdict=passed ;;
        124 | 137) verdict="out of time" ;;
        *) verdict="failed ($status)" ;;
        esac
        if [ "$status" -ne 0 ]; then failed+=("$name"); fi
        lines+=("$(printf '%-10s %5d s  %s' "$name" $((SECONDS - start)) "$verdict")")
        printf '=== %s: %s after %d s\n' "$name" "$verdict" $((SECONDS - start))
        if [ ${#queue[@]} -eq 0 ] && [ ${#failed[@]} -gt 0 ] && [ -n "$job_after_failure" ]; then
            queue=("$job_after_failure")
            job_after_failure=
        fi
    done
    # Once more at the end: of a long log that is what one sees.
    for name in "${failed[@]}"; do
        printf '\n=== what failed of %s\n' "$name"
        what_failed "$logs/$name"
    done
    rm -rf "$logs"
    printf '\n%-10s %7s  %s\n' job time result
    printf '%s\n' "${lines[@]}"
    printf 'altogether %5d s\n' "$SECONDS"
    if [ ${#failed[@]} -gt 0 ]; then
        printf 'Failed: %s\n' "${failed[*]}" >&2
        return 1
    fi
}
