#!/usr/bin/env bash
# The inspector on files that are not good recordings: each must end with exit status 1 and one
# line on stderr that names the file and the reason. Truncated and damaged streams are still
# reported in full before that line.
# Usage: CheckInspectorBadInput.sh INSPECT STREAM RECORDS WORK_DIR
set -uo pipefail
inspect=$1 stream=$2 records=$3 work=$4
rm -rf "$work" && mkdir -p "$work" || exit 1
failures=0 cases=0

# expect [--analog FILE | --dvbt FREQUENCY | FILE] REPORT ERROR: REPORT is "report" when a report
# must come first, else "none".
expect() {
  local arguments name
  case $1 in
    --analog) arguments=(--analog "$2"); name=$2; shift 2 ;;
    --dvbt) arguments=(--dvbt "$2" --seconds 1); name="DVB-T $2 kHz"; shift 2 ;;
    *) arguments=("$1"); name=$1; shift ;;
  esac
  local report=$1 error=$2 status
  cases=$((cases + 1))
  "$inspect" "${arguments[@]}" >"$work/out" 2>"$work/err"
  status=$?
  if [ "$status" -ne 1 ]; then
    echo "$name: exit status $status, expected 1"; failures=$((failures + 1))
  fi
  if [ "$(cat "$work/err")" != "ombrixhal-inspect: $name: $error" ]; then
    echo "$name: stderr '$(cat "$work/err")', expected 'ombrixhal-inspect: $name: $error'"; failures=$((failures + 1))
  fi
  if [ "$report" = report ] && ! grep -q '^Teletext pages' "$work/out"; then
    echo "$name: no report"; failures=$((failures + 1))
  elif [ "$report" = none ] && [ -s "$work/out" ]; then
    echo "$name: output '$(head -c 200 "$work/out")' besides the error"; failures=$((failures + 1))
  fi
}

packet=188
expect "$work/missing.ts" none "No such file or directory"
expect "$work" none "not a regular file"
: >"$work/empty.ts"
expect "$work/empty.ts" none "too short for a transport stream (0 bytes)"
head -c 4000 /dev/zero | tr '\0' 'g' >"$work/garbage.ts"
expect "$work/garbage.ts" none "not a transport stream (no packet sync in its first bytes)"
head -c $((packet * 3000 + 100)) "$stream" >"$work/truncated.ts"
expect "$work/truncated.ts" report "damaged stream: 100 bytes outside whole packets (truncated?)"
# Twenty packets in the middle overwritten with zeros: no sync bytes, and a gap in the counters
# of the three PIDs that lost packets there.
head -c $((packet * 3000)) "$stream" >"$work/zeroed.ts"
dd if=/dev/zero of="$work/zeroed.ts" bs=$packet seek=1000 count=20 conv=notrunc status=none
expect "$work/zeroed.ts" report "damaged stream: 20 packets without sync byte, 3 continuity errors"

# Analog line records: too few bytes for one, and a last record cut short.
head -c 63 "$records" >"$work/short.rec"
expect --analog "$work/short.rec" none "too short for a file of line records (63 bytes)"
head -c $((64 * 30 + 40)) "$records" >"$work/truncated.rec"
expect --analog "$work/truncated.rec" report "damaged stream: 40 bytes outside whole records (truncated?)"

# Live reception on the build's channel plan: a frequency that carries nothing, and one that no
# DVB-T channel can have.
expect --dvbt 500000 none "no reception (NOT LOCKED)"
expect --dvbt 1 none "not a DVB-T channel (frequencies 50500 to 858000 kHz, bandwidth 6, 7 or 8 MHz)"

echo "$((cases - failures)) passed, ${failures} failed"
[ "$failures" -eq 0 ]
