#!/usr/bin/env bash
# Installs what is missing of the named package groups, and nothing else.
#
#   scripts/install.sh GROUP...      groups: build run test ci vm maintain
#
# With everything there it needs neither root nor a network. Exit status: 0 all there; 1 something is missing
# and could not be installed (one line says what and how); 2 wrong usage.
set -euo pipefail
cd "$(dirname "${BASH_SOURCE[0]}")"
# shellcheck source=scripts/packages.sh
source ./packages.sh

say() { printf '%s\n' "$*"; }
fail() {
    printf '%s\n' "$*" >&2
    exit 1
}

is_installed() {
    local state
    state=$(dpkg-query -W -f='${db:Status-Abbrev}\n' "$1" 2>/dev/null) || return 1
    # One line for each architecture; "ii " and "hi " (held) are complete installations.
    grep -q '^[ih]i' <<<"$state"
}

is_known() { [ -n "$(apt-cache show --no-all-versions "$1" 2>/dev/null)" ]; }

# The alternatives of an entry that is not installed yet, as one word; nothing when it is.
missing_entry() {
    local name names
    IFS='|' read -ra names <<<"${1%\?}"
    for name in "${names[@]}"; do
        if is_installed "$name"; then return; fi
    done
    say "$1"
}

# The name to install for an entry: the first alternative the distribution has. Nothing for an optional one
# that it lacks; the first name for another, so that the message of the installer names it.
chosen_name() {
    local name names
    IFS='|' read -ra names <<<"${1%\?}"
    for name in "${names[@]}"; do
        if is_known "$name"; then
            say "$name"
            return
        fi
    done
    if [ "${1%\?}" = "$1" ]; then say "${names[0]}"; fi
}

choose_names() {
    local entry
    for entry in "${missing[@]}"; do chosen_name "$entry"; done | sort -u
}

all_required_known() {
    local entry
    for entry in "${missing[@]}"; do
        if [ "${entry%\?}" = "$entry" ] && ! is_known "$(chosen_name "$entry")"; then return 1; fi
    done
}

if [ $# -eq 0 ]; then
    printf 'usage: %s GROUP...   (groups: %s)\n' "$0" "${package_groups[*]}" >&2
    exit 2
fi
entries=()
for group in "$@"; do
    case " ${package_groups[*]} " in
    *" $group "*) ;;
    *)
        printf '%s: no such group: %s (groups: %s)\n' "$0" "$group" "${package_groups[*]}" >&2
        exit 2
        ;;
    esac
    declare -n members="packages_$group"
    entries+=("${members[@]}")
done

if ! command -v dpkg-query >/dev/null || ! command -v apt-get >/dev/null; then
    fail "This needs a Debian or Ubuntu system; elsewhere install by hand: ${entries[*]%\?}"
fi

list_missing() {
    local entry
    for entry in "${entries[@]}"; do missing_entry "$entry"; done | sort -u
}

only_optional() {
    local entry
    for entry in "$@"; do
        if [ "${entry%\?}" = "$entry" ]; then return 1; fi
    done
}

mapfile -t missing < <(list_missing)
if [ ${#missing[@]} -eq 0 ]; then exit 0; fi

# Without a terminal a password cannot be asked for, so only a sudo that needs none will do.
as_root=()
if [ "$(id -u)" -ne 0 ]; then
    if command -v sudo >/dev/null && { [ -t 0 ] || sudo -n true 2>/dev/null; }; then
        as_root=(sudo)
    elif only_optional "${missing[@]}"; then
        exit 0
    else
        # The names as this system's lists have them, an alternative chosen; the lists may be empty.
        mapfile -t names < <(choose_names)
        fail "Missing packages, and neither root nor sudo to install them. As root:" \
            "apt-get update && apt-get install -y --no-install-recommends ${names[*]}"
    fi
fi

log=$(mktemp)
trap 'rm -f "$log"' EXIT
# Configuration questions take their defaults; another installation that holds the lock is waited for.
quiet_apt() {
    "${as_root[@]}" env DEBIAN_FRONTEND=noninteractive DEBCONF_NOWARNINGS=yes \
        apt-get -o DPkg::Lock::Timeout=300 -y -qq "$@" </dev/null >>"$log" 2>&1
}

# The password is asked for here, with the terminal at hand, and not inside a command whose output is kept.
may_ask() {
    if [ ${#as_root[@]} -gt 0 ] && [ -t 0 ]; then sudo -v || fail "sudo was refused"; fi
}

updated=no
update_lists() {
    if [ "$updated" = yes ]; then return 1; fi
    updated=yes
    may_ask
    say "Fetching the package lists"
    quiet_apt update || say "The package lists could not be renewed; going on with those at hand" >&2
}

if ! all_required_known; then update_lists; fi
mapfile -t names < <(choose_names)
# Only conveniences that this distribution does not have are left.
if [ ${#names[@]} -eq 0 ]; then exit 0; fi

say "Installing ${names[*]}"
may_ask
if ! quiet_apt install --no-install-recommends "${names[@]}"; then
    # Old lists name versions that the archive has dropped: renew them once and try again.
    if ! update_lists || ! quiet_apt install --no-install-recommends "${names[@]}"; then
        tail -n 20 "$log" >&2
        if only_optional "${missing[@]}"; then
            say "Going on without ${names[*]}" >&2
            exit 0
        fi
        fail "These packages could not be installed: ${names[*]}"
    fi
fi

mapfile -t missing < <(list_missing)
if ! only_optional "${missing[@]}"; then fail "Still missing after the installation: ${missing[*]%\?}"; fi
