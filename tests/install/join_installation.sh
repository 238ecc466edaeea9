#!/bin/sh
# join_installation.sh KOLTA PROGRAM: PROGRAM joins an installation, hears of an order of another process, and goes on when
# the broker was killed.
set -eu

directory=$(mktemp -d)
export KOLTA_CONFIG="$directory/kolta.ini"
mkfifo "$directory/up" "$directory/heard"
"$1" up --restart >"$directory/up" 2>&1 &
up=$!
program=
trap 'kill $program $up 2>/dev/null; wait $up; rm -rf "$directory"' EXIT
exec 3<"$directory/up"
read -r _ tree <&3
export KOLTA_TREE="$tree"
read -r _ broker <&3

"$2" >"$directory/heard" 2>&1 &
program=$!
exec 4<"$directory/heard"
# Reads on up to a line that has the text, and prints all of it.
until_heard() {
    while read -r line <&4; do
        echo "$line"
        case $line in *"$1"*) return ;; esac
    done
    exit 1
}
until_heard "S1 is there"
"$1" produce mcp --class "Basic hardware" >/dev/null
until_heard "tuner ZELM 7 West is in use"
kill -9 "$broker"
until_heard "the line is down"
until_heard "joined"
"$1" stop --all >/dev/null
until_heard "tuner ZELM 7 West is free"
