#!/usr/bin/env bash
# stage_result.sh STAGE: how a stage of ./test.sh ended, as a test, so that the closing summary speaks for the
# whole run. 77 (skipped) when no such run is under way.
set -u
[ -n "${TOLVANE_STAGES:-}" ] || { echo "only under ./test.sh"; exit 77; }
[ ! -f "$TOLVANE_STAGES/$1.left" ] || { echo "left to ./test.sh --all"; exit 77; }
[ -f "$TOLVANE_STAGES/$1.status" ] || { echo "the stage $1 did not run"; exit 1; }
tail -n 30 "$TOLVANE_STAGES/$1.log"
exit "$(cat "$TOLVANE_STAGES/$1.status")"
