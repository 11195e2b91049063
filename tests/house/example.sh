#!/usr/bin/env bash
# example.sh COMMAND EXAMPLE CONVERT_FILES: the examples run against the registered module, as their reader would try
# them; the last one on itself.
set -euo pipefail
folder=$(mktemp -d)
trap 'rm -rf "$folder"' EXIT
"$1" register
[ "$("$2" | tr -d '\r')" = "SGVsbG8sIAD/IQ==" ]
"$3" "$3" "$folder"
