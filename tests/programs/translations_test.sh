#!/usr/bin/env bash
# translations_test.sh LUPDATE SOURCE_DIR: every text of the windows is in the English translation, and none is left
# untranslated or out of use.
set -euo pipefail
lupdate=$1
source=$2
ts=$source/src/ui/translations/postkite_en.ts

directory=$(mktemp -d)
trap 'rm -rf "$directory"' EXIT
cp "$ts" "$directory/fresh.ts"
"$lupdate" -silent -locations none -no-ui-lines -I "$source/src" "$source/src/ui" -ts "$directory/fresh.ts"
faults=$(grep -nE 'type="(unfinished|vanished|obsolete)"' "$directory/fresh.ts" || true)
if [ -n "$faults" ]; then
    echo "Texts without a translation, or translations without a text (see $ts):"
    grep -B3 -E 'type="(unfinished|vanished|obsolete)"' "$directory/fresh.ts" | grep '<source>'
    exit 1
fi
# A translation that loses a place holder would show a text without what it is about.
python3 - "$directory/fresh.ts" <<'EOF'
import re, sys, xml.etree.ElementTree as tree
wrong = 0
for message in tree.parse(sys.argv[1]).iter("message"):
    source, english = message.findtext("source"), message.findtext("translation")
    holders = lambda text: sorted(re.findall(r"%\d+|%n", text))
    keys = lambda text: len(re.findall(r"&[^&]", text.replace("&&", "")))
    if holders(source) != holders(english) or keys(source) != keys(english):
        print("place holders or access keys differ:", source, "|", english)
        wrong = 1
    if re.search(r"[\u3040-\u30ff\u4e00-\u9fff]", english):
        print("not English:", source, "|", english)
        wrong = 1
sys.exit(wrong)
EOF
echo "translations: complete"
