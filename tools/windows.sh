# shellcheck shell=bash
# Sourced by ./dev: the Windows build under Wine. Packages, what is laid into the Wine root (tools/wine.sh) for a run,
# and the account of the run; what happens in there is tools/windows_session.sh. Relies on `need`, `step`, `build` and
# `record` of ./dev.

. tools/wine.sh

windows_folder=build/windows  # laid out here first, and logs come back to here
type_record=sdk/TalvoBinaryEncoding.typelib.txt

need_windows_tools() {
  need g++-mingw-w64-i686-posix "compiles for 32-bit Windows" command -v i686-w64-mingw32-g++-posix
  need g++-mingw-w64-x86-64-posix "compiles for 64-bit Windows" command -v x86_64-w64-mingw32-g++-posix
  need mingw-w64-tools "compiles the IDL" command -v x86_64-w64-mingw32-widl
  need libwine-dev "the platform's own IDL files" test -e /usr/include/wine/wine/windows/oaidl.idl
  need python3 "makes message table and bitmaps" command -v python3
  need_wine
}

# The code blocks of a document that have a file name after their language, as files.
named_blocks() {
  awk -v folder="$2" '
    /^ *```/ {
      if (file) close(file)
      file = !open && NF == 2 ? folder "/" $2 : ""
      open = !open
      margin = index($0, "`")
      next
    }
    file { print substr($0, margin) > file }' "$1"
}

# compile_sample WIDTH SOURCE PROGRAM: as docs/automation.md says.
compile_sample() {
  local compiler=x86_64-w64-mingw32-g++-posix
  if [ "$1" = 32 ]; then compiler=i686-w64-mingw32-g++-posix; fi
  "$compiler" -std=c++20 -static -I sdk "$2" sdk/TalvoBinaryEncoding_guids.cpp -o "$3" -lole32 -loleaut32 -luuid
}

# Checks share a few lines, put before every script: script hosts have no include.
lay_out_scripts() {
  local kind file
  mkdir -p "$windows_folder/scripts/unregistered"
  for kind in vbs js; do
    for file in tests/scripts/*."$kind" tests/scripts/unregistered/*."$kind"; do
      if [ ! -e "$file" ]; then continue; fi  # the pattern itself: none of that kind
      local folder=${file%/*}
      cat "tests/scripts/shared/checks.$kind" "$file" >"$windows_folder/${folder#tests/}/${file##*/}"
    done
  done
}

