# The fuzz targets, for ./dev: builds them and runs them all, side by side on the cores. Sourced by dev.
# Each target keeps what it has learnt in build/native-fuzz/corpus, so a later run begins where an earlier one ended;
# what breaks a promise goes to build/native-fuzz/found.

need_fuzz_tools() {
  need clang-14 "builds the fuzz targets" command -v clang++-14
  need libclang-rt-14-dev "the fuzzer they are linked with" \
    sh -c 'ls /usr/lib/llvm-14/lib/clang/*/lib/linux/libclang_rt.fuzzer-*.a'
}

# The folder of the seeds: texts of the format, or bytes that all formats encode.
seeds_of() {
  case $1 in
    fuzz_decode_*) echo "fuzz/corpus/${1#fuzz_decode_}" ;;
    *) echo fuzz/corpus/bytes ;;
  esac
}

# fuzz_one SECONDS TARGET: leaves TARGET.log, and TARGET.failed if the target failed.
fuzz_one() {
  local target=$2 folder=build/native-fuzz
  mkdir -p "$folder/corpus/$target" "$folder/found"
  rm -f "$folder/$target.failed"
  "$folder/bin/$target" -max_total_time="$1" -max_len=1024 -timeout=20 -rss_limit_mb=2048 -print_final_stats=1 \
    -artifact_prefix="$folder/found/$target-" "$folder/corpus/$target" "$(seeds_of "$target")" \
    >"$folder/$target.log" 2>&1 || touch "$folder/$target.failed"
}

# Says what a target found and how to see it again.
show_found() {
  local log=build/native-fuzz/$1.log input
  grep -E 'Broken promise|ERROR: |runtime error|SUMMARY: ' "$log" | head -n 5 | sed 's/^/    /'
  input=$(sed -nE 's/.*Test unit written to (.*)/\1/p' "$log" | head -n 1)
  [ -n "$input" ] || { tail -n 20 "$log"; return 0; }
  head -c 256 "$input" | od -A d -t x1z | sed 's/^/    /'
  printf '    again:   build/native-fuzz/bin/%s %s\n' "$1" "$input"
  printf '    smaller: the same with -minimize_crash=1 -runs=100000\n'
}

# run_fuzzers SECONDS: of the clock, for all targets together. A line a target, one record.
run_fuzzers() {
  local target targets each executed good=0 bad=0 start=$SECONDS
  targets=$(cd build/native-fuzz/bin && ls -d fuzz_*)
  each=$(($1 * $(jobs) / $(wc -w <<<"$targets")))
  if [ "$each" -lt 1 ]; then each=1; fi
  export -f fuzz_one seeds_of
  xargs -n 1 -P "$(jobs)" bash -c 'fuzz_one "$0" "$1"' "$each" <<<"$targets"
  for target in $targets; do
    executed=$(sed -nE 's/stat::number_of_executed_units: *//p' "build/native-fuzz/$target.log")
    if [ -e "build/native-fuzz/$target.failed" ]; then
      printf '  %-34s FAILED\n' "$target"
      show_found "$target"
      bad=$((bad + 1))
    else
      printf '  %-34s %9d inputs, %s\n' "$target" "$executed" \
        "$(sed -nE 's/.*DONE +(cov: [0-9]+).*/\1/p' "build/native-fuzz/$target.log")"
      good=$((good + 1))
    fi
  done
  record "native-fuzz" $good $bad $((SECONDS - start))
}

fuzz() {
  need_build_tools
  need_fuzz_tools
  install_needed
  echo "Fuzzing for $1 seconds"
  build native-fuzz fuzz
  run_fuzzers "$1"
  [ "$failed" = 0 ]
}

test_fuzz() {
  local start=$SECONDS
  echo
  echo "== native-fuzz"
  if build native-fuzz fuzz; then run_fuzzers 60; else record "native-fuzz (build)" 0 1 $((SECONDS - start)); fi
}
