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

xvfb-run -a -s "-screen 0 1280x1024x24" bash -c '
  "$1" --rate "$2" --seconds "$3" &
  pid=$!
  t=0
  while kill -0 "$pid" 2>/dev/null; do
    rss=$(awk "/^VmRSS:/ { print \$2 }" "/proc/$pid/status" 2>/dev/null || true)
    [ -n "$rss" ] && echo "soak: t=${t}s rss=${rss}kB"
    sleep 10
    t=$((t + 10))
  done
  wait "$pid"
' soak "$scope" "$rate" "$seconds" | awk '
  { print; fflush() }
  /^soak: t=/ { split($2, a, "="); split($3, b, "="); t = a[2] + 0; r = b[2] + 0
                if (t >= 60 && !base) { base = r; baseT = t } last = r; lastT = t }
  END { if (base) printf "soak: rss %d kB at %d s, %d kB at %d s: %+d kB after the first minute\n", base, baseT, last, lastT, last - base }'
