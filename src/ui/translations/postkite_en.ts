<?xml version="1.0" encoding="utf-8"?>
<!DOCTYPE TS>
<TS version="2.1" language="en_US" sourcelanguage="ja_JP">
<context>
    <name>AccessKeys</name>
    <message>
        <source>%1(&amp;%2)</source>
        <extracomment>%1: label, %2: the letter of its access key</extracomment>
        <translation>%1 (&amp;%2)</translation>
    </message>
</context>
<context>
    <name>Application</name>
    <message>
        <source>テキストメニュー型ホストのためのメールクライアント</source>
        <translation>Mail client for text-menu hosts</translation>
    </message>
    <message>
        <source>この説明を表示する</source>
        <translation>Show this help</translation>
    </message>
    <message>
        <source>バージョンを表示する</source>
        <translation>Show the version</translation>
    </message>
    <message>
        <source>作業ディレクトリ（既定: $POSTKITE_DIR、$XDG_DATA_HOME/postkite、~/.local/share/postkite）</source>
        <translation>The working directory (default: $POSTKITE_DIR, $XDG_DATA_HOME/postkite, ~/.local/share/postkite)</translation>
    </message>
    <message>
        <source>余分な引数です: %1</source>
        <translation>Unexpected arguments: %1</translation>
    </message>
    <message>
        <source>作業ディレクトリ %1 を使用できません。（%2）</source>
        <translation>The working directory %1 cannot be used. (%2)</translation>
    </message>
    <message>
        <source>設定のディレクトリがいくつもあります。一つだけ残してください。（%1）</source>
        <translation>There is more than one settings directory. Keep only one of them. (%1)</translation>
    </message>
    <message>
        <source>作業ディレクトリが決まりません。--dir で指定してください。</source>
        <translation>There is no working directory; name one with --dir.</translation>
    </message>
</context>
<context>
    <name>Commands</name>
    <message>
        <source>別のウィンドウで開く(&amp;O)</source>
        <translation>&amp;Open in New Window</translation>
    </message>
    <message>
        <source>テキストとして保存(&amp;S)...</source>
        <translation>&amp;Save as Text...</translation>
    </message>
    <message>
        <source>印刷(&amp;P)...</source>
        <translation>&amp;Print...</translation>
    </message>
    <message>
        <source>コンパクション(&amp;C)</source>
        <translation>&amp;Compact Folders</translation>
    </message>
    <message>
        <source>旧形式メールボックスの変換(&amp;V)</source>
        <translation>Con&amp;vert Old Mailboxes</translation>
    </message>
    <message>
        <source>終了(&amp;X)</source>
        <translation>&amp;Quit</translation>
    </message>
    <message>
        <source>コピー(&amp;C)</source>
        <translation>&amp;Copy</translation>
    </message>
    <message>
        <source>すべて選択(&amp;A)</source>
        <translation>Select &amp;All</translation>
    </message>
    <message>
        <source>一覧を検索(&amp;F)</source>
        <translation>&amp;Find in List</translation>
    </message>
    <message>
        <source>本文を検索(&amp;T)</source>
        <translation>Find in &amp;Text</translation>
    </message>
    <message>
        <source>次を検索(&amp;N)</source>
        <translation>Find &amp;Next</translation>
    </message>
    <message>
        <source>前を検索(&amp;P)</source>
        <translation>Find &amp;Previous</translation>
    </message>
    <message>
        <source>次の未読メール(&amp;N)</source>
        <translation>&amp;Next Unread Mail</translation>
    </message>
    <message>
        <source>次の区画(&amp;P)</source>
        <translation>Next &amp;Pane</translation>
    </message>
    <message>
        <source>最新の情報に更新(&amp;R)</source>
        <translation>&amp;Refresh</translation>
    </message>
    <message>
        <source>フォルダ一覧(&amp;D)</source>
        <translation>Fol&amp;der List</translation>
    </message>
    <message>
        <source>通信モニタ(&amp;M)</source>
        <translation>Communication &amp;Monitor</translation>
    </message>
    <message>
        <source>ツールバー(&amp;B)</source>
        <translation>Tool &amp;Bar</translation>
    </message>
    <message>
        <source>メールのヘッダー(&amp;H)</source>
        <translation>Mail &amp;Header</translation>
    </message>
    <message>
        <source>題名をそのまま表示(&amp;1)</source>
        <translation>Pl&amp;ain Subjects</translation>
    </message>
    <message>
        <source>題名をツリー表示(&amp;2)</source>
        <translation>Subject &amp;Tree</translation>
    </message>
    <message>
        <source>スレッド表示(&amp;3)</source>
        <translation>Thr&amp;eads</translation>
    </message>
    <message>
        <source>文字を大きく(&amp;L)</source>
        <translation>&amp;Larger Text</translation>
    </message>
    <message>
        <source>文字を小さく(&amp;S)</source>
        <translation>&amp;Smaller Text</translation>
    </message>
    <message>
        <source>新しいフォルダ(&amp;N)</source>
        <translation>&amp;New Folder</translation>
    </message>
    <message>
        <source>名前の変更(&amp;R)</source>
        <translation>&amp;Rename</translation>
    </message>
    <message>
        <source>移動(&amp;M)...</source>
        <translation>&amp;Move...</translation>
    </message>
    <message>
        <source>削除(&amp;D)</source>
        <translation>&amp;Delete</translation>
    </message>
    <message>
        <source>初期状態に戻す(&amp;I)</source>
        <translation>Reset to &amp;Initial State</translation>
    </message>
    <message>
        <source>プロパティ(&amp;P)...</source>
        <translation>&amp;Properties...</translation>
    </message>
    <message>
        <source>読み込み条件(&amp;C)...</source>
        <translation>Read &amp;Condition...</translation>
    </message>
    <message>
        <source>既読にする(&amp;R)</source>
        <translation>Mark as &amp;Read</translation>
    </message>
    <message>
        <source>未読にする(&amp;U)</source>
        <translation>Mark as &amp;Unread</translation>
    </message>
    <message>
        <source>返信済みにする(&amp;A)</source>
        <translation>Mark &amp;as Replied</translation>
    </message>
    <message>
        <source>返信済みを取り消す(&amp;N)</source>
        <translation>Mark as &amp;Not Replied</translation>
    </message>
    <message>
        <source>送信予約する(&amp;S)</source>
        <translation>Reserve for &amp;Sending</translation>
    </message>
    <message>
        <source>送信予約を取り消す(&amp;C)</source>
        <translation>&amp;Cancel Reservation</translation>
    </message>
    <message>
        <source>フォルダへ移動(&amp;M)...</source>
        <translation>&amp;Move to Folder...</translation>
    </message>
    <message>
        <source>ごみ箱へ移動(&amp;T)</source>
        <translation>Move to &amp;Trash</translation>
    </message>
    <message>
        <source>完全に削除(&amp;D)</source>
        <translation>&amp;Delete Permanently</translation>
    </message>
    <message>
        <source>送信と受信(&amp;S)</source>
        <translation>&amp;Send and Receive</translation>
    </message>
    <message>
        <source>受信のみ(&amp;R)</source>
        <translation>&amp;Receive Only</translation>
    </message>
    <message>
        <source>切断(&amp;D)</source>
        <translation>&amp;Disconnect</translation>
    </message>
    <message>
        <source>練習用ホストに接続(&amp;P)</source>
        <translation>Call &amp;Practice Host</translation>
    </message>
    <message>
        <source>接続環境の設定(&amp;E)...</source>
        <translation>&amp;Edit Environments...</translation>
    </message>
    <message>
        <source>表示中フォルダ個別振分(&amp;F)</source>
        <translation>Sort Displayed &amp;Folder</translation>
    </message>
    <message>
        <source>受信メールの振り分け(&amp;I)</source>
        <translation>Sort &amp;Incoming Mail</translation>
    </message>
    <message>
        <source>選択メールの振り分け(&amp;S)</source>
        <translation>Sort &amp;Selected Mail</translation>
    </message>
    <message>
        <source>振り分けの設定(&amp;E)...</source>
        <translation>&amp;Edit Rules...</translation>
    </message>
    <message>
        <source>設定(&amp;S)...</source>
        <translation>&amp;Settings...</translation>
    </message>
    <message>
        <source>キー操作の一覧(&amp;K)</source>
        <translation>&amp;Keyboard Shortcuts</translation>
    </message>
    <message>
        <source>Postkite について(&amp;A)</source>
        <translation>&amp;About Postkite</translation>
    </message>
    <message>
        <source>番号順(&amp;4)</source>
        <translation>Sort by Number (&amp;4)</translation>
    </message>
    <message>
        <source>日付順(&amp;5)</source>
        <translation>Sort by Date (&amp;5)</translation>
    </message>
    <message>
        <source>名前順(&amp;6)</source>
        <translation>Sort by Name (&amp;6)</translation>
    </message>
    <message>
        <source>題名順(&amp;7)</source>
        <translation>Sort by Subject (&amp;7)</translation>
    </message>
    <message>
        <source>サイズ順(&amp;8)</source>
        <translation>Sort by Size (&amp;8)</translation>
    </message>
