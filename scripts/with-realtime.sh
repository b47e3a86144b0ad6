#!/usr/bin/env bash
# Runs a command as this user, with the right to real-time scheduling where that can be had.
#
#   scripts/with-realtime.sh COMMAND ARGUMENT...
#
# A user who has the right already just runs the command. One with sudo gets the single capability for it, in the same
# environment and as himself. Anybody else is told in one line, and the command runs as it is.
set -euo pipefail

if [ $# -eq 0 ]; then
    printf 'usage: %s COMMAND ARGUMENT...\n' "$0" >&2
    exit 2
fi
if chrt --fifo 1 true 2>/dev/null; then exec "$@"; fi

# sudo clears the environment and starts from root's own.
mapfile -d '' -t environment < <(env -0)
lifted=(sudo env -i "${environment[@]}"
    setpriv --reuid "$(id -u)" --regid "$(id -g)" --init-groups --inh-caps +sys_nice --ambient-caps +sys_nice)
if command -v sudo >/dev/null && { [ -t 0 ] || sudo -n true 2>/dev/null; } &&
    "${lifted[@]}" chrt --fifo 1 true; then
    exec "${lifted[@]}" "$@"
fi
printf '%s\n' "No right to real-time scheduling here: tests that need it will fail. An administrator grants it with the line \"$(id -un) - rtprio 90\" in /etc/security/limits.d/marvo.conf and a new login."
exec "$@"
