#!/bin/sh
# against_koltasim.sh KOLTASIM PROGRAM: runs PROGRAM with the address of a simulated server as its argument.
set -eu

directory=$(mktemp -d)
mkfifo "$directory/said"
"$1" --listen 127.0.0.1:0 >"$directory/said" &
server=$!
trap 'kill $server 2>/dev/null; rm -rf "$directory"' EXIT

# "<name> listens on <address>:<port>"; the pipe stays open, so that the server never writes into a closed one.
exec 3<"$directory/said"
read -r line <&3
"$2" "${line##* }"