</context>
<context>
    <name>MailRow</name>
    <message>
        <source>返信済み</source>
        <translation>replied</translation>
    </message>
    <message>
        <source>送信済み</source>
        <translation>sent</translation>
    </message>
    <message>
        <source>送信予約</source>
        <translation>reserved for sending</translation>
    </message>
    <message>
        <source>添付あり</source>
        <translation>with attachment</translation>
    </message>
    <message>
        <source>%L1 KB</source>
        <translation>%L1 KB</translation>
    </message>
    <message>
        <source>削除済み</source>
        <translation>Deleted</translation>
    </message>
    <message>
        <source>未読</source>
        <translation>Unread</translation>
    </message>
    <message>
        <source>既読</source>
        <translation>Read</translation>
    </message>
    <message>
        <source>フォーラムの発言</source>
        <translation>forum message</translation>
    </message>
    <message>
        <source>作成したメール</source>
        <translation>written here</translation>
    </message>
    <message>
        <source>ライブラリのデータ</source>
        <translation>library entry</translation>
    </message>
</context>
<context>
    <name>MessagePrinting</name>
    <message>
        <source>%1 / %2 ページ</source>
        <translation>Page %1 of %2</translation>
    </message>
</context>
<context>
    <name>MessageText</name>
    <message>
        <source>宛先</source>
        <translation>To</translation>
    </message>
    <message>
        <source>差出人</source>
        <translation>From</translation>
    </message>
    <message>
        <source>日付</source>
        <translation>Date</translation>
    </message>
    <message>
        <source>送信日付</source>
        <translation>Date sent</translation>
    </message>
    <message>
        <source>題名</source>
        <translation>Subject</translation>
    </message>
    <message>
        <source>CC</source>
        <translation>CC</translation>
    </message>
    <message>
        <source>添付</source>
        <translation>Attachments</translation>
    </message>
    <message>
        <source>受信日付</source>
        <translation>Received</translation>
    </message>
</context>
<context>
    <name>SettingEditor</name>
    <message>
        <source>標準</source>
        <translation>Default</translation>
    </message>
    <message>
        <source> ドット</source>
        <translation> pixels</translation>
    </message>
    <message>
        <source>「%1」は 0 か 1 を 20 文字で入力してください。</source>
        <translation>&quot;%1&quot; takes 20 characters, each of them 0 or 1.</translation>
    </message>
    <message>
        <source>「%1」は %2 から %3 までの数字で入力してください。</source>
        <translation>&quot;%1&quot; takes a number from %2 to %3.</translation>
    </message>
    <message>
        <source>%1（もう一度）</source>
        <translation>%1 (again)</translation>
    </message>
    <message>
        <source>変更するときはもう一度</source>
        <translation>Once more to change it</translation>
    </message>
    <message>
        <source>「%1」に入力した２つのパスワードが一致しません。</source>
        <translation>The two passwords entered for &quot;%1&quot; are not the same.</translation>
    </message>
    <message>
        <source>そのほか（%1）</source>
        <translation>Other (%1)</translation>
    </message>
    <message>
        <source>選択...</source>
        <translation>Choose...</translation>
    </message>
    <message>
        <source>%1: %2</source>
        <translation>%1: %2</translation>
    </message>
