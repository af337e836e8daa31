#!/usr/bin/env bash
# Builds the fuzzers and runs them side by side for a number of seconds: ./fuzz.sh SECONDS
# What they learn stays in build/fuzz/corpus, the input of a finding in build/fuzz/findings.
set -euo pipefail
cd -- "$(dirname -- "${BASH_SOURCE[0]}")" >/dev/null
if [ $# -ne 1 ] || ! [[ $1 =~ ^[1-9][0-9]{0,6}$ ]]; then
  echo "usage: $0 SECONDS, a whole number above 0" >&2
  exit 2
fi
. cmake/packages.sh
require_packages clang-14 libclang-rt-14-dev llvm-14 cmake ninja-build libgtest-dev libgmock-dev libcli11-dev libpng-dev

quietly cmake --preset fuzz
quietly cmake --build --preset fuzz

cd build/fuzz
findings=$PWD/findings
mkdir -p "$findings"
targets=(attributes noderecords nodevector session)
running=()
trap '[ ${#running[@]} -eq 0 ] || kill "${running[@]}" 2>/dev/null || true' EXIT
for target in "${targets[@]}"; do
  seeds=(../../tests/golden)
  [ ! -d "../../tests/fuzz/corpus/$target" ] || seeds+=("../../tests/fuzz/corpus/$target")
  mkdir -p "corpus/$target"
  "tests/fuzz/${target}_fuzz" -max_total_time="$1" -max_len=8192 -timeout=20 -malloc_limit_mb=16 \
    -dict=../../tests/fuzz/names.dict -artifact_prefix="$findings/$target-" -print_final_stats=1 \
    "corpus/$target" "${seeds[@]}" >"$target.log" 2>&1 &
  running+=($!)
done

status=0
for i in "${!targets[@]}"; do
  target=${targets[$i]}
  log=$target.log
  if wait "${running[$i]}"; then
    echo "$target: nothing found in $(sed -n 's/^stat::number_of_executed_units: *//p' "$log") inputs," \
      "$(grep -o 'cov: [0-9]*' "$log" | tail -n 1)"
  else
    status=1
    tail -n 100 "$log" >&2
    echo "$target: a finding. Again: build/fuzz/tests/fuzz/${target}_fuzz" \
      "$(sed -n 's/.*Test unit written to //p' "$log" | tail -n 1)" >&2
  fi
done
running=()
exit "$status"
