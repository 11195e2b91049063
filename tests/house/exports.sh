#!/usr/bin/env bash
# exports.sh MODULE: the module exports the entry points of an in-process server, the stand-in's image, nothing else.
set -euo pipefail
diff <(nm -D --defined-only "$1" | awk '{ print $NF }' | sort) - <<'NAMES'
DllCanUnloadNow
DllGetClassObject
DllRegisterServer
DllUnregisterServer
platform_image
NAMES