</context>
<context>
    <name>SettingPages</name>
    <message>
        <source>起動時にパスワードを問い合わせる</source>
        <translation>Ask for the password at start-up</translation>
    </message>
    <message>
        <source>起動時パスワード</source>
        <translation>Start-up password</translation>
    </message>
    <message>
        <source>ホストのパスワードを設定ファイルに保存する</source>
        <translation>Save the host password in the settings file</translation>
    </message>
    <message>
        <source>自動モード（結果のメッセージを表示しない）</source>
        <translation>Unattended mode (no result messages)</translation>
    </message>
    <message>
        <source>常駐する</source>
        <translation>Stay resident</translation>
    </message>
    <message>
        <source>アイコンの状態で起動する</source>
        <translation>Start minimised</translation>
    </message>
    <message>
        <source>ホットキーを使う</source>
        <translation>Use the hot key</translation>
    </message>
    <message>
        <source>オリジナルのアイコンを使う</source>
        <translation>Use the original icon</translation>
    </message>
    <message>
        <source>終了後に DOS へ戻る</source>
        <translation>Return to DOS after quitting</translation>
    </message>
    <message>
        <source>1 日に 1 回</source>
        <translation>Once a day</translation>
    </message>
    <message>
        <source>0（消音）</source>
        <translation>0 (off)</translation>
    </message>
    <message>
        <source>1（接続するまで鳴らす）</source>
        <translation>1 (on until connected)</translation>
    </message>
    <message>
        <source>2（常に鳴らす）</source>
        <translation>2 (always on)</translation>
    </message>
    <message>
        <source>3（ダイアル後、接続するまで鳴らす）</source>
        <translation>3 (on after dialling, until connected)</translation>
    </message>
    <message>
        <source>通信ポートの番号（COM）</source>
        <translation>Serial port number (COM)</translation>
    </message>
    <message>
        <source>内線から発信する（0 を先に回す）</source>
        <translation>Dial from an extension (0 first)</translation>
    </message>
    <message>
        <source>話し中のときにリダイアルする</source>
        <translation>Redial when busy</translation>
    </message>
    <message>
        <source>リダイアルの間隔</source>
        <translation>Time between redials</translation>
    </message>
    <message>
        <source> 秒</source>
        <translation> s</translation>
    </message>
    <message>
        <source>リダイアルの回数</source>
        <translation>Number of redials</translation>
    </message>
    <message>
        <source> 回</source>
        <translation> at most</translation>
    </message>
    <message>
        <source>モデムのスピーカーを初期化コマンドに任せる</source>
        <translation>Leave the modem speaker to the initialisation command</translation>
    </message>
    <message>
        <source>任せないときのスピーカー</source>
        <translation>Speaker otherwise</translation>
    </message>
    <message>
        <source>高速アップロード</source>
        <translation>High-speed upload</translation>
    </message>
    <message>
        <source>なし</source>
        <translation>None</translation>
    </message>
    <message>
        <source>偶数</source>
        <translation>Even</translation>
    </message>
    <message>
        <source>奇数</source>
        <translation>Odd</translation>
    </message>
    <message>
        <source>データビット（常に 8 を使います）</source>
        <translation>Data bits (8 is always used)</translation>
    </message>
    <message>
        <source>ストップビット（常に 1 を使います）</source>
        <translation>Stop bits (1 is always used)</translation>
    </message>
    <message>
        <source>パリティ（常になしです）</source>
        <translation>Parity (none is always used)</translation>
    </message>
    <message>
        <source>ハードウェアフロー制御</source>
        <translation>Hardware flow control</translation>
    </message>
    <message>
        <source>RTS の制御</source>
        <translation>RTS control</translation>
    </message>
    <message>
        <source>モデムスピーカーの制御</source>
        <translation>Modem speaker control</translation>
    </message>
    <message>
        <source>2 回線</source>
        <translation>Two lines</translation>
    </message>
    <message>
        <source>ホスト名</source>
        <translation>Host name</translation>
    </message>
    <message>
        <source>PPP の再試行回数</source>
        <translation>Number of PPP retries</translation>
    </message>
    <message>
        <source>リモートアクセスを切断する</source>
        <translation>Disconnect remote access</translation>
    </message>
    <message>
        <source>ホストのメールを TELNET で読む</source>
        <translation>Read host mail by TELNET</translation>
    </message>
    <message>
        <source>TELNET のメニューを隠す</source>
        <translation>Hide the TELNET menu</translation>
    </message>
    <message>
        <source>リモートメールのメニューを隠す</source>
        <translation>Hide the remote mail menu</translation>
    </message>
    <message>
        <source>送信したメールの記録を残す</source>
        <translation>Keep a log of sent mail</translation>
    </message>
    <message>
        <source>受信したメールを振り分ける</source>
        <translation>Sort received mail</translation>
    </message>
    <message>
        <source>終了時に受信フォルダを振り分ける</source>
        <translation>Sort the inbox folder when quitting</translation>
    </message>
    <message>
        <source>振り分けで大文字と小文字を区別する</source>
        <translation>Sorting is case-sensitive</translation>
    </message>
    <message>
        <source>送信時に受信も行う</source>
        <translation>Also receive when sending</translation>
    </message>
    <message>
        <source>新着メールがあるときに前面に出す</source>
        <translation>Come to the front when new mail arrives</translation>
    </message>
    <message>
        <source>定刻に巡回する</source>
        <translation>Patrol at set times</translation>
    </message>
    <message>
        <source>巡回する項目（0 か 1 を 20 文字）</source>
        <translation>Items to patrol (20 characters, 0 or 1)</translation>
    </message>
    <message>
        <source>自動的に返信する</source>
        <translation>Reply automatically</translation>
    </message>
    <message>
        <source>自動返信の題名</source>
        <translation>Subject of automatic replies</translation>
    </message>
    <message>
        <source>送信メールのネスト</source>
        <translation>Nesting of sent mail</translation>
    </message>
    <message>
        <source>ホストからインターネットへのメール</source>
        <translation>Mail from the host to the Internet</translation>
    </message>
    <message>
        <source>既定のドメイン</source>
        <translation>Default domain</translation>
    </message>
    <message>
        <source>そのまま</source>
        <translation>As they are</translation>
    </message>
    <message>
        <source>返信を字下げする</source>
        <translation>Indent replies</translation>
    </message>
    <message>
        <source>スレッドにまとめる</source>
        <translation>Group into threads</translation>
    </message>
    <message>
        <source>差出人の ID を表示する</source>
        <translation>Show sender IDs</translation>
    </message>
    <message>
        <source>日付を表示する</source>
        <translation>Show dates</translation>
    </message>
    <message>
        <source>行番号を表示する</source>
        <translation>Show line numbers</translation>
    </message>
    <message>
        <source>題名の表示</source>
        <translation>Display of subjects</translation>
    </message>
    <message>
        <source>フォント</source>
        <translation>Font</translation>
    </message>
    <message>
        <source>文字の高さ</source>
        <translation>Character height</translation>
    </message>
    <message>
        <source>一覧のスクロール</source>
        <translation>List scrolling</translation>
    </message>
    <message>
        <source>メーリングリストの題名</source>
        <translation>Mailing list subjects</translation>
    </message>
    <message>
        <source>通信モニターを表示する</source>
        <translation>Show the communication monitor</translation>
    </message>
    <message>
        <source>フォルダの一覧を表示する</source>
        <translation>Show the folder list</translation>
    </message>
    <message>
        <source>ツールバーを表示する</source>
        <translation>Show the tool bar</translation>
    </message>
    <message>
        <source>メールのヘッダーを表示する</source>
        <translation>Show mail headers</translation>
    </message>
    <message>
        <source>CC の行を隠す</source>
        <translation>Hide the CC line</translation>
    </message>
    <message>
        <source>編集画面のツールバーを表示する</source>
        <translation>Show the editor&apos;s tool bar</translation>
    </message>
    <message>
        <source>常に Re: を付ける</source>
        <translation>Always add Re:</translation>
    </message>
    <message>
        <source>返信の回数を数える（Re^2: など）</source>
        <translation>Count replies (Re^2: and so on)</translation>
    </message>
    <message>
        <source>引用符</source>
        <translation>Quote mark</translation>
    </message>
    <message>
        <source>返信の題名</source>
        <translation>Subject of replies</translation>
    </message>
    <message>
        <source>署名の番号</source>
        <translation>Signature number</translation>
    </message>
    <message>
        <source>引用する前に問い合わせる</source>
        <translation>Ask before quoting</translation>
    </message>
    <message>
        <source>宛名に付ける敬称</source>
        <translation>Honorific after the addressee&apos;s name</translation>
    </message>
    <message>
        <source>名前を使う</source>
        <translation>Use the name</translation>
    </message>
    <message>
        <source>独自の返信先を使う</source>
        <translation>Use my own reply address</translation>
    </message>
    <message>
        <source>編集画面のオプション %1</source>
        <translation>Editor option %1</translation>
    </message>
    <message>
        <source>外部エディタ</source>
        <translation>External editor</translation>
    </message>
    <message>
        <source>新規メールで外部エディタを起動する</source>
        <translation>Start the external editor for new mail</translation>
    </message>
    <message>
        <source>返信で外部エディタを起動する</source>
        <translation>Start the external editor for replies</translation>
    </message>
    <message>
        <source>編集領域の色</source>
        <translation>Colour of the edit area</translation>
    </message>
    <message>
        <source>半角カナを全角に変換する</source>
        <translation>Convert half-width kana to full-width</translation>
    </message>
    <message>
        <source>添付ファイルの符号化</source>
        <translation>Encoding of attachments</translation>
    </message>
    <message>
        <source>接続と切断の音を鳴らす</source>
        <translation>Play sounds on connecting and disconnecting</translation>
    </message>
    <message>
        <source>接続したときの音</source>
        <translation>Sound on connecting</translation>
    </message>
    <message>
        <source>切断したときの音</source>
        <translation>Sound on disconnecting</translation>
    </message>
    <message>
        <source>エラーの音を鳴らす</source>
        <translation>Play a sound on errors</translation>
    </message>
    <message>
        <source>エラーの音</source>
        <translation>Sound on errors</translation>
    </message>
    <message>
        <source>送信の音を鳴らす</source>
        <translation>Play a sound on sending</translation>
    </message>
    <message>
        <source>バンク %1</source>
        <translation>Bank %1</translation>
    </message>
    <message>
        <source>環境とバンクを同期切り替え</source>
        <translation>Switch environment and bank together</translation>
    </message>
    <message>
        <source>バンク１２では受信しない</source>
        <translation>Do not receive into banks 1 and 2</translation>
    </message>
    <message>
        <source>通信の記録を残す</source>
        <translation>Keep session logs</translation>
    </message>
    <message>
        <source>記録の保存先</source>
        <translation>Directory for logs</translation>
    </message>
    <message>
        <source>記録のファイル名に年月を付ける</source>
        <translation>Add year and month to log file names</translation>
    </message>
    <message>
        <source>添付ファイルの保存先</source>
        <translation>Directory for attachments</translation>
    </message>
    <message>
        <source>下線で始まるファイルだけ</source>
        <translation>Only files that begin with an underscore</translation>
    </message>
    <message>
        <source>スクリプトのディレクトリ</source>
        <translation>Script directory</translation>
    </message>
    <message>
        <source>送信するファイルを外部通信プログラムの場所に作る</source>
        <translation>Create the files to send where the external communication program is</translation>
    </message>
    <message>
        <source>アップロードのディレクトリ</source>
        <translation>Upload directory</translation>
    </message>
    <message>
        <source>hideterm のディレクトリ</source>
        <translation>hideterm directory</translation>
    </message>
    <message>
        <source>hideterm の記録のディレクトリ</source>
        <translation>hideterm log directory</translation>
    </message>
    <message>
        <source>hideterm のメール記録のファイル名</source>
        <translation>hideterm mail log file name</translation>
    </message>
    <message>
        <source>使用後に外部通信プログラムを終了する</source>
        <translation>Quit the external communication program after use</translation>
    </message>
    <message>
        <source>Nifterm の場所</source>
        <translation>Path of Nifterm</translation>
    </message>
    <message>
        <source>Avalon の場所</source>
        <translation>Path of Avalon</translation>
    </message>
    <message>
        <source>印刷プログラム</source>
        <translation>Print program</translation>
    </message>
    <message>
        <source>印刷プログラムのオプション</source>
        <translation>Print program options</translation>
    </message>
    <message>
        <source>メールボックスを暗号化する</source>
        <translation>Encrypt mailboxes</translation>
    </message>
    <message>
        <source>メールボックスを暗号化する（旧版の値）</source>
        <translation>Encrypt mailboxes (value of older versions)</translation>
    </message>
    <message>
        <source>メールボックスの暗号化キー</source>
        <translation>Mailbox encryption key</translation>
    </message>
    <message>
        <source>自分の鍵を自動的に選ぶ</source>
        <translation>Choose my key automatically</translation>
    </message>
    <message>
        <source>相手の鍵を自動的に選ぶ</source>
        <translation>Choose the addressee&apos;s key automatically</translation>
    </message>
    <message>
        <source>自分の鍵交換用の鍵</source>
        <translation>My key-exchange key</translation>
    </message>
    <message>
        <source>自分の署名用の鍵</source>
        <translation>My signature key</translation>
    </message>
    <message>
        <source>自分の認証局 ID</source>
        <translation>My certification authority ID</translation>
    </message>
    <message>
        <source>セキュリティ番号</source>
        <translation>Security number</translation>
    </message>
    <message>
        <source>仮 ID</source>
        <translation>Provisional ID</translation>
    </message>
    <message>
        <source>仮パスワード（伏せずにファイルに保存されます）</source>
        <translation>Provisional password (saved in the file without scrambling)</translation>
    </message>
    <message>
        <source>ニュースサーバー</source>
        <translation>News server</translation>
    </message>
    <message>
        <source>記事に付ける名前</source>
        <translation>Name in articles</translation>
    </message>
    <message>
        <source>記事に付けるメールアドレス</source>
        <translation>Mail address in articles</translation>
    </message>
    <message>
        <source>このコンピューターの名前</source>
        <translation>Name of this computer</translation>
    </message>
    <message>
        <source>起動と終了</source>
        <translation>Start and quit</translation>
    </message>
    <message>
        <source>モデムと回線</source>
        <translation>Modem and line</translation>
    </message>
    <message>
        <source>送受信と振り分け</source>
        <translation>Mail transfer and sorting</translation>
    </message>
    <message>
        <source>メール一覧とフォント</source>
        <translation>Mail list and font</translation>
    </message>
    <message>
        <source>画面</source>
        <translation>Windows</translation>
    </message>
    <message>
        <source>返信と引用</source>
        <translation>Replies and quotes</translation>
    </message>
    <message>
        <source>編集</source>
        <translation>Editing</translation>
    </message>
    <message>
        <source>音</source>
        <translation>Sounds</translation>
    </message>
    <message>
        <source>メールボックスバンク</source>
        <translation>Mailbox banks</translation>
    </message>
    <message>
        <source>保存先と記録</source>
        <translation>Directories and logs</translation>
    </message>
    <message>
        <source>外部プログラム</source>
        <translation>External programs</translation>
    </message>
    <message>
        <source>暗号と認証</source>
        <translation>Encryption and keys</translation>
    </message>
    <message>
        <source>ニュース</source>
        <translation>News</translation>
    </message>
    <message>
        <source>自動モードで、送受信の後に終了する</source>
        <translation>In unattended mode, quit after sending and receiving</translation>
    </message>
    <message>
        <source>メールを別のウィンドウで開く（受信メールビューア）</source>
        <translation>Open mail in a separate window (received mail viewer)</translation>
    </message>
    <message>
        <source>ツールバーにバンクの選択欄を表示する</source>
        <translation>Show the bank chooser in the tool bar</translation>
    </message>
