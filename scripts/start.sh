#!/usr/bin/env bash
# Starts the player with the best scheduling this user can have.
#
#   scripts/start.sh PROGRAM SUBCOMMAND ARGUMENT...
#
# A show needs real-time scheduling. Where there is plainly no way to it the program is told to do its best
# from the start; where it only turns out when the program asks (exit status 3), it is started once more.
# SIGINT and SIGTERM are handed to the program; an end that was asked for is status 0.
set -uo pipefail

if [ $# -lt 2 ]; then
    printf 'usage: %s PROGRAM SUBCOMMAND ARGUMENT...\n' "$0" >&2
    exit 2
fi
program=$1
shift
# Started by a service without a standard input.
if ! { : <&0; } 2>/dev/null; then exec </dev/null; fi
child=
asked_to_end=no
early=no

# An explicit answer of the caller stands.
best_effort=no
for argument in "$@"; do
    if [ "$argument" = --best-effort ]; then best_effort=yes; fi
done

# Whether this user may have SCHED_FIFO by itself: root, CAP_SYS_NICE or a granted limit.
has_right() { chrt --fifo 1 true 2>/dev/null; }

# Whether RealtimeKit could be asked: its service is installed, and a system bus runs that can start it.
has_realtimekit() {
    local address=${DBUS_SYSTEM_BUS_ADDRESS:-}
    if [ -z "$address" ] && [ ! -S "${MARVO_SYSTEM_BUS:-/run/dbus/system_bus_socket}" ]; then return 1; fi
    [ -e "${MARVO_BUS_SERVICES:-/usr/share/dbus-1/system-services}/org.freedesktop.RealtimeKit1.service" ]
}

# shellcheck disable=SC2317
hand_on() {
    asked_to_end=yes
    if [ -n "$child" ]; then kill -"$1" "$child" 2>/dev/null || true; else early=yes; fi
}
# A Ctrl-C of the terminal reaches the program by itself, since it is in the same process group; sent once
# more it would look like an impatient second one, so a terminal's is only noted.
if [ -t 0 ]; then
    trap 'asked_to_end=yes' INT
else
    trap 'hand_on INT' INT
fi
trap 'hand_on TERM' TERM
trap 'hand_on HUP' HUP

# A background command would otherwise ignore SIGINT and read from /dev/null.
play() {
    env --default-signal=INT,QUIT "$program" "$@" <&0 &
    child=$!
    # Asked between the two lines above. What has not become the program yet may ignore anything else.
    if [ "$early" = yes ]; then kill -TERM "$child" 2>/dev/null || true; fi
    early=no
    local status
    while :; do
        wait "$child"
        status=$?
        # wait also returns when a trap has run; the program is still there then.
        if [ "$status" -gt 128 ] && kill -0 "$child" 2>/dev/null; then continue; fi
        break
    done
    # It may have ended just after a trap ran: ask once more for the status it really left. 127: already told. -1: a
    # signal came between the end and the shell's note of it, and the shell has lost the status; the signal's own stands.
    local last=0
    wait "$child" 2>/dev/null || last=$?
    if [ "$last" -ge 0 ] && [ "$last" -ne 127 ]; then status=$last; fi
    child=
    return "$status"
}

if [ "$best_effort" = no ] && ! has_right && ! has_realtimekit; then
    printf '%s\n' "No right to real-time scheduling and no RealtimeKit here: playing as well as the system lets us."
    best_effort=yes
    set -- "$@" --best-effort
fi

play "$@"
status=$?
if [ "$status" -eq 3 ] && [ "$best_effort" = no ] && [ "$asked_to_end" = no ]; then
    printf '%s\n' "Real-time scheduling was refused: playing as well as the system lets us (see the line above for a remedy)."
    play "$@" --best-effort
    status=$?
fi
case $status in
130 | 143) if [ "$asked_to_end" = yes ]; then status=0; fi ;;
esac
exit "$status"
