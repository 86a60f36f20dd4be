#!/usr/bin/env bash
# desktop_test.sh POSTKITE_DESKTOP POSTKITE: the built desktop on a real X server of 1280 x 800, by keys and signals alone.
set -euo pipefail
desktop=$1
postkite=$2

if [ -z "${ON_TEST_SCREEN:-}" ]; then
    ON_TEST_SCREEN=1 exec xvfb-run --auto-servernum --server-args="-screen 0 1280x800x24" "$0" "$@"
fi

directory=$(mktemp -d)
trap 'kill $(jobs -p) 2>/dev/null || true; rm -rf "$directory"' EXIT
export QT_QPA_PLATFORM=xcb LANG=C.UTF-8 POSTKITE_DIR=$directory/mail XDG_STATE_HOME=$directory/state
unset LC_ALL LC_MESSAGES
mkdir -m 700 "$directory/run"
export XDG_RUNTIME_DIR=$directory/run

# What the system's libraries keep for the life of the process is no leak of the program; as in tests/ui/main.cpp.
printf 'leak:%s\n' libfontconfig libX11 libxcb libglib libdbus >"$directory/library_leaks"
export LSAN_OPTIONS=suppressions=$directory/library_leaks:print_suppressions=0

fail() {
    echo "desktop_test: $*" >&2
    cat "$directory/errors" >&2 2>/dev/null || true
    exit 1
}

# Waits, a minute at most, until a command says yes.
wait_for() {
    for _ in $(seq 600); do
        "$@" >/dev/null 2>&1 && return 0
        sleep 0.1
    done
    fail "this did not come: $*"
}

# The keyboard is with a window of the program.
is_active() { [[ "$(xdotool getactivewindow getwindowname)" == *Postkite* ]]; }

start() {
    "$desktop" "$@" 2>"$directory/errors" &
    program=$!
    wait_for is_active
}

gone() { ! kill -0 "$program" 2>/dev/null; }

# A window is the active one a moment before the keyboard is with it, so that the first press can be lost.
end_by_key() {
    for _ in $(seq 60); do
        xdotool key "$1"
        for _ in $(seq 10); do
            gone && return 0
            sleep 0.1
        done
    done
    fail "$1 did not end the program"
}

# A window that comes before the window manager never gets the keyboard.
openbox --startup "touch $directory/managed" >/dev/null 2>&1 &
wait_for [ -e "$directory/managed" ]

# A first start in an empty directory; the key that ends the program writes the settings.
start
[ ! -e "$POSTKITE_DIR/Setting/setting.ini" ] || fail "the settings were written before the end"
end_by_key alt+x
wait "$program" || fail "the end by key: exit status $?"
[ "$(wc -l <"$POSTKITE_DIR/Setting/setting.ini")" -eq 202 ] || fail "the settings were not written"

# The terminal program adds a mail while the desktop runs; SIGTERM ends the desktop as a person would.
start
echo text | "$postkite" mail add Inbox --subject kite --body - >/dev/null
kill -TERM "$program"
wait_for gone
wait "$program" || fail "the end by signal: exit status $?"
"$postkite" mail list Inbox | grep -q kite || fail "the mail is gone"

# What cannot be worked in ends with a box and status 1.
echo "a file" >"$directory/file"
start --dir "$directory/file"
end_by_key Return
status=0
wait "$program" || status=$?
[ "$status" -eq 1 ] || fail "a file as working directory: exit status $status"

"$desktop" --version | grep -q "^postkite-desktop " || fail "--version"
status=0
"$desktop" --no-such-option 2>/dev/null || status=$?
[ "$status" -eq 2 ] || fail "wrong usage: exit status $status"
echo "desktop: all well"
