#!/usr/bin/env bash
# Runs one fuzz target for a number of minutes on one core and leaves what it
# found where a person can pick it up:
#   fuzz/findings/TARGET/   crashes, leaks, timeouts and out-of-memory inputs
#   fuzz/campaign/TARGET/   the grown corpus (kept between runs, not committed)
#   fuzz/campaign/TARGET.log  libFuzzer's log; the last lines give executions,
#                             exec/s and coverage
# Builds the libFuzzer targets first (clang, in build-fuzz unless
# KVSVG_FUZZ_BUILD names another folder). A finding, once fixed, goes into
# fuzz/regressions/TARGET/, which the ordinary tests run.
#
#   fuzz/run-campaign.sh TARGET MINUTES [extra libFuzzer options]
#   TARGET: load values data_uri codecs render writer filter legacy
set -euo pipefail
if [ $# -lt 2 ]; then
  sed -n '2,14p' "$0" >&2
  exit 2
fi
target=$1
minutes=$2
shift 2
root=$(cd "$(dirname "$0")/.." && pwd)
build=${KVSVG_FUZZ_BUILD:-$root/build-fuzz}
case $target in
  load|render|filter) dict=svg ;;
  values|data_uri|codecs|legacy) dict=$target ;;
  writer) dict= ;;  # a program of engine calls: no words to offer
  *) echo "unknown target: $target" >&2; exit 2 ;;
esac

if [ ! -f "$build/CMakeCache.txt" ]; then
  launcher=()
  command -v ccache >/dev/null && launcher=(-DCMAKE_C_COMPILER_LAUNCHER=ccache -DCMAKE_CXX_COMPILER_LAUNCHER=ccache)
  cmake -S "$root" -B "$build" -G Ninja -DCMAKE_BUILD_TYPE=RelWithDebInfo -DKVSVG_FUZZ=ON \
    -DKVSVG_BUILD_TESTS=OFF -DCMAKE_C_COMPILER=clang -DCMAKE_CXX_COMPILER=clang++ "${launcher[@]}" >/dev/null
fi
cmake --build "$build" --target "kvsvg_fuzz_$target" >/dev/null

corpus=$root/fuzz/campaign/$target
findings=$root/fuzz/findings/$target
mkdir -p "$corpus" "$findings"
log=$root/fuzz/campaign/$target.log
inputs=("$root/fuzz/corpus/$target")
[ -d "$root/fuzz/regressions/$target" ] && inputs+=("$root/fuzz/regressions/$target")

# One second and 512 MB for any input of up to 64 KB: past that a limit of
# the library should have ended the work with a status.
# The process's RSS holds ASan's quarantine of freed blocks as well (256 MB
# unless told otherwise): kept at 64 MB, the limit measures what the
# library holds, not what the sanitizer keeps back.
export ASAN_OPTIONS=${ASAN_OPTIONS:-detect_leaks=1:allocator_may_return_null=1:quarantine_size_mb=64}
export UBSAN_OPTIONS=${UBSAN_OPTIONS:-print_stacktrace=1:halt_on_error=1}
dict_option=()
[ -n "$dict" ] && dict_option=(-dict="$root/fuzz/dict/$dict.dict")
status=0
"$build/fuzz/kvsvg_fuzz_$target" -max_total_time=$((minutes * 60)) -max_len=65536 -timeout=1 \
  -rss_limit_mb=512 -malloc_limit_mb=512 "${dict_option[@]}" -artifact_prefix="$findings/" \
  -print_final_stats=1 "$@" "$corpus" "${inputs[@]}" 2>"$log" || status=$?
grep -E '^(#[0-9]+|stat::|Done)' "$log" | tail -12
found=$(find "$findings" -type f | wc -l)
echo "corpus: $(find "$corpus" -type f | wc -l) inputs; findings in $findings: $found; log: $log"
exit $status