</context>
<context>
    <name>postkite::ui::AboutDialog</name>
    <message>
        <source>%1 について</source>
        <translation>About %1</translation>
    </message>
    <message>
        <source>バージョン %1</source>
        <translation>Version %1</translation>
    </message>
    <message>
        <source>電話回線のホストのためのメールソフトです。モデムでホストに接続してメールとフォーラムの発言を受け取り、手元のフォルダに整理します。</source>
        <translation>A mail program for hosts on the telephone line. It connects to a host by modem, receives mail and forum messages, and sorts them into folders on this computer.</translation>
    </message>
    <message>
        <source>このソフトウェアは無保証です。</source>
        <translation>This software comes without any warranty.</translation>
    </message>
</context>
<context>
    <name>postkite::ui::Commands</name>
    <message>
        <source>接続環境 1 から 10 へ切り替える</source>
        <translation>Switch to environment 1 to 10</translation>
    </message>
    <message>
        <source>振り分けの規則 1 から 10 を実行する</source>
        <translation>Run sorting rule 1 to 10</translation>
    </message>
    <message>
        <source>maillog.txt を解析する</source>
        <translation>Analyse maillog.txt</translation>
    </message>
    <message>
        <source>F1 を押しながら閉じる</source>
        <translation>Close with F1 held</translation>
    </message>
    <message>
        <source>meslog.txt を解析する</source>
        <translation>Analyse meslog.txt</translation>
    </message>
    <message>
        <source>Ctrl を押しながら閉じる</source>
        <translation>Close with Ctrl held</translation>
    </message>
