# shellcheck shell=bash
# Functions that the scripts of the fuzzers share. To be sourced, with `set -euo pipefail` in force.
. "$project/scripts/common.sh"

targets=(manifest edits folders iterators)
# A few callers of each allocation are enough for reports, and runs are twice as fast.
export ASAN_OPTIONS=malloc_context_size=4:quarantine_size_mb=16

# Makes a temporary folder for the fuzzers, in memory if possible. On exit, ends the fuzzers and removes the folder.
use_scratch() {
    local parent=/dev/shm
    [ -w "$parent" ] || parent=${TMPDIR:-/tmp}
    TMPDIR=$(mktemp -d "$parent/fuzz-XXXXXX")
    export TMPDIR
    trap 'jobs -p | xargs -r kill; wait; rm -rf "$TMPDIR"' EXIT
}
