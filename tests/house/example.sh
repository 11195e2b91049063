#!/usr/bin/env bash
# example.sh COMMAND EXAMPLE CONVERT_FILES [README]: the examples run against the registered module, as their reader would
# try them; the last one on itself. With the README, its block "client" too: a root folder is laid out in which the build
# of COMMAND is build/native.
set -euo pipefail
folder=$(mktemp -d)
trap 'rm -rf "$folder"' EXIT
good="SGVsbG8sIAD/IQ=="
"$1" register
[ "$("$2" | tr -d '\r')" = "$good" ]
"$3" "$3" "$folder"
[ $# -ge 4 ] || exit 0
root=$(dirname "$4")
mkdir -p "$folder/root/build/native"
ln -s "$root/sdk" "$root/platform" "$root/examples" "$folder/root"
ln -s "$(dirname "$1")" "$folder/root/build/native/bin"
cd "$folder/root"
awk '/^```sh client$/ { on = 1; next } /^```$/ { on = 0 } on' "$4" >client.sh
printed=$(bash -e client.sh)
[ "$printed" = "$good" ] || { echo "the README's client prints: $printed"; exit 1; }
