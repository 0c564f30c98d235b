# The files, the user, the directories and the enabled unit are there.
. /trial/common.sh
for package in zrfpgamng zrfpgamng-tools zrfpgamng-card zrfpgamng-dev; do
    dpkg --verify "$package" | grep . && fail "$package is not as it was packed"
done
id -nG zrfpgamng | grep -qw audio || fail "the service's user is not in the group audio"
expect_stat /firmware/log/ZRFpgaMng '750 zrfpgamng:audio'
expect_stat /firmware/audio '2770 zrfpgamng:audio'
[ -L /etc/systemd/system/multi-user.target.wants/zrfpgamng.service ] || fail "the unit is not enabled"
systemd-analyze verify /usr/lib/systemd/system/zrfpgamng.service
for page in zrfpgamng ZRFpgaMng zrctl zrpeer zrcard zrdesk; do
    man -w "$page" >/dev/null
done
for program in zrctl zrpeer zrcard zrdesk; do
    "$program" --help >/dev/null || fail "$program does not start"
done