</context>
<context>
    <name>postkite::ui::EnvironmentPage</name>
    <message>
        <source>環境の名前</source>
        <translation>Environment name</translation>
    </message>
    <message>
        <source>ユーザー ID</source>
        <translation>User ID</translation>
    </message>
    <message>
        <source>パスワード</source>
        <translation>Password</translation>
    </message>
    <message>
        <source>電話番号</source>
        <translation>Telephone number</translation>
    </message>
    <message>
        <source>アクセス経路</source>
        <translation>Access route</translation>
    </message>
    <message>
        <source>1（.00+ を送って接続）</source>
        <translation>1 (sends .00+ to connect)</translation>
    </message>
    <message>
        <source>2（@P を送って接続）</source>
        <translation>2 (sends @P to connect)</translation>
    </message>
    <message>
        <source>3（何も送らずに接続）</source>
        <translation>3 (connects without sending anything)</translation>
    </message>
    <message>
        <source>7（ROAD7、Login: に応答）</source>
        <translation>7 (ROAD7, answers Login:)</translation>
    </message>
    <message>
        <source>4（区切りが @ のスクリプト用）</source>
        <translation>4 (for scripts separated by @)</translation>
    </message>
    <message>
        <source>5（区切りが @ のスクリプト用）</source>
        <translation>5 (for scripts separated by @)</translation>
    </message>
    <message>
        <source>0（自作のスクリプト用）</source>
        <translation>0 (for scripts of your own)</translation>
    </message>
    <message>
        <source>6（自作のスクリプト用）</source>
        <translation>6 (for scripts of your own)</translation>
    </message>
    <message>
        <source>8（自作のスクリプト用）</source>
        <translation>8 (for scripts of your own)</translation>
    </message>
    <message>
        <source>9（自作のスクリプト用）</source>
        <translation>9 (for scripts of your own)</translation>
    </message>
    <message>
        <source>通信速度（bit/s）</source>
        <translation>Line speed (bit/s)</translation>
    </message>
    <message>
        <source>ダイアル方式</source>
        <translation>Dialling method</translation>
    </message>
    <message>
        <source>PB（プッシュ回線）</source>
        <translation>PB (tone dialling)</translation>
    </message>
    <message>
        <source>DP（ダイアル回線）</source>
        <translation>DP (pulse dialling)</translation>
    </message>
    <message>
        <source>モデム初期化コマンド</source>
        <translation>Modem initialisation command</translation>
    </message>
    <message>
        <source>ATQ0V1E1M1（モデム）</source>
        <translation>ATQ0V1E1M1 (modem)</translation>
    </message>
    <message>
        <source>ATQ0V1E0（モデムエミュレータ）</source>
        <translation>ATQ0V1E0 (modem emulator)</translation>
    </message>
    <message>
        <source>メールの差出人行（From）</source>
        <translation>From line of mail</translation>
    </message>
    <message>
        <source>送信フォルダ</source>
        <translation>Outbox folder</translation>
    </message>
    <message>
        <source>受信フォルダ</source>
        <translation>Inbox folder</translation>
    </message>
    <message>
        <source>フォーラム名</source>
        <translation>Forum name</translation>
    </message>
    <message>
        <source>バンク %1（%2）</source>
        <translation>Bank %1 (%2)</translation>
    </message>
    <message>
        <source>使うバンク</source>
        <translation>Bank to use</translation>
    </message>
    <message>
        <source>そのほか（%1）</source>
        <translation>Other (%1)</translation>
    </message>
    <message>
        <source>ないバンク（%1）</source>
        <translation>Missing bank (%1)</translation>
    </message>
    <message>
        <source>「%1」は数字で入力してください。</source>
        <translation>&quot;%1&quot; takes digits only.</translation>
    </message>
</context>
<context>
    <name>postkite::ui::EnvironmentsDialog</name>
    <message>
        <source>接続環境</source>
        <translation>Connection Environments</translation>
    </message>
    <message>
        <source>環境(&amp;E)</source>
        <translation>&amp;Environments</translation>
    </message>
    <message>
        <source>（名前なし）</source>
        <translation>(no name)</translation>
    </message>
    <message>
        <source>%1: %2（使用中）</source>
        <translation>%1: %2 (active)</translation>
    </message>
    <message>
        <source>%1: %2</source>
        <translation>%1: %2</translation>
    </message>
</context>
<context>
    <name>postkite::ui::FindBar</name>
    <message>
        <source>検索する場所</source>
        <translation>Where to search</translation>
    </message>
    <message>
        <source>一覧を絞り込む</source>
        <translation>Filter the list</translation>
    </message>
    <message>
        <source>本文から探す</source>
        <translation>Find in the text</translation>
    </message>
    <message>
        <source>前へ(&amp;P)</source>
        <translation>&amp;Previous</translation>
    </message>
    <message>
        <source>検索を閉じる</source>
        <translation>Close search</translation>
    </message>
    <message>
        <source>見つかりません</source>
        <translation>Not found</translation>
    </message>
    <message>
        <source>検索(&amp;A)</source>
        <translation>Se&amp;arch</translation>
    </message>
    <message>
        <source>次へ(&amp;X)</source>
        <translation>Ne&amp;xt</translation>
    </message>
</context>
<context>
    <name>postkite::ui::FolderChooser</name>
    <message>
        <source>移動先のフォルダ(&amp;F):</source>
        <translation>Move to &amp;folder:</translation>
    </message>
</context>
<context>
    <name>postkite::ui::FolderNameDelegate</name>
    <message>
        <source>フォルダの名前</source>
        <translation>Folder name</translation>
    </message>
    <message>
        <source>フォルダの名前に文字「%1」を使えません。</source>
        <translation>The name of a folder cannot contain the character &quot;%1&quot;.</translation>
    </message>