lay_out_samples() {
  local file width
  mkdir -p "$windows_folder/samples"
  named_blocks docs/automation.md "$windows_folder/samples"
  diff tests/registration_free/program.manifest "$windows_folder/samples/program.manifest" || return 1
  for file in "$windows_folder"/samples/*.cpp; do
    for width in 32 64; do
      compile_sample "$width" "$file" "$windows_folder/$width/sample_$(basename "$file" .cpp).exe" || return 1
    done
  done
}

lay_out_tests() {
  rm -rf "$windows_folder"
  mkdir -p "$windows_folder"/{32,64,data} || return 1
  cp -r build/win32/bin/. "$windows_folder/32" || return 1
  cp -r build/win64/bin/. "$windows_folder/64" || return 1
  cp "$type_record" "$windows_folder/data" || return 1
  lay_out_scripts && lay_out_samples && hand_over
}

# What lies in the folder goes into the Wine root, in place of what an earlier run has left there.
hand_over() {
  cp tools/windows_session.sh "$windows_folder/session.sh" &&
    as_root rm -rf "$wine_home/run" &&
    as_root cp -r "$windows_folder" "$wine_home/run" &&
    as_root chown -R --reference="$wine_home" "$wine_home/run"
}

# session MODE: ends ./dev when it was interrupted. The logs come back.
session() {
  local code=0
  in_wine_root bash /home/wine/run/session.sh "$1" || code=$?
  as_root cp -r "$wine_home/run/logs" "$windows_folder/" || true
  as_root chown -R "$(id -u):$(id -g)" "$windows_folder/logs" || true
  if [ "$code" = 130 ]; then exit 130; fi
  return "$code"
}

# --- demo -------------------------------------------------------------------------------------------------------------

demo_windows() {
  need_build_tools
  need_windows_tools
  install_needed
  echo "Building the converter for 32-bit Windows"
  build win32 talvo TalvoBinaryEncoding
  setup_wine
  rm -rf "$windows_folder"
  mkdir -p "$windows_folder"/{32,samples}
  cp build/win32/bin/{talvo.exe,TalvoBinaryEncoding.dll} "$windows_folder/32/"
  named_blocks docs/automation.md "$windows_folder/samples"
  hand_over
  echo
  session demo
}

# --- one program ------------------------------------------------------------------------------------------------------

# run_on_windows WIDTH PROGRAM ARGUMENT...: a program of the built preset, in a Windows with nothing registered.
run_on_windows() {
  case ${1:-} in 32 | 64) ;; *) usage >&2; exit 2 ;; esac
  need_windows_tools
  install_needed
  setup_wine
  rm -rf "$windows_folder"
  mkdir -p "$windows_folder"/{"$1",data}
  cp -r "build/win$1/bin/." "$windows_folder/$1"
  cp "$type_record" "$windows_folder/data"
  hand_over
  in_wine_root bash /home/wine/run/session.sh run "$@"
}

# --- what is made of the IDL ------------------------------------------------------------------------------------------

# Writes the committed header and the record of the type library anew. Needs only the IDL to be right, not the module.
write_idl_files() {
  need_windows_tools
  install_needed
  build win64 generated_header type_library type_library_dump
  setup_wine
  rm -rf "$windows_folder"
  mkdir -p "$windows_folder"/{64,data}
  cp build/win64/bin/type_library_dump.exe build/win64/generated/TalvoBinaryEncoding.tlb "$windows_folder/64"
  hand_over
  cp build/win64/generated/sdk/TalvoBinaryEncoding.h sdk/
  in_wine_root bash /home/wine/run/session.sh run 64 type_library_dump.exe TalvoBinaryEncoding.tlb | tr -d '\r' \
    >build/record.txt
  cp build/record.txt "$type_record"
  git diff --stat -- sdk
}

# --- test -------------------------------------------------------------------------------------------------------------

test_windows() {
  local start=$SECONDS
  printf '\n== windows\n'
  if build win32 && build win64 && setup_wine &&
    step "lay out for Wine" build/windows-layout.log lay_out_tests; then
    check_what_was_built win32
    check_what_was_built win64
    session tests || true
    account_for 32
    account_for 64
  else
    record "windows (set-up)" 0 1 $((SECONDS - start))
  fi
}

# Checks that need no Windows: exports, imports, the generated header.
check_what_was_built() {
  check "$1, what was built" ctest --test-dir "build/$1" --output-on-failure
}

# account_for WIDTH: the figures of one Windows, and the end of the log of what failed there.
account_for() {
  local name good wrong all=0 bad=0 took=0 milliseconds
  while IFS=$'\t' read -r _ name good wrong _ milliseconds; do
    all=$((all + good)) bad=$((bad + wrong)) took=$((took + milliseconds))
    if [ "$wrong" != 0 ]; then
      printf '\n-- %s-bit Windows, %s (%s)\n' "$1" "$name" "$windows_folder/logs/$1/$name"
      grep -aE -B 12 '^\[  FAILED  \] .* \([0-9]+ ms\)$|^not ok' "$windows_folder/logs/$1/$name" | tail -n 60 ||
        tail -n 20 "$windows_folder/logs/$1/$name" || true
    fi
  done < <(grep "^$1"$'\t' "$windows_folder/logs/results")
  # Its last case shows that the run came to its end.
  if ! grep -q "^$1"$'\tregistry as it was\t' "$windows_folder/logs/results"; then bad=$((bad + 1)); fi
  record "${1}-bit Windows (Wine)" "$all" "$bad" $((took / 1000))
}

# compare_platforms SIDE...: one row a test program, one column a platform: the same tests everywhere, and what a
# platform excuses. The figures of Linux are there if that side ran too.
compare_platforms() {
  local linux=build/native/Testing/Temporary/LastTest.log
  printf '\nTests passed, by test program (-n failed, ~n excused)\n\n'
  {
    if [[ " $* " = *" linux "* && -e $linux ]]; then tr -d '\r' <"$linux"; fi
    cat "$windows_folder/logs/results"
  } | awk -F '\t' '
    function add(platform, program, key, count) {
      if (!(program in seen)) { seen[program] = 1; programs[++rows] = program }
      counts[platform, program, key] += count
      counts[platform, "all", key] += count
    }
    function cell(platform, program,    text) {
      text = counts[platform, program, "passed"] + 0
      if (counts[platform, program, "failed"]) text = text " -" counts[platform, program, "failed"]
      if (counts[platform, program, "excused"]) text = text " ~" counts[platform, program, "excused"]
      return text
    }
    function row(label, program) {
      printf "  %-20s %12s %12s %12s\n", label, cell("Linux", program), cell(32, program), cell(64, program)
    }
    /^[0-9]+\/[0-9]+ Testing: / { sub(/.*: /, ""); program = "test_" $0; next }
    /^\[  (PASSED|FAILED|SKIPPED) +\] [0-9]+ test/ {
      split($0, word, " ")
      key = word[2] == "PASSED" ? "passed" : word[2] == "FAILED" ? "failed" : "excused"
      match($0, /\] [0-9]+/)
      add("Linux", program, key, substr($0, RSTART + 2, RLENGTH - 2))
      next
    }
    /^Test time = / { split($0, word, " "); seconds["Linux"] += word[4]; next }
    $2 ~ /^test_/ {
      add($1, $2, "passed", $3)
      add($1, $2, "failed", $4)
      add($1, $2, "excused", $5)
      seconds[$1] += $6 / 1000
    }
    END {
      printf "  %-20s %12s %12s %12s\n", "", "Linux", "Windows 32", "Windows 64"
      for (i = 1; i <= rows; ++i) row(programs[i], programs[i])
      row("all", "all")
      printf "  %-20s %12.1f %12.1f %12.1f\n", "seconds", seconds["Linux"], seconds[32], seconds[64]
    }'
}
