# shellcheck shell=bash
# What the commands of the fuzzers share. Sourced, with `set -euo pipefail` in force; not run.
. "$project/scripts/common.sh"

targets=(manifest edits folders iterators)
# Reports need few callers of each allocation, and runs are twice as fast.
export ASAN_OPTIONS=malloc_context_size=4:quarantine_size_mb=16

# The folders in which fuzzers work go into one, in memory where that is possible. Neither that folder nor a fuzzer
# outlives this process.
use_scratch() {
    local parent=/dev/shm
    [ -w "$parent" ] || parent=${TMPDIR:-/tmp}
    TMPDIR=$(mktemp -d "$parent/fuzz-XXXXXX")
    export TMPDIR
    trap 'jobs -p | xargs -r kill; wait; rm -rf "$TMPDIR"' EXIT
}
