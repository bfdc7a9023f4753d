#!/usr/bin/env bash
# Whole-process throughput of `kvsvg render-batch` on real files from Debian
# packages: 500 Papirus icons at 256 px and 200 openclipart drawings at
# 1024 px, every k-th of the sorted files with distinct contents.
# Usage: bench/render/corpus.sh [KVSVG] [-- extra render options]
set -euo pipefail
kvsvg=${1:-build-rel/tools/kvsvg/kvsvg}
shift || true
[ "${1:-}" = "--" ] && shift
extra=("$@")
work=${CORPUS_DIR:-/tmp/kvsvg-corpus}
mkdir -p "$work/out"

for package in papirus-icon-theme openclipart-svg; do
  dpkg-query -W -f='${Status}' "$package" 2>/dev/null | grep -q "ok installed" || {
    apt-get update -qq && DEBIAN_FRONTEND=noninteractive apt-get install -y -qq --no-install-recommends "$package"
  }
done
command -v /usr/bin/time >/dev/null || DEBIAN_FRONTEND=noninteractive apt-get install -y -qq time

# Regular files only (the icon theme is mostly links), one per content, sorted.
pick() {  # DIR COUNT LIST
  find "$1" -type f \( -name '*.svg' -o -name '*.svgz' \) -print0 | sort -z | xargs -0 md5sum |
    sort -k1,1 -u | sort -k2 | awk '{print $2}' > "$work/all.txt"
  local total k
  total=$(wc -l < "$work/all.txt")
  k=$(( total / $2 )); [ "$k" -ge 1 ] || k=1
  awk -v k="$k" -v n="$2" -v out="$work/out/$4" 'NR % k == 1 || k == 1 { if (c < n) { printf "%s\t%s/%d.png\n", $0, out, c; c++ } }' \
    "$work/all.txt" > "$3"
  mkdir -p "$work/out/$4"
  echo "$4: $total distinct files, every ${k}th: $(wc -l < "$3")"
}
pick /usr/share/icons/Papirus 500 "$work/icons.list" icons
pick /usr/share/openclipart 200 "$work/clipart.list" clipart

run() {  # LIST WIDTH NAME
  local start end files ok
  start=$(date +%s.%N)
  /usr/bin/time -v "$kvsvg" render-batch "$1" --width "$2" --background white "${extra[@]}" \
    > "$work/$3.results" 2> "$work/$3.time" || true
  end=$(date +%s.%N)
  files=$(wc -l < "$work/$3.results")
  ok=$(grep -c '^ok' "$work/$3.results" || true)
  printf '%s: %d files at %d px, %d rendered, %.1f files/s, peak RSS %s kB\n' "$3" "$files" "$2" "$ok" \
    "$(echo "$files / ($end - $start)" | bc -l)" "$(awk '/Maximum resident/ {print $6}' "$work/$3.time")"
  echo "  failures by reason:"
  grep '^fail' "$work/$3.results" | cut -f3 | sed 's/ (.*//' | sort | uniq -c | sort -rn | sed 's/^/    /' || true
}
run "$work/icons.list" 256 icons
run "$work/clipart.list" 1024 clipart

# Path records in each syntax, when the program was built beside the tool.
paths=$(dirname "$kvsvg")/../../bench/render/corpus_paths
if [ -x "$paths" ]; then
  for list in icons clipart; do
    echo "$list:"
    "$paths" "$work/$list.list" | sed 's/^/  /'
  done
fi
