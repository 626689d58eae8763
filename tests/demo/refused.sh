#!/usr/bin/env bash
# refused.sh DEMO…: succeeds when the demo fails, and does so because the camera refused the payload.
set -eu
status=0
output=$("$@" 2>&1) || status=$?
printf '%s\n' "$output"
echo "(the demo's exit status: $status)"
[ "$status" -ne 0 ]
grep --quiet --extended-regexp '(Status error: |its status is ")Payload rejected: ' <<<"$output"
