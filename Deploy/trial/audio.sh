# The same run as ./run, by installed files alone.
. /trial/common.sh
zrdesk --seconds 10 --record --out /tmp/run >/tmp/run.txt 2>&1 || { cat /tmp/run.txt >&2 && fail "zrdesk found fault"; }
tail -n 25 /tmp/run.txt
rm -f /firmware/audio/*.pcm
rm -rf /tmp/run /tmp/run.txt # the sockets and root's logs are the unit's to clear
