#!/bin/bash
# Runs every fuzz target of a fuzz build and prints, per target, the
# executions, the executions per second and the findings.
#   tools/fuzz_run.sh BUILD_DIR SECONDS [RUNS]
# With RUNS, each target stops after that many executions (or SECONDS, if
# that comes first). Findings (crash, timeout, leak, out-of-memory inputs)
# go to BUILD_DIR/findings/<target>/; the status is 1 when there are any.
set -u
build=$1 seconds=$2 runs=${3:--1}
# The allocator's fill of new blocks and a large quarantine cost more than
# the checks they add here; they dominated the line-list targets.
export ASAN_OPTIONS=${ASAN_OPTIONS:-max_malloc_fill_size=0:quarantine_size_mb=32}
total=0
printf '%-10s %12s %10s %9s\n' target executions exec/s findings
for f in "$build"/fuzz/fuzz_*; do
    [ -x "$f" ] || continue
    name=${f##*/fuzz_}
    work=$build/corpus/$name findings=$build/findings/$name/ log=$build/$name.log
    mkdir -p "$work" "$findings"
    seeds=
    [ -d "fuzz/corpus/$name" ] && seeds=fuzz/corpus/$name
    # Descriptions reach their 4096-character limit only in larger inputs.
    max_len=1024
    [ "$name" = termdef ] && max_len=8192
    # -entropic=0: the entropic schedule's bookkeeping took more than half
    # the time of the small targets; at these speeds plain scheduling finds
    # more per minute.
    "$f" -max_total_time="$seconds" -runs="$runs" -max_len=$max_len -entropic=0 \
        -timeout=10 -rss_limit_mb=2048 -print_final_stats=1 -artifact_prefix="$findings" \
        "$work" $seeds >"$log" 2>&1
    executions=$(sed -n 's/^stat::number_of_executed_units: *//p' "$log")
    speed=$(sed -n 's/^stat::average_exec_per_sec: *//p' "$log")
    # A finding ends the run before the final statistics: take the last status line.
    [ -n "$executions" ] || executions=$(grep -o '^#[0-9]*' "$log" | tail -n 1 | tr -d '#')
    [ -n "$speed" ] || speed=$(grep -o 'exec/s: [0-9]*' "$log" | tail -n 1 | cut -d' ' -f2)
    found=$(find "$findings" -type f | wc -l)
    total=$((total + found))
    printf '%-10s %12s %10s %9s\n' "$name" "${executions:-?}" "${speed:-?}" "$found"
    [ "$found" -eq 0 ] || tail -n 30 "$log"
done
[ "$total" -eq 0 ]