</context>
<context>
    <name>postkite::ui::FolderPropertiesDialog</name>
    <message>
        <source>%1\%2 のプロパティ</source>
        <extracomment>%1: a bank&apos;s directory, %2: a folder&apos;s name</extracomment>
        <translation>Properties of %1\%2</translation>
    </message>
    <message>
        <source>フォルダのプロパティを扱えません。（%1）</source>
        <translation>The properties of the folder cannot be read or written. (%1)</translation>
    </message>
    <message>
        <source>%D 日付、%F 差出人の行、%M メッセージ ID、%S 題名、%a アドレス、%n 名前に置き換わります。</source>
        <translation>These are replaced: %D by the date, %F by the From line, %M by the message ID, %S by the subject, %a by the address and %n by the name.</translation>
    </message>
    <message>
        <source>サウンドファイル</source>
        <translation>Sound file</translation>
    </message>
    <message>
        <source>追加アドレスの初期値</source>
        <translation>Default additional addresses</translation>
    </message>
    <message>
        <source>返信ヘッダのテンプレート</source>
        <translation>Reply header template</translation>
    </message>
    <message>
        <source>初期値に戻す(&amp;R)</source>
        <translation>&amp;Reset to Default</translation>
    </message>
    <message>
        <source>追加アドレスの初期値(&amp;A):</source>
        <translation>Default &amp;additional addresses:</translation>
    </message>
    <message>
        <source>返信ヘッダのテンプレート(&amp;T):</source>
        <translation>Reply header &amp;template:</translation>
    </message>
    <message>
        <source>参照(&amp;B)...</source>
        <translation>&amp;Browse...</translation>
    </message>
    <message>
        <source>再生(&amp;P)</source>
        <translation>&amp;Play</translation>
    </message>
    <message>
        <source>サウンドファイル(&amp;S):</source>
        <translation>&amp;Sound file:</translation>
    </message>
    <message>
        <source>Wave File (*.wav *.WAV)</source>
        <translation>Wave File (*.wav *.WAV)</translation>
    </message>
</context>
<context>
    <name>postkite::ui::FolderTreeModel</name>
    <message>
        <source>%1 (%2)</source>
        <extracomment>%1: a folder&apos;s name, %2: how many unread mails it has</extracomment>
        <translation>%1 (%2)</translation>
    </message>
    <message>
        <source>%1、未読 %2 通</source>
        <translation>%1, %2 unread</translation>
    </message>
</context>
<context>
    <name>postkite::ui::FolderTreeView</name>
    <message>
        <source>フォルダ一覧</source>
        <translation>Folder list</translation>
    </message>
</context>
<context>
    <name>postkite::ui::MailListModel</name>
    <message>
        <source>%1、件名 %2、%3、%4</source>
        <translation>%1, subject %2, %3, %4</translation>
    </message>
    <message>
        <source>、</source>
        <comment>between marks</comment>
        <translation>, </translation>
    </message>
    <message>
        <source>番号と印</source>
        <translation>Number and marks</translation>
    </message>
    <message>
        <source>印</source>
        <translation>Marks</translation>
    </message>
    <message>
        <source>ID</source>
        <translation>ID</translation>
    </message>
    <message>
        <source>名前</source>
        <translation>Name</translation>
    </message>
    <message>
        <source>サイズ</source>
        <translation>Size</translation>
    </message>
    <message>
        <source>日付</source>
        <translation>Date</translation>
    </message>
    <message>
        <source>件名</source>
        <translation>Subject</translation>
    </message>
</context>
<context>
    <name>postkite::ui::MailListView</name>
    <message>
        <source>フォルダの内容が変わったため、一覧を更新しました。もう一度選択してください。</source>
        <translation>The folder has changed, so the list has been refreshed. Please select again.</translation>
    </message>
    <message>
        <source>%L1 通のメールは壊れているため、印を付けられませんでした。</source>
        <translation>Some mail is damaged and could not be marked. (Number of mails: %L1)</translation>
    </message>
    <message>
        <source>送信予約は作成したメールだけにできます。%L1 通はそのままです。</source>
        <translation>Only mail that was written here can be reserved for sending. The rest was left as it is. (Number of mails: %L1)</translation>
    </message>
    <message>
        <source>選択したメールを削除してもよろしいですか？</source>
        <translation>Do you want to delete the selected mail?</translation>
    </message>
    <message>
        <source>メール一覧</source>
        <translation>Mail list</translation>
    </message>
    <message>
        <source>%L1 通</source>
        <translation>Mails: %L1</translation>
    </message>
    <message>
        <source>%L1 通中 %L2 通を表示</source>
        <translation>Mails: %L2 of %L1 shown</translation>
    </message>
    <message>
        <source>%L1 通のメール</source>
        <translation>Mails: %L1</translation>
    </message>
</context>
<context>
    <name>postkite::ui::MainWindow</name>
    <message>
        <source>フォルダ一覧</source>
        <translation>Folder list</translation>
    </message>
    <message>
        <source>メール一覧</source>
        <translation>Mail list</translation>
    </message>
    <message>
        <source>メールの本文</source>
        <translation>Mail text</translation>
    </message>
    <message>
        <source>バンクを開けません</source>
        <translation>The bank cannot be opened</translation>
    </message>
    <message>
        <source>バンク %1</source>
        <translation>Bank %1</translation>
    </message>
    <message>
        <source>メニューの「通信」から「練習用ホストに接続」を選ぶと、送受信を試せます。</source>
        <translation>To try sending and receiving, choose &quot;Call Practice Host&quot; in the &quot;Connection&quot; menu.</translation>
    </message>
    <message>
        <source>送受信中です。
回線を切断して終了しますか？</source>
        <translation>Mail is being sent or received.
Do you want to hang up and quit?</translation>
    </message>
    <message>
        <source>終了の処理を完了できませんでした。
このまま終了しますか？</source>
        <translation>Not everything that is done before quitting could be completed.
Do you want to quit anyway?</translation>
    </message>
    <message>
        <source>フォルダへ移動</source>
        <translation>Move to Folder</translation>
    </message>
    <message>
        <source>フォルダの移動</source>
        <translation>Move Folder</translation>
    </message>
    <message>
        <source>旧形式のメールボックスはありません。</source>
        <translation>There are no mailboxes of the old format.</translation>
    </message>
    <message>
        <source>この振り分けは実行できません。設定と移動先のフォルダを確かめてください。</source>
        <translation>This rule cannot be run. Check its settings and the folder that it moves mail to.</translation>
    </message>
    <message>
        <source>%1 - %2</source>
        <translation>%1 - %2</translation>
    </message>
    <message>
        <source>フォルダの内容が変わったため、移動しませんでした。</source>
        <translation>The folder has changed, so nothing was moved.</translation>
    </message>
    <message>
        <source>メールボックスディレクトリ %1 にアクセスできません。</source>
        <translation>The mailbox directory %1 cannot be reached.</translation>
    </message>
</context>
<context>
    <name>postkite::ui::Menus</name>
    <message>
        <source>ファイル(&amp;F)</source>
        <translation>&amp;File</translation>
    </message>
    <message>
        <source>編集(&amp;E)</source>
        <translation>&amp;Edit</translation>
    </message>
    <message>
        <source>表示(&amp;V)</source>
        <translation>&amp;View</translation>
    </message>
    <message>
        <source>フォルダ(&amp;D)</source>
        <translation>Fol&amp;der</translation>
    </message>
    <message>
        <source>メール(&amp;M)</source>
        <translation>&amp;Mail</translation>
    </message>
    <message>
        <source>通信(&amp;C)</source>
        <translation>&amp;Connection</translation>
    </message>
    <message>
        <source>接続環境(&amp;N)</source>
        <translation>E&amp;nvironment</translation>
    </message>
    <message>
        <source>振り分け(&amp;R)</source>
        <translation>So&amp;rting</translation>
    </message>
    <message>
        <source>設定(&amp;S)</source>
        <translation>&amp;Settings</translation>
    </message>
    <message>
        <source>ヘルプ(&amp;H)</source>
        <translation>&amp;Help</translation>
    </message>
    <message>
        <source>メールボックスバンク(&amp;B)</source>
        <translation>Mailbox &amp;Bank</translation>
    </message>
