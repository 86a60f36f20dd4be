#!/usr/bin/env bash
# session_test.sh POSTKITE HOST: both built programs, on the two ends of a pseudo-terminal. Each case has
# a directory of its own and runs beside the others: they mostly wait.
set -euo pipefail
program=$1
host=$2
directory=$(mktemp -d)
trap 'rm -rf "$directory"' EXIT
export HOME=$directory/home LC_ALL=C.UTF-8
unset POSTKITE_DIR XDG_DATA_HOME

check() { # check WHAT EXPECTED ACTUAL
    [ "$2" = "$3" ] && return
    printf 'FAULT: %s: %s\n  expected: %s\n  actual:   %s\n' "${case##*/}" "$1" "$2" "$3" | tee -a "$directory/faults"
}
wait_until() { # wait_until COMMAND...: until it succeeds, at most about ten seconds
    for _ in $(seq 200); do
        "$@" >/dev/null 2>&1 && return
        sleep 0.05
    done
    check "wait until $*" "" "never"
}
as_host() { iconv -f UTF-8 -t CP932 | sed 's/$/\r/'; }
# What a shell runs in the background hears no interrupt otherwise.
in_background=(env --default-signal=INT "$program")
postkite() { "$program" --dir "$case/mail" "$@"; }
session() { # what it says is in $case/out and $case/err, its exit status in $status
    status=0
    postkite "$@" --port "$case/line" --pace 10 >"$case/out" 2>"$case/err" || status=$?
}
has() { # has FILE TEXT
    check "$1 has $2" yes "$(grep -qF -- "$2" "$case/$1" && echo yes || echo no)"
}
said() { sed -n 's/^.\{18\}C //p' "$case/state/session.log" | paste -sd ' '; }

begin() { # begin NAME ROUTE HOST-OPTION...: a host with two mails and a client that knows it
    case=$directory/$1
    mkdir -p "$case/state/mail" "$case/mail"
    printf 'Name: 山田太郎\nId: ABC01234\nDate: 97/01/23 12:34\nSubject: 表示の予定\n\nソフトの件です。\n\n予定表\n' \
        >"$case/state/mail/1.txt"
    printf 'Name: KITE\nId: DEF01234\nDate: 97/01/24 08:05\nSubject: second\n\n%s\n' "$(seq 1 300 | paste -sd ' ' | fold -w 60)" \
        >"$case/state/mail/2.txt"
    {
        printf 'READ ALL\n'
        printf '  1 山田太郎          ABC01234          97/01/23 12:34\n件名    ：表示の予定\nソフトの件です。\n\n予定表\n'
        printf 'action:DELETE\n削除しました。\n'
        printf '  2 KITE              DEF01234          97/01/24 08:05\n件名    ：second\n'
        seq 1 300 | paste -sd ' ' | fold -w 60
        printf 'action:DELETE\n削除しました。\n'
    } | as_host >"$case/expected"
    printf 'MAIL>' >>"$case/expected"
    postkite settings set USERID ABC01234
    postkite settings set USERPASSWORD himitsu
    postkite settings set 'PHONE NUMBER' 03-0000-0000
    postkite settings set 'FENICS LOAD' "$2"
    postkite settings set REDIALINTER 2
    "$host" --pty "$case/line" --state "$case/state" --user ABC01234 --password himitsu --route "$2" "${@:3}" \
        >/dev/null 2>"$case/host-err" &
    host_number=$!
    trap 'kill "$host_number" 2>/dev/null || true' EXIT
    wait_until test -e "$case/line"
}
end() {
    kill "$host_number"
    wait "$host_number" || true
    check "the host had nothing to complain of" "" "$(cat "$case/host-err")"
    echo "${case##*/}" >>"$directory/finished"
}
received_all() {
    check "exit status" 0 "$status"
    check "result" '{"result":1,"mails":2,"messages":0,"sent":0}' "$(tr -d ' \n' <"$case/out")"
    check "maillog.txt" same "$(cmp "$case/expected" "$case/mail/maillog.txt" 2>&1 && echo same)"
    check "mails that the host deleted" "1.txt 2.txt" "$(cd "$case/state/deleted" && echo *)"
    check "error.log" no "$(test -e "$case/mail/error.log" && echo yes || echo no)"
}

receives_over_route() { # receives_over_route ROUTE WHAT-THE-CLIENT-SAYS HOST-OPTION...
    begin "route $1" "$1" "${@:3}"
    session --json session --receive-only --monitor
    received_all
    check "what the client said" \
        "ATQ0V1E1 ATDT03-0000-0000 $2SVC ABC01234 ******** SET MENU OFF SET PAGE OFF GO MAIL KITE READ ALL DELETE DELETE OFF ATH" \
        "$(said | sed 's/  */ /g')"
    has err "ソフトの件です。"
    end
}

redials_while_busy() {
    begin busy 3 --busy 2
    session --json session --receive-only
    received_all
    check "times busy" "2 2" "$(grep -c '^話し中（ﾘﾀﾞｲｱﾙ待ち）$' "$case/err") $(grep -c '^話し中(ﾘﾀﾞｲｱﾙ待ち)-' "$case/err")"
    end
}

