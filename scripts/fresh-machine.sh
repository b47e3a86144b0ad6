#!/usr/bin/env bash
# Proves that ./run and ./test need nothing but the tree: makes a minimal Debian inside a folder, copies the last
# commit into it and runs both, as root, as an ordinary user with sudo and as a user without any right.
#
#   scripts/fresh-machine.sh FOLDER [WHO...]      WHO: root sudo plain (default: all)
#
# For maintainers, as root; wants about 3 GB in FOLDER. The minimal system is made once and kept in FOLDER/base;
# each WHO gets a copy of its own, which stays for a look until the next run. Mounts and processes live in
# namespaces that end with each machine. Environment: MARVO_MIRROR (debootstrap's own), MARVO_SUITE (bookworm),
# MARVO_KEYRING, and MARVO_JOBS for the builds inside.
set -euo pipefail
cd "$(dirname "${BASH_SOURCE[0]}")/.."

say() { printf '%s\n' "$*"; }
fail() {
    printf 'fresh-machine: %s\n' "$*" >&2
    exit 1
}

suite=${MARVO_SUITE:-bookworm}
show_seconds=3

make_base() {
    local base=$1 options=()
    if [ -e "$base.ready" ]; then return; fi
    rm -rf "$base"
    say "Making a minimal $suite in $base"
    if [ -n "${MARVO_KEYRING:-}" ]; then options+=("--keyring=$MARVO_KEYRING"); fi
    debootstrap --variant=minbase "${options[@]}" "$suite" "$base" ${MARVO_MIRROR:+"$MARVO_MIRROR"} >"$base.log" 2>&1 ||
        { tail -n 20 "$base.log" >&2 && fail "debootstrap failed"; }
    # What this machine's package manager is told (a proxy, a check it leaves out) holds for its guest, without
    # the hooks, which call programs that a minimal system does not have.
    local setting
    for setting in /etc/apt/apt.conf /etc/apt/apt.conf.d/*; do
        if [ -f "$setting" ] && ! grep -qiE 'DPkg::|Post-Invoke|Pre-Invoke|Pre-Install' "$setting"; then
            install -D -m 644 "$setting" "$base$setting"
        fi
    done
    cp -L /etc/resolv.conf /etc/hosts "$base/etc/" 2>/dev/null || true
    touch "$base.ready"
}

# Everything below runs inside the machine's own mount and process namespaces: see enter.
mount_machine() {
    local root=$1 node
    mount --make-rprivate /
    mount --bind "$root" "$root"
    mount -t proc proc "$root/proc"
    mount -t tmpfs -o mode=755 tmpfs "$root/dev"
    for node in null zero full random urandom tty; do
        touch "$root/dev/$node"
        mount --bind "/dev/$node" "$root/dev/$node"
    done
    mkdir "$root/dev/pts" "$root/dev/shm"
    mount -t devpts -o newinstance,ptmxmode=666,mode=620 devpts "$root/dev/pts"
    ln -s pts/ptmx "$root/dev/ptmx"
    ln -s /proc/self/fd "$root/dev/fd"
    mount -t tmpfs -o mode=1777 tmpfs "$root/dev/shm"
    mount -t tmpfs tmpfs "$root/run"
}

# Its root is made the root of a mount namespace, as on a machine that has booted: behind a mere change of root the
# kernel refuses user namespaces, which the tests use.
inside() {
    local root=$1
    shift
    # shellcheck disable=SC2016
    unshare --mount --propagation unchanged bash -c 'cd "$0" && pivot_root . . && umount -l . && cd / && exec "$@"' \
        "$root" /usr/bin/env -i HOME=/root PATH=/usr/local/sbin:/usr/local/bin:/usr/sbin:/usr/bin:/sbin:/bin \
        TERM=dumb LC_ALL=C.UTF-8 MARVO_JOBS="${MARVO_JOBS:-}" "$@" </dev/null
}

# inside_as ROOT USER COMMAND: that user in its copy of the tree.
inside_as() {
    local root=$1 user=$2 home=/home/$2
    inside "$root" runuser -u "$user" -- env HOME="$home" USER="$user" bash -c "cd $home/marvo && $3"
}

timed() {
    local label=$1 start=$SECONDS status=0
    shift
    "$@" || status=$?
    say "--- $label: status $status after $((SECONDS - start)) s"
    return "$status"
}

play() { timed "$2 ./run" inside_as "$1" "$2" "./run --for $show_seconds"; }

play_and_test() {
    play "$1" "$2"
    timed "$2 ./test" inside_as "$1" "$2" ./test
    say "With everything there, neither asks for anything:"
    play "$1" "$2"
}

add_user() {
    inside "$1" useradd --create-home --user-group --shell /bin/bash "$2"
    copy_tree "$1" "/home/$2/marvo" "$2"
}

copy_tree() {
    mkdir -p "$1$2"
    git -c safe.directory="$PWD" archive HEAD | tar -x -C "$1$2"
    inside "$1" chown -R "$3:$3" "$2"
}

machine_root() {
    copy_tree "$1" /home/root/marvo root
    play_and_test "$1" root
}

machine_sudo() {
    inside "$1" sh -c 'apt-get update -qq && apt-get install -y -qq --no-install-recommends sudo >/dev/null 2>&1'
    add_user "$1" keeper
    printf 'keeper ALL=(ALL) NOPASSWD: ALL\n' >"$1/etc/sudoers.d/keeper"
    play_and_test "$1" keeper
}

# No sudo, no real-time right, no message bus: told in one line what is missing, and able to play once an
# administrator has installed it. The tests of real-time scheduling fail until he grants that as well.
machine_plain() {
    local said status=0
    add_user "$1" guest
    said=$(inside_as "$1" guest "./run --for $show_seconds" 2>&1) || status=$?
    say "$said"
    if [ "$status" -ne 1 ] || [ "$(wc -l <<<"$said")" -ne 1 ]; then
        say "A missing package must be told in one line, with status 1 (was $status)"
        return 1
    fi
    copy_tree "$1" /home/root/marvo root
    timed "administrator installs" inside "$1" /home/root/marvo/scripts/install.sh build run test
    play "$1" guest
    status=0
    timed "guest ./test, without the right" inside_as "$1" guest ./test >"$1.log" 2>&1 || status=$?
    sed -n '/^No right/p; /tests passed/,$p' "$1.log"
    if [ "$status" -ne 8 ] || ! grep -q '^No right to real-time scheduling' "$1.log"; then
        say "Without the right the tests that need it must fail, and ./test must say why (status $status)"
        return 1
    fi
    timed "guest ./test, with the right" inside "$1" setpriv --reuid guest --regid guest --init-groups \
        --inh-caps +sys_nice --ambient-caps +sys_nice \
        env HOME=/home/guest USER=guest bash -c 'cd ~/marvo && ./test'
}

if [ "${1:-}" = --inside ]; then
    mount_machine "$2"
    "machine_$3" "$2"
    exit
fi

[ $# -ge 1 ] || fail "usage: scripts/fresh-machine.sh FOLDER [root|sudo|plain...]"
[ "$(id -u)" -eq 0 ] || fail "making a machine takes root"
scripts/install.sh maintain
mkdir -p "$1"
folder=$(cd "$1" && pwd)
shift
if [ $# -eq 0 ]; then set -- root sudo plain; fi
make_base "$folder/base"
failed=()
for who in "$@"; do
    declare -F "machine_$who" >/dev/null || fail "no such machine: $who"
    say ""
    say "=== $who"
    start=$SECONDS
    rm -rf "${folder:?}/$who"
    cp -a --reflink=auto "$folder/base" "$folder/$who"
    # The process namespace takes everything started inside along when it ends.
    unshare --mount --pid --fork --kill-child bash "$PWD/scripts/fresh-machine.sh" --inside "$folder/$who" "$who" ||
        failed+=("$who")
    say "=== $who: $((SECONDS - start)) s"
done
if [ ${#failed[@]} -gt 0 ]; then fail "failed: ${failed[*]}"; fi
say "Every machine ran and tested the tree"
