#!/bin/bash
# Runs every fuzz target of a fuzz build and prints, per target, the
# executions, the executions per second, the findings and the seconds taken
# (with the replay, if any).
#   tools/fuzz_run.sh BUILD_DIR SECONDS [RUNS [REPLAY_BUILD_DIR]]
# With RUNS (-1: no limit), each target stops after that many executions (or
# SECONDS, if that comes first). With REPLAY_BUILD_DIR, every input of the
# target's corpus is then run once through that build's target, and what
# fails there counts as a finding too. Findings (crash, timeout, leak,
# out-of-memory inputs) go to BUILD_DIR/findings/<target>/, those of the
# replay to BUILD_DIR/findings/<target>-replay/; the status is 1 when there
# are any. FUZZ_TARGETS="a b" runs those targets only; FUZZ_JOBS=N runs N
# targets at a time.
set -u
build=$1 seconds=$2 runs=${3:--1} replay=${4:-}
# The allocator's fill of new blocks and a large quarantine cost more than
# the checks they add here; they dominated the line-list targets.
export ASAN_OPTIONS=${ASAN_OPTIONS:-max_malloc_fill_size=0:quarantine_size_mb=32}
# Without the sanitizer's allocator, the C library's gives memory back to the
# system whenever the top of the heap is free, and takes it again, page
# fault by page fault, on the next input: a third of the drawing targets' time.
export MALLOC_TRIM_THRESHOLD_=${MALLOC_TRIM_THRESHOLD_:-1073741824}
export MALLOC_TOP_PAD_=${MALLOC_TOP_PAD_:-16777216}
# One target: its result line goes to $build/<name>.result, its findings
# count to $build/<name>.found.
run_target() {
    local f=$1 name=${1##*/fuzz_}
    local work=$build/corpus/$name findings=$build/findings/$name/ log=$build/$name.log
    mkdir -p "$work" "$findings"
    local seeds=
    [ -d "fuzz/corpus/$name" ] && seeds=fuzz/corpus/$name
    # Descriptions reach their 4096-character limit only in larger inputs.
    local max_len=1024
    [ "$name" = termdef ] && max_len=8192
    # Compiled terminfo entries run to some 4 KB.
    [ "$name" = terminfo ] && max_len=4096
    local start=$SECONDS
    # -entropic=0: the entropic schedule's bookkeeping took more than half
    # the time of the small targets; at these speeds plain scheduling finds
    # more per minute.
    # FUZZ_SEED fixes the mutations (the smoke run in make test): a run that
    # fails once fails again with the same command, and a green CI is not a
    # draw. Campaigns leave it unset, to look somewhere new each time.
    "$f" ${FUZZ_SEED:+-seed=$FUZZ_SEED} -max_total_time="$seconds" -runs="$runs" -max_len=$max_len -entropic=0 \
        -timeout=10 -rss_limit_mb=2048 -print_final_stats=1 -artifact_prefix="$findings" \
        "$work" $seeds >"$log" 2>&1
    local executions speed found
    executions=$(sed -n 's/^stat::number_of_executed_units: *//p' "$log")
    speed=$(sed -n 's/^stat::average_exec_per_sec: *//p' "$log")
    # A finding ends the run before the final statistics: take the last status line.
    [ -n "$executions" ] || executions=$(grep -o '^#[0-9]*' "$log" | tail -n 1 | tr -d '#')
    [ -n "$speed" ] || speed=$(grep -o 'exec/s: [0-9]*' "$log" | tail -n 1 | cut -d' ' -f2)
    found=$(find "$findings" -type f | wc -l)
    if [ -n "$replay" ] && [ -x "$replay/fuzz/fuzz_$name" ]; then
        local replayed=$build/findings/$name-replay/ replay_found
        mkdir -p "$replayed"
        # -runs=0: each input of the corpus once, no mutation.
        "$replay/fuzz/fuzz_$name" -runs=0 -max_len=$max_len -timeout=10 -rss_limit_mb=2048 \
            -artifact_prefix="$replayed" "$work" >"$build/$name-replay.log" 2>&1 ||
            [ -n "$(find "$replayed" -type f)" ] || echo crashed >"$replayed/replay-failed"
        replay_found=$(find "$replayed" -type f | wc -l)
        found=$((found + replay_found))
        [ "$replay_found" -eq 0 ] || tail -n 30 "$build/$name-replay.log" >>"$build/$name.result.tail"
    fi
    printf '%-10s %12s %10s %9s %8s\n' "$name" "${executions:-?}" "${speed:-?}" "$found" \
        $((SECONDS - start)) >"$build/$name.result"
    [ "$found" -eq 0 ] || tail -n 30 "$log" >>"$build/$name.result.tail"
    echo "$found" >"$build/$name.found"
}

# FUZZ_JOBS targets at a time (default 1: a campaign's speed figures are
# each target's alone on a core).
jobs=${FUZZ_JOBS:-1}
names=()
for f in "$build"/fuzz/fuzz_*; do
    [ -x "$f" ] || continue
    name=${f##*/fuzz_}
    [ -z "${FUZZ_TARGETS:-}" ] || [[ " $FUZZ_TARGETS " == *" $name "* ]] || continue
    rm -f "$build/$name.result" "$build/$name.result.tail" "$build/$name.found"
    while [ "$(jobs -rp | wc -l)" -ge "$jobs" ]; do wait -n; done
    run_target "$f" &
    names+=("$name")
done
wait
total=0
printf '%-10s %12s %10s %9s %8s\n' target executions exec/s findings seconds
for name in "${names[@]}"; do
    cat "$build/$name.result" 2>/dev/null || echo "$name: no result"
    [ -f "$build/$name.result.tail" ] && cat "$build/$name.result.tail"
    found=$(cat "$build/$name.found" 2>/dev/null || echo 1)
    total=$((total + found))
done
[ "$total" -eq 0 ]
