#!/usr/bin/env bash
# module_file.sh OBJDUMP MODULE: the module exports the entry points of an in-process server under their plain names and
# nothing else, and needs nothing but modules that are a part of Windows.
set -euo pipefail

exports() {
  "$1" -p "$2" | awk '
    /^\[Ordinal\/Name Pointer\] Table/ { names = 1; next }
    names && !/^[[:space:]]*\[/ { exit }
    names { print $NF }' | sort
}
diff <(exports "$@") - <<'NAMES'
DllCanUnloadNow
DllGetClassObject
DllRegisterServer
DllUnregisterServer
NAMES

imports() { "$1" -p "$2" | sed -nE 's/^[[:space:]]*DLL Name: (.*)$/\1/p' | tr '[:upper:]' '[:lower:]' | sort; }
[ -n "$(imports "$@")" ]
foreign=$(imports "$@" | grep -vxE '(advapi32|comctl32|gdi32|kernel32|msvcrt|ole32|oleaut32|shell32|user32|version)\.dll' || true)
if [ -n "$foreign" ]; then
  echo "It needs modules that are no part of Windows:" $foreign
  exit 1
fi
