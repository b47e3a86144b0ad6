# shellcheck shell=bash
# How the scripts configure and build. Sourced by scripts that stand in the root folder of the project.
#
# Environment: MARVO_JOBS (compilers at a time, default: one a core), MARVO_CMAKE_FLAGS (further words for
# the configuration of every build).

jobs=${MARVO_JOBS:-$(nproc)}

# Build folders lie at the same depth, so with paths taken relative to the tree equal compilations of two
# of them share one entry of the compiler cache.
export CCACHE_BASEDIR=${CCACHE_BASEDIR:-$PWD}

# configure FOLDER CMAKE_ARGUMENT...: quiet unless it fails.
configure() {
    local folder=$1
    shift
    if [ -e "$folder" ] && [ ! -w "$folder" ]; then
        printf '%s belongs to another user; remove it, or build as that user\n' "$folder" >&2
        return 1
    fi
    mkdir -p "$folder"
    local flags
    read -ra flags <<<"${MARVO_CMAKE_FLAGS:-}"
    if ! cmake "$@" "${flags[@]}" >"$folder/configure.log" 2>&1; then
        cat "$folder/configure.log" >&2
        printf 'The configuration of %s failed (see above)\n' "$folder" >&2
        return 1
    fi
}

configure_preset() {
    local preset=$1
    shift
    configure "build/$preset" --preset "$preset" "$@"
}

build() { cmake --build "$1" -j "$jobs"; }
