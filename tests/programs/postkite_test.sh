#!/usr/bin/env bash
# postkite_test.sh PROGRAM PROJECT: the built program as a shell calls it, on real files.
set -euo pipefail
program=$1
project=$2
directory=$(mktemp -d)
trap 'rm -rf "$directory"' EXIT
export HOME=$directory/home LC_ALL=C.UTF-8
unset POSTKITE_DIR XDG_DATA_HOME
faults=0

check() {  # check WHAT EXPECTED ACTUAL
    [ "$2" = "$3" ] && return
    faults=$((faults + 1))
    printf 'FAULT: %s\n  expected: %s\n  actual:   %s\n' "$1" "$2" "$3"
}
status() {  # the exit status of a command whose output does not matter here
    "$@" >/dev/null 2>&1 && echo 0 || echo $?
}
postkite() { "$program" --dir "$directory/mail" "$@"; }

# The working directory: where it is looked for, and that nobody else can read what is made there.
umask 000
"$program" settings >/dev/null
check "default directory" 700 "$(stat -c %a "$HOME/.local/share/postkite/Setting")"
XDG_DATA_HOME=$directory/data "$program" settings >/dev/null
check "XDG_DATA_HOME" 0 "$(status test -d "$directory/data/postkite/Setting")"
POSTKITE_DIR=$directory/own "$program" settings set USERID AAA00001 2>/dev/null
check "POSTKITE_DIR, mode of a new file" 600 "$(stat -c %a "$directory/own/Setting/setting.ini")"

# A directory from a Windows machine is used as it is spelled.
mkdir -p "$directory/mail/SETTING"
printf 'MAIL WINDOW LEFT=7\r\nMAIL WINDOW TOP=8\r\n' >"$directory/mail/SETTING/Setting.INI"
check "letter case" 7 "$(postkite settings get 'MAIL WINDOW LEFT')"
postkite settings set 'MAIL WINDOW TOP' 9
check "no second directory" "SETTING" "$(ls "$directory/mail")"
check "no second file" "Setting.INI" "$(ls "$directory/mail/SETTING")"
check "lines of the file" 202 "$(wc -l <"$directory/mail/SETTING/Setting.INI")"
check "the other line" 7 "$(postkite settings get 1)"

# Two programs wait for each other: no change is lost.
for number in $(seq 176 195); do
    postkite settings set "$number" "$((number - 176))" 2>/dev/null &
done
wait
check "changes at one time" "$(seq 0 19 | xargs)" \
    "$(postkite settings | sed -n 's/^\(17[6-9]\|18.\|19[0-5]\)  Bank=//p' | xargs)"

# Switching changes both files.
postkite environments set 3 user=CCC00003 password=himitsu telephone=03-0000-0000 route=7 speed=9600 dialling=PB
check "its bank is on no disk" 1 "$(status postkite environments switch 3)"
mkdir "$directory/mail/MailBox14"
postkite environments switch 3
check "user of environment 3" CCC00003 "$(postkite settings get USERID)"
check "settings file" "CURRENT ID=3" "$(sed -n 's/\r$//; 64p' "$directory/mail/SETTING/Setting.INI")"
check "password in neither file" 1 "$(status grep -rq himitsu "$directory/mail")"

# Texts from what is no regular file.
postkite mail add Inbox --body <(printf 'from a pipe\n') >/dev/null
check "body from a pipe" 'from a pipe' "$(postkite mail show Inbox 0 --raw | tr -d '\r')"
check "body from nothing, from without an end" "0 1" \
    "$(status postkite mail add Inbox --body /dev/null) $(status postkite mail add Inbox --body /dev/zero)"

# A pipe that is closed early, a full disk for the output, wrong usage.
check "output that cannot be written" 1 "$(status sh -c "'$program' --dir '$directory/mail' settings >/dev/full")"
check "unknown command" 2 "$(status postkite nonsense)"
check "no command" 2 "$(status postkite)"
check "help on every level" "0 0 0" \
    "$(status postkite --help) $(status postkite settings --help) $(status postkite environments set --help)"

# Every command stands in the manual; the shell's completion reaches the program.
for command in $("$program" complete -- ""); do
    for line in "$command" $("$program" complete -- "$command" "" | sed "s/^/$command:/"); do
        check "manual: $line" 0 "$(status grep -Eq "^\.(B|BR|BI) \"?${line/:/ }" "$project/packaging/postkite.1")"
    done
done
unset -f postkite
PATH=$(dirname "$program"):$PATH
source "$project/packaging/postkite.bash-completion"
COMP_WORDS=(postkite settings get 'MAIL\ WINDOW\ L')
COMP_CWORD=3
_postkite
check "completion" 'MAIL\ WINDOW\ LEFT' "${COMPREPLY[*]}"
COMP_WORDS=(postkite settings get '"MAIL WINDOW L')
_postkite
check "completion behind a quote" 'MAIL WINDOW LEFT' "${COMPREPLY[*]}"

[ "$faults" -eq 0 ]
