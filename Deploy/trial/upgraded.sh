# A new version keeps the log, the recordings and the unit's state.
. /trial/common.sh
dpkg-query -W -f '${Version}\n' zrfpgamng | grep -q next || fail "the version is the old one"
grep -q 'Received signal 15' /firmware/log/ZRFpgaMng/system.log || fail "the log is lost"
ls /firmware/audio/PcmRd_*.pcm >/dev/null
[ -L /etc/systemd/system/multi-user.target.wants/zrfpgamng.service ] || fail "the unit is no longer enabled"
