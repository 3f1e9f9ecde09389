#!/usr/bin/env bash
# The player on the AV recording, with the player library emulator: per case the exit status, the
# last line printed (the status, or the one-line error), and what reached the library.
# Usage: CheckPlayer.sh PLAY STREAM WORK_DIR
set -uo pipefail
play=$1 stream=$2 work=$3
rm -rf "$work" && mkdir -p "$work" || exit 1
failures=0 cases=0
fail() { echo "$1"; failures=$((failures + 1)); }

# check KEYS STATUS DECODERS RECEIVED ABSENT LINE ARGUMENTS...: KEYS go to stdin; DECODERS is the
# number of decoders the library opened and RECEIVED and ABSENT the PIDs that must and must not
# have reached it ("-" checks none); LINE is what the last line starts with.
check() {
  local keys=$1 status=$2 decoders=$3 received=$4 absent=$5 line=$6 report=$work/report.txt actual last pid
  shift 6
  cases=$((cases + 1))
  rm -f "$report"
  printf %s "$keys" | VOMTP_EMULATOR_REPORT=$report "$play" "$@" >"$work/out" 2>&1
  actual=$?
  [ "$actual" -eq "$status" ] || fail "$*: exit status $actual, expected $status"
  last=$(tail -n 1 "$work/out")
  [[ "$last" == "$line"* ]] || fail "$*: last line '$last', expected '$line...'"
  [ "$decoders" = - ] || grep -q "decoders opened $decoders," "$report" || fail "$*: not $decoders decoders"
  for pid in ${received#-}; do
    grep -q "^PID $pid: packets [1-9]" "$report" || fail "$*: no packets of PID $pid"
  done
  for pid in ${absent#-}; do
    ! grep -q "^PID $pid:" "$report" || fail "$*: PID $pid reached the library"
  done
}

one='Service 1/2 "Ombrix MPEG-2" (1) | decoded | volume'
two='Service 2/2 "Ombrix H.264" (2) | decoded | volume'
# A recording passes every PID to the player; live reception only the chosen service's.
check "" 0 1 "0x0101 0x0102" - "$one 80 | 16:9 full screen | 0" --seconds 2 "$stream"
check "" 0 1 "0x0201 0x0202" "0x0101 0x0102" "$two 80 | 16:9 full screen | 0" --dvbt 482000 --service 2 --seconds 2
# Previous from the first service wraps to the last; the volume stops at 100, so that one step down gives 90; mute toggles.
check "p--ma " 0 2 - - "$two 60 muted | 16:9 pillarbox | paused | 0" --seconds 1 "$stream"
check "n+++-mm" 0 2 - - "$two 90 | 16:9 full screen | 0" --seconds 1 "$stream"

for _ in $(seq 50); do printf '\x47\x1f\xff\x10'; head -c 184 /dev/zero | tr '\0' '\377'; done >"$work/nulls.ts"
check "" 1 - - - "ombrixhal-play: $work/missing.ts: No such file or directory" "$work/missing.ts"
check "" 1 0 - - "ombrixhal-play: $stream: no service 3 (2 services)" --service 3 "$stream"
check "" 1 0 - - "ombrixhal-play: $work/nulls.ts: no services (no programme association table)" "$work/nulls.ts"

echo "$((cases - failures)) passed, ${failures} failed"
[ "$failures" -eq 0 ]
