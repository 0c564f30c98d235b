# The system bus with the installed policy, the stand-in card, and the service with the
# unit's user, group and umask: who reaches what, and how it ends.
. /trial/common.sh

setting() {
    sed -n "s/^$1=//p" /usr/lib/systemd/system/zrfpgamng.service
}

# Becomes the command: for a subshell.
as_unit() {
    exec setpriv --reuid "$(setting User)" --regid "$(setting Group)" --init-groups --inh-caps=-all --bounding-set=-all \
        --no-new-privs sh -c "umask $(setting UMask); exec \"\$@\"" sh "$@"
}

as_operator() {
    setpriv --reuid zr-operator --regid audio --clear-groups sh -c 'umask 007; exec "$@"' sh "$@"
}

expect_stat /firmware/log/ZRFpgaMng/system.log '644 root:root'
rm /firmware/log/ZRFpgaMng/Module0.log
sed -n 's/^ExecStartPre=+-*//p' /usr/lib/systemd/system/zrfpgamng.service | sh -e
mkdir -p /run/dbus
dbus-daemon --system --nopidfile
install -d -o zrfpgamng -g audio /run/zrcard
(as_unit zrcard /run/zrcard/card.control create)
as_operator zrpeer rates --counter --seconds 3 >/tmp/rates.txt 2>&1 &
peer=$!
wait_for 5 "the peer" test -S /tmp/AudioStream_Fpga_to_Arm
ALSA_CONFIG_PATH=/usr/share/zrfpgamng-card/asound.conf as_unit "$(setting ExecStart)" >/tmp/service.txt 2>&1 &
service=$!
wait_for 10 "the sockets" test -S /tmp/CtrlStream_Arm_to_Fpga
expect_stat /tmp/AudioStream_Arm_to_Fpga '770 zrfpgamng:audio'
expect_stat /tmp/CtrlStream_Arm_to_Fpga '770 zrfpgamng:audio'
expect_stat /firmware/log/ZRFpgaMng/system.log '644 zrfpgamng:audio'
expect_stat /firmware/log/ZRFpgaMng/Module0.log '640 zrfpgamng:audio'

wait "$peer" || { cat /tmp/rates.txt >&2 && fail "the peer heard nothing"; }
grep '^total' /tmp/rates.txt
as_operator zrctl status >/dev/null || fail "a member of audio is not answered"
as_operator zrctl record 1 >/tmp/record.txt || { cat /tmp/record.txt >&2 && fail "no recording for a member of audio"; }
for recording in /firmware/audio/PcmRd_*.pcm; do
    expect_stat "$recording" '660 zrfpgamng:audio'
    as_operator zrctl levels "$recording" >/dev/null || fail "a member of audio cannot read $recording"
done
denied=0
setpriv --reuid zr-stranger --regid zr-stranger --clear-groups zrctl raw help >/dev/null 2>&1 || denied=$?
[ "$denied" -eq 6 ] || fail "a stranger got status $denied, not 6"

kill -TERM "$service"
ended=0
wait "$service" 2>/dev/null || ended=$?
[ "$ended" -eq 134 ] || fail "the service ended with $ended, not by SIGABRT"
as_operator grep -q 'Received signal 15' /firmware/log/ZRFpgaMng/system.log || fail "the stop is not in the log"
rm -f /tmp/*.txt
