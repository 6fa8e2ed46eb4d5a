#!/usr/bin/env bash
# direct_sound.sh COMMAND...: runs the program with a sound server of its own whose only card goes nowhere,
# and records what that card plays. Exits with 77 where there is no such server to be had.
set -euo pipefail
for tool in pulseaudio pactl parec; do
  command -v $tool > /dev/null || { echo "Skipped: $tool is not installed, so there is no sound server"; exit 77; }
done
# Wine finds no sound in a prefix that was made here, or with processes that know another sound server. So there
# is a prefix of its own, made before the server exists, and its processes end with the test.
export WINEPREFIX=$PWD/wine-sound
end_wine() {
  wineserver -k && timeout 20 wineserver -w || true
}
"$1" cmd /c exit > /dev/null 2>&1
end_wine
dir=$(mktemp -d)
server='' recorder='' watcher=''
finish() {
  end_wine
  for process in $watcher $recorder; do kill "$process" 2> /dev/null || true; done
  [[ -z $server ]] || { kill -CONT "$server"; kill "$server"; } 2> /dev/null || true
  wait
  rm -rf "$dir"
}
trap finish EXIT
export HOME=$dir XDG_RUNTIME_DIR=$dir PULSE_SERVER=unix:$dir/socket
pulseaudio -n --daemonize=no --exit-idle-time=-1 --use-pid-file=no \
  -L "module-null-sink sink_name=card rate=48000 format=s16le channels=2" \
  -L "module-native-protocol-unix socket=$dir/socket auth-anonymous=1" > "$dir/server.log" 2>&1 &
server=$!
for ((i = 0; i < 100; ++i)); do
  pactl info > /dev/null 2>&1 && break
  sleep 0.1
done
pactl info > /dev/null 2>&1 || { echo "Skipped: the sound server does not start:"; cat "$dir/server.log"; exit 77; }
pactl set-default-sink card

export RK_SOUND_RECORDING=$dir/recording RK_SOUND_FREEZE=$dir/freeze
parec --device=card.monitor --raw --format=s16le --rate=48000 --channels=2 --latency-msec=50 > "$RK_SOUND_RECORDING" &
recorder=$!
# The recorder misses what is played before its first record.
for ((i = 0; i < 300; ++i)); do
  [[ ! -s $RK_SOUND_RECORDING ]] || break
  sleep 0.1
done
(
  for signal in STOP CONT; do
    while [[ ! -e $RK_SOUND_FREEZE ]]; do sleep 0.1; done
    kill -$signal "$server"
    rm "$RK_SOUND_FREEZE"
  done
) &
watcher=$!
status=0
timeout 250 "$@" || status=$?
exit $status
