#!/usr/bin/env bash
# example.sh COMMAND EXAMPLE: the example of the README runs against the registered module, as its reader would try it.
set -euo pipefail
"$1" register
[ "$("$2" | tr -d '\r')" = "SGVsbG8sIAD/IQ==" ]
