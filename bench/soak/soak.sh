#!/usr/bin/env bash
# Soak run of the kivscope demo under Xvfb: every producer at the given rate (default: as fast
# as it goes) for SECONDS (default 600). Prints the resident memory every 10 s and how much it
# grew after the first minute; a flat curve means nothing accumulates.
# Usage: bench/soak/soak.sh [build dir] [seconds] [samples/s per producer]
set -euo pipefail
build=${1:-build}
seconds=${2:-600}
rate=${3:-100000000}
scope="$build/examples/kivscope/kivscope"
[ -x "$scope" ] || { echo "soak: build kivscope first ($scope)" >&2; exit 1; }

exec xvfb-run -a -s "-screen 0 1280x1024x24" bash -c '
  "$1" --rate "$2" --seconds "$3" &
  pid=$!
  t=0
  base=""
  while rss=$(awk "/^VmRSS:/ { print \$2 }" "/proc/$pid/status" 2>/dev/null) && [ -n "$rss" ]; do
    echo "soak: t=${t}s rss=${rss}kB"
    [ "$t" -eq 60 ] && base=$rss
    last=$rss
    sleep 10
    t=$((t + 10))
  done
  wait "$pid"
  [ -n "$base" ] && echo "soak: rss ${base} kB at 60 s, ${last} kB at $((t - 10)) s: $((last - base)) kB after the first minute"
  true
' soak "$scope" "$rate" "$seconds"
