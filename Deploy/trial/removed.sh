# Programs and sockets are gone, logs and recordings wait for the purge.
. /trial/common.sh
for file in /usr/bin/ZRFpgaMng /usr/lib/systemd/system/zrfpgamng.service /tmp/AudioStream_Arm_to_Fpga \
    /tmp/CtrlStream_Arm_to_Fpga; do
    [ ! -e "$file" ] || fail "$file is still there"
done
[ -s /firmware/log/ZRFpgaMng/system.log ] || fail "the log went with the programs"
ls /firmware/audio/PcmRd_*.pcm >/dev/null