has_no_dial_tone() {
    begin "no dial tone" 2 --no-dialtone
    session --json session --receive-only
    check "exit status" 1 "$status"
    check "result" -100 "$(sed -n 's/.*"result": \(.*\),/\1/p' "$case/out")"
    has err "Error message!!: ダイアルトーンの検出が出来ません。 モデムに電話回線が接続されているか確認してください。"
    check "the line is free" 0 "$(flock -n "$case/line" true && echo 0)"
    end
}

# Whatever the host deleted is in the capture, and the next session keeps that.
loses_the_carrier() {
    begin "carrier lost" 2 --drop-after 1400
    session session --receive-only
    check "exit status" 1 "$status"
    has err ": ホストが応答しないため、通信を中断しました。"
    check "mails that the host deleted" "1.txt" "$(cd "$case/state/deleted" && echo *)"
    check "what was captured before" same "$(cmp -n 300 "$case/expected" "$case/mail/maillog.txt" 2>&1 && echo same)"
    cp "$case/mail/maillog.txt" "$case/first"
    session script run - <<<"1 END,,"
    check "the first capture" same "$(cmp "$case/first" "$case/mail/maillog.txt.bak" 2>&1 && echo same)"
    has err "maillog.txt に前回の通信が残っていたため、次の名前で保存しました: maillog.txt.bak"
    end
}

logs_off_when_interrupted() {
    begin interrupt 2 --speed 4800
    "${in_background[@]}" --dir "$case/mail" session --receive-only --port "$case/line" --pace 10 >"$case/out" 2>"$case/err" &
    local client=$!
    wait_until grep -q 'C READ ALL' "$case/state/session.log"
    check "a second session" 1 "$(postkite session --receive-only --port "$case/line" >/dev/null 2>"$case/second" && echo 0 || echo $?)"
    check "its reason" "Postkite: ほかの Postkite が通信中です。" "$(cat "$case/second")"
    check "another environment" 1 "$(postkite environments switch 1 >/dev/null 2>&1 && echo 0 || echo $?)"
    check "reading mail" 0 "$(postkite mail list Inbox >/dev/null && echo 0)"
    kill -INT "$client"
    status=0
    wait "$client" || status=$?
    check "exit status" 0 "$status"
    has err "もう一度 Ctrl+C を押すと"
    has state/session.log " C OFF"
    has state/session.log "ご利用ありがとうございました。"
    check "both mails are still there" "1.txt 2.txt" \
        "$(cd "$case/state" && find mail deleted -name '*.txt' -printf '%f\n' | sort | paste -sd ' ')"
    end
}

hangs_up_when_told_to() { # hangs_up_when_told_to SIGNAL...
    begin "hang up $*" 2 --speed 4800
    "${in_background[@]}" --dir "$case/mail" session --receive-only --port "$case/line" >"$case/out" 2>"$case/err" &
    local client=$!
    wait_until grep -q 'ATDT' "$case/state/session.log"
    for signal in "$@"; do
        kill "-$signal" "$client"
        sleep 0.3
    done
    status=0
    wait "$client" || status=$?
    check "exit status" 1 "$status"
    has err "ログオフせずに回線を切りました。"
    end
}

# Whoever looks on can go away: the mails are received all the same.
outlives_its_audience() {
    begin audience 7
    { session --json session --receive-only --monitor; } 2>/dev/null
    received_all
    rm -r "$case/mail/maillog.txt"
    printf 'Name: A\nId: B\nDate: 97/01/25 08:05\nSubject: s\n\ntext\n' >"$case/state/mail/3.txt"
    postkite session --receive-only --monitor --port "$case/line" --pace 10 2>&1 >/dev/null | head -n 1 >/dev/null || true
    check "the third mail" 1 "$(grep -ac '97/01/25 08:05' "$case/mail/maillog.txt")"
    check "is deleted" 3.txt "$(cd "$case/state/deleted" && echo 3*)"
    end
}

runs_a_script() {
    begin script 2
    printf '1 SEND,ATQ0V1E1\\r\\n,\n2 WAIT,OK\\r\\n,モデムです\n3 GOTO,,*NOWHERE\n4 *UNUSED\n5 END,,\n' >"$case/script"
    session script run "$case/script"
    check "exit status" 1 "$status"
    has err "$case/script:3:"
    has err "モデムです"
    sed -i 's/^3 .*/3 GOTO,,*UNUSED/' "$case/script"
    session --json script run "$case/script"
    check "exit status" 0 "$status"
    check "result" '{"result":1,"mails":0,"messages":0,"sent":0}' "$(tr -d ' \n' <"$case/out")"
    end
}

receives_over_route 1 "NIFTY " --chunk 100 &
receives_over_route 2 "@P C NIF " &
receives_over_route 3 "C NIF " --chunk 7 &
receives_over_route 7 "NIFTY " &
redials_while_busy &
has_no_dial_tone &
loses_the_carrier &
logs_off_when_interrupted &
hangs_up_when_told_to TERM &
hangs_up_when_told_to INT INT &
outlives_its_audience &
runs_a_script &
wait
case=all
check "cases that came to their end" 12 "$(wc -l <"$directory/finished")"
[ ! -e "$directory/faults" ]
