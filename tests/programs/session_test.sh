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
    postkite "$@" --port "${port:-$case/line}" --pace 10 >"$case/out" 2>"$case/err" || status=$?
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
    # What of it a client keeps: each mail's two lines of heading and its text.
    {
        printf '  1 山田太郎          ABC01234          97/01/23 12:34\n件名    ：表示の予定\nソフトの件です。\n\n予定表\n'
        printf '  2 KITE              DEF01234          97/01/24 08:05\n件名    ：second\n'
        seq 1 300 | paste -sd ' ' | fold -w 60
    } | as_host >"$case/expected"
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
stored() { # stored FOLDER: the texts of all its mails, one after another
    local count
    count=$(postkite mail list "$1" | wc -l)
    for ((number = 0; number < count; number++)); do
        postkite mail show "$1" "$number" --raw
    done
}
received_all() {
    check "exit status" 0 "$status"
    check "result" '{"result":1,"mails":2,"messages":0,"sent":0}' "$(tr -d ' \n' <"$case/out")"
    check "stored mails" same "$(cmp "$case/expected" <(stored Inbox) 2>&1 && echo same)"
    check "no capture is left" "" "$(cd "$case/mail" && ls | grep -i maillog)"
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

receives_over_telnet() {
    begin telnet 2
    kill "$host_number"
    wait "$host_number" || true
    "$host" --listen 127.0.0.1:0 --telnet --state "$case/state" --user ABC01234 --password himitsu >"$case/where" 2>"$case/host-err" &
    host_number=$!
    wait_until test -s "$case/where"
    port=telnet:$(cat "$case/where")
    session --json session --receive-only
    received_all
    end
}

# A modem emulator that echoes is told from a modem that does not answer, and the cure that is named helps.
answers_like_an_emulator() {
    begin emulator 2 --echo-late-lf
    session --json session --receive-only
    check "exit status" 1 "$status"
    check "result" -3 "$(sed -n 's/.*"result": \(.*\),/\1/p' "$case/out")"
    has err "モデムは OK と応答しましたが"
    has err "ATQ0V1E0"
    rm "$case/mail/error.log"
    postkite settings set 'MODEM INITIAL COMMAND' ATQ0V1E0
    session --json session --receive-only
    received_all
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

# Whatever the host deleted is stored, although the session broke off.
loses_the_carrier() {
    begin "carrier lost" 2 --drop-after 1400
    session session --receive-only
    check "exit status" 1 "$status"
    has err ": ホストが応答しないため、通信を中断しました。"
    check "mails that the host deleted" "1.txt" "$(cd "$case/state/deleted" && echo *)"
    check "the first mail" same "$(cmp -n 106 "$case/expected" <(postkite mail show Inbox 0 --raw) 2>&1 && echo same)"
    check "no capture is left" "" "$(cd "$case/mail" && ls | grep -i maillog)"
    end
}

compose() { # compose ADDRESS SUBJECT: a reserved mail, its text from standard input
    local number
    number=$(postkite mail add Outbox --flags "Sosrr ---- 0P" --address "$1" --subject "$2" --body - | cut -d ' ' -f 1)
    postkite mail reserve Outbox "$number"
}
fill_outbox() { # fill_outbox WITH-POSTS: what the host is to receive, in the order of its arrival, is in $case/to-host
    printf '日曜はうかがいます。\n\n手袋\n' | compose "DEF01234 (海老名 みどり), aya@harbour.example" "凧あげ"
    seq 1 200 | compose GHI01234 "$(printf '%045d' 7)"
    {
        printf 'TO:DEF01234\nTO:INET:aya@harbour.example\nSUB:凧あげ\n日曜はうかがいます。\n\n手袋\n\n\n'
        printf 'TO:GHI01234\nSUB:%039d\n' 0
        seq 1 200
        printf '\n\n'
    } >"$case/to-host"
    "$1" || return 0
    echo 二番の部屋 | compose "/FSORA,MES2" "竹ひご"
    echo 一番の部屋 | compose "/FSORA,MES1,12" "冬の河原"
    printf 'SUB:冬の河原\nRE:012\n一番の部屋\n\n\nSUB:竹ひご\nRE:NON\n二番の部屋\n\n\n' >>"$case/to-host"
    local room=$case/state/forum/FSORA/1
    mkdir -p "$room"
    printf 'Name: 凪野\nId: PKT00021\nDate: 97/01/19 21:10\nNumber: 12\nSubject: 冬の河原\n\nかもめが飛ぶ。\n' >"$room/1.txt"
    printf 'Name: 海老名\nId: PKT00034\nDate: 97/01/19 23:48\nNumber: 13\nReply-To: 12\nSubject: RE\n\n鳴る音だと思う。\n\n' \
        >"$room/2.txt"
    postkite forums set FSORA,mes1 read
    {
        printf '012/013   PKT00021  凪野              冬の河原\n       97/01/19 21:10\nかもめが飛ぶ。\n'
        printf '013/013   PKT00034  海老名            RE\n       97/01/19 23:48  012へのコメント\n鳴る音だと思う。\n\n'
    } | as_host >"$case/from-room"
}
at_host() { for file in "$case"/state/received/*; do sed '1,/^\r\?$/d; s/\r$//' "$file"; done; }
flags() { postkite --json mail list Outbox | sed -n 's/.*"flags": *"\([^"]*\)".*/\1/p' | cut -c 3,9 | sort -u; }

# Both ways, and once more: the second session has nothing left to do.
goes_both_ways() { # goes_both_ways ROUTE FORUM HOST-OPTION...: the script is chosen by the two
    begin "both ways, route $1 $2" "$1" "${@:3}"
    postkite settings set "FORUM NAME" "$2"
    local posts=true sent=4 messages=2
    [ -z "$2" ] || { posts=false sent=2 messages=0; }
    fill_outbox "$posts"
    session --json session
    check "exit status" 0 "$status"
    check "result" "{\"result\":1,\"mails\":2,\"messages\":$messages,\"sent\":$sent}" "$(tr -d ' \n' <"$case/out")"
    check "at the host" "$(cat "$case/to-host")" "$(at_host)"
    check "stored mails" same "$(cmp "$case/expected" <(stored Inbox) 2>&1 && echo same)"
    ! "$posts" || check "stored messages" same "$(cmp "$case/from-room" <(stored FSORA,mes1) 2>&1 && echo same)"
    check "the Outbox is marked" "Sy" "$(flags)"
    check "mails that the host still has" "" "$(ls "$case/state/mail")"

    session --json session
    check "second exit status" 0 "$status"
    check "second result" '{"result":1,"mails":0,"messages":0,"sent":0}' "$(tr -d ' \n' <"$case/out")"
    has err "Postkite: 送信予約されたメールがありません。"
    check "still at the host" "$(cat "$case/to-host")" "$(at_host)"
    end
}

# The script for a forum on route 1 waits for a command that there is not behind the first mail, on purpose: the session
# breaks off there, and what was sent is sent.
sends_over_the_shortest_script() {
    begin "route 1 with a forum" 1
    postkite settings set "FORUM NAME" FSORA
    fill_outbox false
    session --json session
    check "result" '{"result":-1,"mails":1,"messages":0,"sent":2}' "$(tr -d ' \n' <"$case/out")"
    check "at the host" "$(cat "$case/to-host")" "$(at_host)"
    check "the Outbox is marked" "Sy" "$(flags)"
    check "the host has its mails" "1.txt 2.txt" "$(cd "$case/state/mail" && echo *)"
    check "the first is stored" 1 "$(postkite mail list Inbox | wc -l)"
    end
}

# Calls again and again, each call cut off somewhere: in the end all is through, nothing is lost, and what the host got twice
# the user was told of.
calls_until_all_is_through() { # calls_until_all_is_through SEED
    begin "until all is through, seed $1" 2 --drop-after 300
    fill_outbox true
    local dropped told=0 calls=0
    RANDOM=$1
    while [ $calls -lt 40 ]; do
        calls=$((calls + 1))
        session session
        told=$((told + $(grep -c 'ホストの確認を受け取る前に' "$case/err" || true)))
        [ "$status" -ne 0 ] || break
        kill "$host_number"
        wait "$host_number" || true
        dropped=$((600 + RANDOM % 5200))
        "$host" --pty "$case/line" --state "$case/state" --route 2 --drop-after "$dropped" >/dev/null 2>"$case/host-err" &
        host_number=$!
        wait_until test -e "$case/line"
    done
    check "the last call" 0 "$status"
    check "the Outbox is marked" "Sy" "$(flags)"
    check "mails that the host still has" "" "$(ls "$case/state/mail")"
    check "messages that the host still has" "" "$(ls "$case/state/forum/FSORA/1")"
    check "messages" "2" "$(postkite mail list FSORA,mes1 | wc -l)"
    check "stored messages" same "$(cmp "$case/from-room" <(stored FSORA,mes1) 2>&1 && echo same)"
    local arrived twice
    arrived=$(ls "$case/state/received" | wc -l)
    twice=$((arrived - 4))
    check "the host got each once, or twice with a word ($arrived arrived, $told told)" yes \
        "$([ $twice -ge 0 ] && [ $twice -le $told ] && echo yes || echo no)"
    local part mail
    for part in 1 2; do
        # The host numbers its mails anew in each call.
        mail=$(sed -n "$([ $part = 1 ] && echo 1,5p || echo '6,$p')" "$case/expected" | tail -c +5 | md5sum)
        check "mail $part is stored whole" yes "$(
            count=$(postkite mail list Inbox | wc -l)
            for ((number = 0; number < count; number++)); do
                [ "$(postkite mail show Inbox "$number" --raw | tail -c +5 | md5sum)" != "$mail" ] || { echo yes && break; }
            done
        )"
    done
    end
}

logs_off_when_interrupted() {
    begin interrupt 2 --speed 1800
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
    printf 'Name: A\nId: B\nDate: 97/01/25 08:05\nSubject: s\n\ntext\n' >"$case/state/mail/3.txt"
    postkite session --receive-only --monitor --port "$case/line" --pace 10 2>&1 >/dev/null | head -n 1 >/dev/null || true
    check "the third mail" 1 "$(postkite mail list Inbox | grep -c '97/01/25 08:05')"
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

receives_over_route 3 "C NIF " --chunk 7 &
receives_over_route 7 "NIFTY " &
goes_both_ways 1 "" --chunk 100 &
goes_both_ways 2 "" &
goes_both_ways 3 "" --chunk 60 &
goes_both_ways 2 FSORA &
sends_over_the_shortest_script &
calls_until_all_is_through 1 &
calls_until_all_is_through 2 &
receives_over_telnet &
answers_like_an_emulator &
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
check "cases that came to their end" 19 "$(wc -l <"$directory/finished")"
[ ! -e "$directory/faults" ]