</context>
<context>
    <name>postkite::ui::MessageView</name>
    <message>
        <source>印刷できませんでした。</source>
        <translation>The mail could not be printed.</translation>
    </message>
    <message>
        <source>シフトJISのテキスト (*.txt)</source>
        <translation>Shift JIS text (*.txt)</translation>
    </message>
    <message>
        <source>UTF-8のテキスト (*.txt)</source>
        <translation>UTF-8 text (*.txt)</translation>
    </message>
    <message>
        <source>メールの保存</source>
        <translation>Save Mail</translation>
    </message>
    <message>
        <source>ファイルに保存できませんでした。
%1</source>
        <translation>The mail could not be saved to the file.
%1</translation>
    </message>
    <message>
        <source>メールの本文</source>
        <translation>Mail text</translation>
    </message>
    <message>
        <source>このメールは壊れているか、なくなっています。本文は表示できません。</source>
        <translation>This mail is damaged or no longer there. Its text cannot be shown.</translation>
    </message>
</context>
<context>
    <name>postkite::ui::MessageWindow</name>
    <message>
        <source>（題名なし）</source>
        <translation>(no subject)</translation>
    </message>
    <message>
        <source>メール</source>
        <translation>Mail</translation>
    </message>
    <message>
        <source>保存(&amp;A)</source>
        <translation>Sa&amp;ve</translation>
    </message>
    <message>
        <source>印刷(&amp;R)</source>
        <translation>P&amp;rint</translation>
    </message>
    <message>
        <source>検索(&amp;F)</source>
        <translation>&amp;Find</translation>
    </message>
    <message>
        <source>閉じる(&amp;C)</source>
        <translation>&amp;Close</translation>
    </message>
</context>
<context>
    <name>postkite::ui::MonitorDock</name>
    <message>
        <source>通信モニタ</source>
        <translation>Communication Monitor</translation>
    </message>
</context>
<context>
    <name>postkite::ui::PathEditor</name>
    <message>
        <source>参照...</source>
        <translation>Browse...</translation>
    </message>
    <message>
        <source>%1の参照</source>
        <translation>Browse: %1</translation>
    </message>
    <message>
        <source>再生</source>
        <translation>Play</translation>
    </message>
    <message>
        <source>%1の再生</source>
        <translation>Play: %1</translation>
    </message>
    <message>
        <source>Wave ファイル (*.wav *.WAV);;すべてのファイル (*)</source>
        <translation>Wave files (*.wav *.WAV);;All files (*)</translation>
    </message>
    <message>
        <source>すべてのファイル (*)</source>
        <translation>All files (*)</translation>
    </message>
</context>
<context>
    <name>postkite::ui::ReadConditionsDialog</name>
    <message>
        <source>読み込まない(&amp;N)</source>
        <translation>Do &amp;not read</translation>
    </message>
    <message>
        <source>通信のたびに読み込む(&amp;E)</source>
        <translation>Read in &amp;every session</translation>
    </message>
    <message>
        <source>1 日 1 回読み込む(&amp;P)</source>
        <translation>Read once &amp;per day</translation>
    </message>
    <message>
        <source>%1 の読み込み条件を扱えません。（%2）</source>
        <translation>The read condition of %1 cannot be read or written. (%2)</translation>
    </message>
    <message>
        <source>%1 ライブラリの読み込み条件の設定

最終アクセス日で指定された日以降にアップロードされたライブラリデータ一覧を読み込みます。</source>
        <translation>Read condition of the library %1

The list of library data that was uploaded on or after the last access date is read.</translation>
    </message>
    <message>
        <source>%1 会議室の読み込み条件の設定

最終アクセス日で指定された日より今日の日付が新しい時に会議室の未読発言を読み込みます。</source>
        <translation>Read condition of the room %1

The unread messages of the room are read when today is later than the last access date.</translation>
    </message>
    <message>
        <source>%1 は会議室でもライブラリでもありません。</source>
        <translation>%1 is neither a room nor a library.</translation>
    </message>
    <message>
        <source>読み込み条件の設定</source>
        <translation>Read Condition</translation>
    </message>
    <message>
        <source>読み込み条件</source>
        <translation>Read condition</translation>
    </message>
    <message>
        <source>最終アクセス日(&amp;D)（年/月/日）:</source>
        <translation>Last access &amp;date (year/month/day):</translation>
    </message>
</context>
<context>
    <name>postkite::ui::RuleDialog</name>
    <message>
        <source>有効(&amp;V)</source>
        <translation>&amp;Enabled</translation>
    </message>
    <message>
        <source>自動(&amp;A)</source>
        <translation>&amp;Automatic</translation>
    </message>
    <message>
        <source>%1 フォルダの振り分け設定</source>
        <translation>Sorting Rule for Folder %1</translation>
    </message>
    <message>
        <source>振り分け名(&amp;N)</source>
        <translation>Rule &amp;name</translation>
    </message>
    <message>
        <source>調べる項目(&amp;I)</source>
        <translation>F&amp;ield to check</translation>
    </message>
    <message>
        <source>含まれる文字列(&amp;S)</source>
        <translation>&amp;Text to find</translation>
    </message>
    <message>
        <source>移動先のフォルダ(&amp;F)</source>
        <translation>Move to &amp;folder</translation>
    </message>
    <message>
        <source>%1（使えない項目）</source>
        <translation>%1 (unusable field)</translation>
    </message>
    <message>
        <source>%1（フォルダがありません）</source>
        <translation>%1 (no such folder)</translation>
    </message>
    <message>
        <source>「%1」を入力してください。</source>
        <translation>Please enter &quot;%1&quot;.</translation>
    </message>
    <message>
        <source>振り分け名</source>
        <translation>Rule name</translation>
    </message>
    <message>
        <source>含まれる文字列</source>
        <translation>Text to find</translation>
    </message>
    <message>
        <source>移動先のフォルダを選んでください。</source>
        <translation>Please choose the folder to move to.</translation>
    </message>
</context>
<context>
    <name>postkite::ui::RuleTrialDialog</name>
    <message>
        <source>振り分けを試す</source>
        <translation>Try Sorting</translation>
    </message>
    <message>
        <source>%1 フォルダには、規則に合うメールがありません。</source>
        <translation>No mail in the folder %1 matches a rule.</translation>
    </message>
    <message>
        <source>%1 フォルダの %2 通のメールが規則に合います。まだ何も移動していません。</source>
        <translation>Mails in the folder %1 that match a rule: %2. Nothing has been moved yet.</translation>
    </message>
    <message>
        <source>題名</source>
        <translation>Subject</translation>
    </message>
    <message>
        <source>差出人・宛先</source>
        <translation>Sender or addressee</translation>
    </message>
    <message>
        <source>日付</source>
        <translation>Date</translation>
    </message>
    <message>
        <source>振り分け名</source>
        <translation>Rule name</translation>
    </message>
    <message>
        <source>移動先</source>
        <translation>Move to</translation>
    </message>
    <message>
        <source>移動するメール</source>
        <translation>Mail to be moved</translation>
    </message>
    <message>
        <source>最初の %1 通を表示しています。</source>
        <translation>The first %1 mails are shown.</translation>
    </message>
