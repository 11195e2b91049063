#!/usr/bin/env bash
# windows_session.sh tests | demo | run WIDTH PROGRAM ARGUMENT...: runs inside the Wine root (tools/wine.sh), as an
# ordinary user, on what ./dev has put into ~/run: 32/ and 64/ (programs and modules), data/, scripts/, samples/. Both
# widths run side by side, each in a Windows prefix of its own. For every case one line goes to standard output and one
# to ~/run/logs/results:
#   WIDTH CASE PASSED FAILED EXCUSED MILLISECONDS   (separated by tabs)
# The whole output of a case is in ~/run/logs/WIDTH/CASE.
set -uo pipefail

run=$HOME/run
export WINEDEBUG=-all WINEDLLOVERRIDES="mscoree,mshtml,winedbg.exe="  # a crash ends the process, nobody looks into it

milliseconds() { echo $(($(date +%s%N) / 1000000)); }
windows_path() { echo "Z:${1//\//\\}"; }

# --- one Windows ------------------------------------------------------------------------------------------------------

# Begins with the registry of a fresh prefix, whatever an earlier run has left. With a server that stays, a process
# starts in a tenth of the time.
start_windows() {
  width=$1
  bin=$run/$width
  logs=$run/logs/$width
  module=$(windows_path "$bin/TalvoBinaryEncoding.dll")
  export WINEPREFIX=$HOME/prefix$width WINEARCH=win$width WINELOADER=/usr/lib/wine/wine${width/32/}
  TALVO_COMMAND=$(windows_path "$bin/talvo.exe")
  TALVO_TEST_DATA=$(windows_path "$run/data")
  export TALVO_COMMAND TALVO_TEST_DATA TALVO_MODULE=$module TALVO_REGISTRY=prefix
  mkdir -p "$logs"
  cp "$HOME/fresh/prefix$width"/*.reg "$WINEPREFIX/"
  # Windows draws the frames of windows itself: there is no window manager to wait for.
  printf '\n[Software\\\\Wine\\\\X11 Driver]\n"Managed"="N"\n' >>"$WINEPREFIX/user.reg"
  rm -rf "$WINEPREFIX/drive_c/users/wine/Temp"/*
  # Wine draws the buttons of a caption with this font, and does not find its own by itself.
  cp /usr/share/wine/fonts/marlett.ttf "$WINEPREFIX/drive_c/windows/Fonts/"
  mkdir -p "$logs/pictures"
  TALVO_PICTURES=$(windows_path "$logs/pictures")
  export TALVO_PICTURES
  start_screen
  serve
}

# A screen that nobody sees, for this Windows alone. It ends with the namespace that this script runs in.
start_screen() {
  local number=$logs/screen
  Xvfb -displayfd 3 -screen 0 1024x768x24 -nolisten tcp 3>"$number" >"$logs/Xvfb" 2>&1 </dev/null &
  for _ in {1..100}; do
    if [ -s "$number" ]; then break; fi
    sleep 0.1
  done
  DISPLAY=:$(cat "$number")
  export DISPLAY
}
# The first process starts the system's services; they keep its output open for as long as they live.
serve() {
  /usr/lib/wine/wineserver --persistent
  windows cmd /c exit >/dev/null 2>&1
}

stop_windows() { /usr/lib/wine/wineserver --kill; }

# windows PROGRAM ARGUMENT...: no input, and not for ever.
windows() { timeout --kill-after=5 "${limit:-60}" "$WINELOADER" "$@" </dev/null; }

# output_of PROGRAM ARGUMENT...: with line ends of ours. Goes through a file: a process left behind would keep a pipe
# open.
output_of() {
  local code=0
  windows "$@" >"$logs/raw output" 2>&1 || code=$?
  tr -d '\r' <"$logs/raw output"
  return "$code"
}

script() { output_of cscript //nologo "$(windows_path "$1")"; }

regsvr32() { windows regsvr32 /s "$@" "$module"; }

# --- cases ------------------------------------------------------------------------------------------------------------

# result CASE PASSED FAILED EXCUSED START
result() {
  local took=$(($(milliseconds) - $5))
  printf '%s\t%s\t%d\t%d\t%d\t%d\n' "$width" "$1" "$2" "$3" "$4" "$took" >>"$run/logs/results"
  printf '  %s-bit  %-26s %4d passed %3d failed %6d ms\n' "$width" "$1" "$2" "$3" "$took"
}

# check CASE COMMAND...: passes if the command does.
check() {
  local name=$1 start
  start=$(milliseconds)
  shift
  if "$@" >"$logs/$name" 2>&1; then result "$name" 1 0 0 "$start"; else result "$name" 0 1 0 "$start"; fi
}

# A GoogleTest program: its own figures, and at least one failure if it did not come to its end.
test_program() {
  local name log start passed failed excused code=0
  name=$(basename "$1" .exe)
  log=$logs/$name
  start=$(milliseconds)
  (cd "$bin" && limit=300 output_of "$1" --gtest_color=no) >"$log" || code=1
  passed=$(sed -nE 's/^\[  PASSED  \] ([0-9]+) tests?\.$/\1/p' "$log")
  failed=$(grep -c '^\[  FAILED  \] .* ([0-9]* ms)$' "$log")
  excused=$(sed -nE 's/^\[  SKIPPED \] ([0-9]+) tests?, listed below:$/\1/p' "$log")
  if { [ "$code" != 0 ] || [ "${passed:-0}" = 0 ]; } && [ "$failed" = 0 ]; then failed=1; fi
  result "$name" "${passed:-0}" "$failed" "${excused:-0}" "$start"
}

# A script of checks. A script host says nothing and ends with 0 when a script dies of an error, so the last line must
# be there, and in it the number of checks.
test_script() {
  local name log start counts
  name=$(basename "$1")
  log=$logs/$name
  start=$(milliseconds)
  script "$1" >"$log"
  counts=$(tail -n 1 "$log" | sed -nE 's/^end of checks: ([0-9]+) passed, ([0-9]+) failed$/\1 \2/p')
  if [ -z "$counts" ]; then
    echo "(the script did not come to its end)" >>"$log"
    counts="$(grep -c '^ok ' "$log") $(($(grep -c '^not ok ' "$log") + 1))"
  fi
  # shellcheck disable=SC2086
  result "$name" $counts 0 "$start"
}

# A sample of the documentation prints what the documentation says, to the letter. samples/NAME has its output in
# samples/NAME.out; a program made from NAME.cpp is in the folder of the width.
sample() {
  if [[ $1 == *.cpp ]]; then
    (cd "$bin" && output_of "sample_$(basename "$1" .cpp).exe")
  else
    script "$1"
  fi | diff - "$1.out"
}

# The software settings of machine and user, as the server writes them when it stops; without the times of change, and
# without the list of network cards, which a service of Wine empties and fills as it starts.
registry() {
  /usr/lib/wine/wineserver --kill
  /usr/lib/wine/wineserver --wait
  awk '
    /^#time=/ { next }
    /^\[/ { sub(/\] [0-9]+$/, "]"); wanted = (FILENAME !~ /system.reg$/ || /^\[Software\\\\/) && !/NetworkCards\]/ }
    wanted' "$WINEPREFIX/system.reg" "$WINEPREFIX/user.reg"
  serve
}
keep_registry() { registry >"$logs/registry-$1"; }

# same_registry NAME: the registry now is the one that was kept under that name.
same_registry() { diff "$logs/registry-$1" <(registry); }

example_prints() { [ "$(output_of "$bin/example_encode.exe")" = "SGVsbG8sIAD/IQ==" ]; }

without_screen() {
  (unset DISPLAY &&
    output_of "$bin/test_windows.exe" --gtest_also_run_disabled_tests --gtest_filter='DISABLED_NoScreen*')
}

register_twice() {
  regsvr32 || return 1
  keep_registry registered
  if cmp -s "$logs/registry-before" "$logs/registry-registered"; then return 1; fi
  regsvr32 && same_registry registered
}
unregister_twice() { regsvr32 /u && same_registry before && regsvr32 /u && same_registry before; }

# Classes that are there, and no type library to serve their late-bound calls from.
without_type_library() {
  local library='HKLM\Software\Classes\TypeLib\{acdab115-5726-46fd-a9b9-ea6543a7f791}'
  regsvr32 && windows reg query "$library" && windows reg delete "$library" /f
}

tests_of_width() {
  local program file
  start_windows "$1"
  keep_registry before
  for program in "$bin"/test_*.exe; do
    if [ -e "$program" ]; then test_program "$program"; else check "test programs" false; fi
  done
  check "without a screen" without_screen
  check "registry after the tests" same_registry before
  check "registered twice" register_twice
  for file in "$run"/scripts/*.*; do test_script "$file"; done
  for file in "$run"/samples/*.{vbs,js,cpp}; do
    if [ -e "$file" ]; then check "$(basename "$file")" sample "$file"; fi
  done
  check "example_encode" example_prints
  check "unregistered twice" unregister_twice
  check "type library unregistered" without_type_library
  for file in "$run"/scripts/unregistered/*; do test_script "$file"; done
  regsvr32 && regsvr32 /u
  check "registry as it was" same_registry before
  stop_windows
}

# --- demo -------------------------------------------------------------------------------------------------------------

talvo() { windows "$bin/talvo.exe" "$@"; }

# timed COMMAND...: leaves in $took how long it took.
timed() {
  local start code=0
  start=$(milliseconds)
  "$@" || code=$?
  took=$(($(milliseconds) - start))
  return "$code"
}

# There and back in one format; a row of the table. More options come behind the format.
round_trip() {
  local file=$1 format=$2 text=$1.$2 back=$1.$2.back encoded verdict=identical
  shift 2
  timed talvo encode -f "$format" "$@" "$file" -o "$text" || verdict=FAILED
  encoded=$took
  timed talvo decode -f "$format" "$@" "$text" -o "$back" || verdict=FAILED
  if [ $verdict = identical ] && ! cmp -s "$file" "$back"; then verdict=DIFFERENT; fi
  printf '  %-8s %10d %11d %7d ms %7d ms  %s\n' \
    "$format" "$(stat -c %s "$file")" "$(stat -c %s "$text")" "$encoded" "$took" "$verdict"
  [ $verdict = identical ]
}

demo() {
  local good=yes outside=yes file=TalvoBinaryEncoding.dll format
  start_windows 32
  cd "$bin" || return 1
  printf '$ talvo.exe register\n'
  talvo register || good=no
  printf '\nA real file (%s) through talvo.exe encode -f FORMAT, and back\n\n' "$file"
  printf '  %-8s %10s %11s %10s %10s\n' format "bytes in" "text bytes" encode decode
  # Not text: its line breaks are bytes like all others.
  # shellcheck disable=SC2086
  for format in uu xx base64 hex "qp -b none" binhex; do round_trip "$file" $format || good=no; done
  tr -d '\r' <"$file.base64" | base64 -d | cmp -s - "$file" || outside=no
  printf '\n  "identical": the way back gives the bytes of the file; coreutils'"'"' base64 -d reads the\n'
  printf '  Base64 text the same: %s. The times include the start of a process.\n' "$outside"

  printf '\nA script, from docs/automation.md:\n\n'
  sed 's/^/  /' "$run/samples/hello.vbs"
  printf '\n$ cscript hello.vbs\n'
  script "$run/samples/hello.vbs" | tee "$logs/hello.vbs"
  cmp -s "$logs/hello.vbs" "$run/samples/hello.vbs.out" || good=no

  printf '\n$ talvo.exe unregister\n'
  talvo unregister || good=no
  printf '\n$ cscript hello.vbs\n'
  script "$run/samples/hello.vbs" >"$logs/hello.vbs"
  if [ -s "$logs/hello.vbs" ]; then good=no; else echo "(nothing: it does not find the component)"; fi
  stop_windows
  [ "$good$outside" = yesyes ]
}

# --- main -------------------------------------------------------------------------------------------------------------

case $1 in
  tests)
    mkdir -p "$run/logs"
    tests_of_width 32 &
    tests_of_width 64 &
    wait
    ;;
  demo) demo ;;
  run)
    start_windows "$2"
    cd "$bin" || exit 1
    code=0
    limit=3600 windows "${@:3}" || code=$?
    stop_windows
    exit "$code"
    ;;
esac
