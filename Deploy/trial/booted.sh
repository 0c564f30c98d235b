# The unit under a running systemd, on the stand-in card: it starts, tells a stop from a crash,
# and is restarted, upgraded and removed.
. /trial/common.sh

property() {
    systemctl show zrfpgamng.service --property "$1" --value
}

# is PROPERTY VALUE
is() {
    [ "$(property "$1")" = "$2" ]
}

expect() {
    is "$1" "$2" || fail "$1 is $(property "$1"), not $2, after $3"
}

as_operator() {
    setpriv --reuid zr-operator --regid audio --clear-groups sh -c 'umask 007; exec "$@"' sh "$@"
}

# crash SIGNAL RESULT: a failure, and the service comes back.
crash() {
    restarts=$(property NRestarts)
    systemctl kill --kill-whom=main --signal="$1" zrfpgamng
    wait_for 10 "the failure after $1" is SubState auto-restart
    expect Result "$2" "$1"
    wait_for 20 "the restart after $1" is SubState running
    expect NRestarts "$((restarts + 1))" "$1"
}

wait_for 30 "the service" is ActiveState active
wait_for 10 "its sockets" test -S /tmp/CtrlStream_Arm_to_Fpga
expect_stat /tmp/AudioStream_Arm_to_Fpga '770 zrfpgamng:audio'
expect_stat /tmp/CtrlStream_Arm_to_Fpga '770 zrfpgamng:audio'
as_operator zrpeer rates --counter --seconds 2 | grep '^total' || fail "no audio comes"
as_operator zrctl status >/dev/null || fail "zrctl is not answered"
as_operator zrctl record 1 >/dev/null || fail "zrctl cannot record"

systemctl stop zrfpgamng
expect ActiveState inactive "a stop"
expect Result success "a stop"
expect ExecMainStatus 6 "a stop" # SIGABRT
systemctl start zrfpgamng
crash ABRT exit-code
crash SEGV signal
systemctl restart zrfpgamng
expect Result success "a restart"

process=$(property MainPID)
dpkg -i /packages/*.deb >/dev/null 2>&1 || fail "dpkg cannot install over what is there"
wait_for 20 "the service after the upgrade" is ActiveState active
[ "$(property MainPID)" != "$process" ] || fail "the upgrade did not restart the service"
dpkg -r zrfpgamng-card zrfpgamng >/dev/null 2>&1 || fail "dpkg cannot remove the service"
expect MainPID 0 "the removal"
[ ! -e /tmp/CtrlStream_Arm_to_Fpga ] || fail "the removal left a socket"