</context>
<context>
    <name>postkite::ui::RulesDialog</name>
    <message>
        <source>振り分け規則のファイル %1 を読み込めません。（%2）</source>
        <translation>The file of sorting rules, %1, cannot be read. (%2)</translation>
    </message>
    <message>
        <source>振り分け規則</source>
        <translation>Sorting Rules</translation>
    </message>
    <message>
        <source>振り分け名</source>
        <translation>Rule name</translation>
    </message>
    <message>
        <source>状態</source>
        <translation>State</translation>
    </message>
    <message>
        <source>動作</source>
        <translation>Action</translation>
    </message>
    <message>
        <source>...に</source>
        <translation>If...</translation>
    </message>
    <message>
        <source>...が含まれるメールを</source>
        <translation>contains...</translation>
    </message>
    <message>
        <source>...へ移動する</source>
        <translation>move to...</translation>
    </message>
    <message>
        <source>追加(&amp;A)...</source>
        <translation>&amp;Add...</translation>
    </message>
    <message>
        <source>編集(&amp;E)...</source>
        <translation>&amp;Edit...</translation>
    </message>
    <message>
        <source>複写(&amp;P)</source>
        <translation>Du&amp;plicate</translation>
    </message>
    <message>
        <source>削除(&amp;D)</source>
        <translation>&amp;Delete</translation>
    </message>
    <message>
        <source>上へ(&amp;U)</source>
        <translation>Move &amp;Up</translation>
    </message>
    <message>
        <source>下へ(&amp;W)</source>
        <translation>Move Do&amp;wn</translation>
    </message>
    <message>
        <source>試す(&amp;T)...</source>
        <translation>&amp;Try...</translation>
    </message>
    <message>
        <source>表示中のフォルダから移動するメールの一覧を表示します。何も移動しません。</source>
        <translation>Lists the mail that would be moved out of the displayed folder. Nothing is moved.</translation>
    </message>
    <message>
        <source>規則（上から順に調べ、最初に合った規則で移動します）(&amp;L)</source>
        <translation>Ru&amp;les (checked from the top; the first one that matches moves the mail)</translation>
    </message>
    <message>
        <source>使われるのは、先頭から %1 個までの有効な規則です。</source>
        <translation>Only the first %1 enabled rules are used.</translation>
    </message>
    <message>
        <source>（空です）</source>
        <translation>(empty)</translation>
    </message>
    <message>
        <source>%1（長すぎます）</source>
        <translation>%1 (too long)</translation>
    </message>
    <message>
        <source>有効</source>
        <translation>Enabled</translation>
    </message>
    <message>
        <source>無効</source>
        <translation>Disabled</translation>
    </message>
    <message>
        <source>自動</source>
        <translation>Automatic</translation>
    </message>
    <message>
        <source>%1（使えない項目）</source>
        <translation>%1 (unusable field)</translation>
    </message>
    <message>
        <source>%1（フォルダがありません）</source>
        <translation>%1 (no such folder)</translation>
    </message>
    <message>
        <source>振り分け規則は、ほかのプログラムで変更されています。
上書きしますか？</source>
        <translation>The sorting rules have been changed by another program.
Do you want to overwrite them?</translation>
    </message>
</context>
<context>
    <name>postkite::ui::SessionControl</name>
    <message>
        <source>練習用ホストに接続します。
届く練習用のメールは、今の受信フォルダに入ります。
送信は行いません。接続しますか？</source>
        <translation>This calls the practice host.
The practice mail that arrives goes into the current inbox folder.
Nothing is sent. Do you want to connect?</translation>
    </message>
    <message>
        <source>練習用ホスト（postkite-host）を起動できません。（%1）</source>
        <translation>The practice host (postkite-host) cannot be started. (%1)</translation>
    </message>
</context>
<context>
    <name>postkite::ui::SettingsDialog</name>
    <message>
        <source>設定</source>
        <translation>Settings</translation>
    </message>
    <message>
        <source>設定の検索(&amp;F)</source>
        <translation>&amp;Find settings</translation>
    </message>
    <message>
        <source>ページ(&amp;L)</source>
        <translation>Page &amp;list</translation>
    </message>
    <message>
        <source>起動時パスワードを入力してください。</source>
        <translation>Please enter the start-up password.</translation>
    </message>
</context>
<context>
    <name>postkite::ui::SettingsPage</name>
    <message>
        <source>値の保存のみ（この版では使いません）</source>
        <translation>Only kept (not used in this version)</translation>
    </message>
</context>
<context>
    <name>postkite::ui::ShortcutsDialog</name>
    <message>
        <source>キーの一覧</source>
        <translation>Keyboard Shortcuts</translation>
    </message>
    <message>
        <source>操作</source>
        <translation>Command</translation>
    </message>
    <message>
        <source>キー</source>
        <translation>Key</translation>
    </message>
</context>
<context>
    <name>postkite::ui::StartUpPasswordDialog</name>
    <message>
        <source>起動時パスワード</source>
        <translation>Start-up Password</translation>
    </message>
    <message>
        <source>起動時パスワードを入力してください(&amp;P)</source>
        <translation>Enter the start-up &amp;password</translation>
    </message>
    <message>
        <source>パスワードが違います。</source>
        <translation>The password is wrong.</translation>
    </message>
</context>
<context>
    <name>postkite::ui::StatusLine</name>
    <message>
        <source>状態</source>
        <translation>Status</translation>
    </message>
    <message>
        <source>通数</source>
        <translation>Number of mails</translation>
    </message>
    <message>
        <source>メールボックスバンク</source>
        <translation>Mailbox bank</translation>
    </message>
    <message>
        <source>進み具合</source>
        <translation>Progress</translation>
    </message>
</context>
<context>
    <name>postkite::ui::TextField</name>
    <message>
        <source>「%1」には文字「%2」を使えません。</source>
        <translation>&quot;%1&quot; cannot contain the character &quot;%2&quot;.</translation>
    </message>
    <message>
        <source>「%1」には改行などの制御文字を使えません。</source>
        <translation>&quot;%1&quot; cannot contain line breaks or other control characters.</translation>
    </message>
    <message>
        <source>「%1」は %2 バイトまでです。（全角文字は 2 バイト）</source>
        <translation>&quot;%1&quot; can have at most %2 bytes. (A full-width character has 2 bytes.)</translation>
    </message>
</context>
<context>
    <name>postkite::ui::ToolBars</name>
    <message>
        <source>ボタン</source>
        <translation>Buttons</translation>
    </message>
    <message>
        <source>接続環境</source>
        <translation>Connection Environment</translation>
    </message>
    <message>
        <source>メールボックスバンク</source>
        <translation>Mailbox Bank</translation>
    </message>
    <message>
        <source>バンク(&amp;B)</source>
        <translation>&amp;Bank</translation>
    </message>
    <message>
        <source>環境 %1</source>
        <translation>Environment %1</translation>
    </message>
    <message>
        <source>環境(&amp;I)</source>
        <translation>Env&amp;ironment</translation>
    </message>
</context>
</TS>
