#!/usr/bin/env bash
# report-in-browser.sh RTRIE CHROMIUM: what a browser makes of a report with hostile text: nothing is fetched, nothing is told on
# its console, and report-in-browser.html, which looks at it in several widths and in light and dark, finds nothing wrong.
set -euo pipefail
rtrie=$1
chromium=$2
here=$(cd "$(dirname "${BASH_SOURCE[0]}")" && pwd)
work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT

fail() {
   printf 'report-in-browser: %s\n' "$*" >&2
   exit 1
}

# browse NAME URL [OPTION...]: the page as the browser has it afterwards in NAME.dom, what it says in NAME.log, and its traffic
# in NAME.net.
browse() {
   local name=$work/$1 url=$2
   shift 2
   # Without a sandbox, which containers and root don't have; nothing but these files is opened.
   timeout 120 "$chromium" --headless --no-sandbox --disable-gpu --disable-dev-shm-usage --hide-scrollbars \
      --user-data-dir="$work/profile" --no-first-run --disable-background-networking --disable-component-update \
      --disable-sync --disable-default-apps --disable-extensions --host-resolver-rules='MAP * 127.0.0.1:9' \
      --enable-logging=stderr --log-net-log="$name.net" --net-log-capture-mode=Everything --virtual-time-budget=20000 \
      --dump-dom "$@" "$url" >"$name.dom" 2>"$name.log" || fail "the browser failed: $(tail -n 3 "$name.log")"
}

# What a page asked of the network; files and data: are none, and a browser asks its maker for news whatever it shows. And what
# it said.
fetched() {
   grep -oE '"url":"(https?|wss?|ftp)://[^"]*"' "$work/$1.net" | sort -u |
      grep -vE '://([a-z0-9.-]+\.)?(google|googleapis|gvt1)\.com/' || true
}
told() { grep -E 'CONSOLE' "$work/$1.log" || true; }

printf '%s\n' '0.0.0.0/0 via 192.0.2.1 dev eth0' \
   '10.0.0.0/8 <script src=http://elsewhere.invalid/a.js></script><img src=http://elsewhere.invalid/b onerror=alert(1)>' \
   "10.1.0.0/16 '\"><style>@import 'http://elsewhere.invalid/c.css'</style>" '10.2.0.0/16 lan' \
   '2001:db8:aaaa:bbbb:cccc:dddd:eeee:0/112 a-word-without-an-end-that-goes-on-and-on-and-on-and-on-and-on-and-on-and-on' \
   '2001:db9::/32 six' >"$work/now"
printf '%s\n' '0.0.0.0/0 via 192.0.2.1 dev eth0' '10.0.0.0/8 ten' '10.3.0.0/16 lan' >"$work/before"
"$rtrie" report --table "$work/now" --against "$work/before" --size 64 --out "$work/page.html"

# The checks can fail: a page with all these faults shows them.
cat >"$work/bad.html" <<'BAD'
<!DOCTYPE html><html lang="en"><title>bad</title><h3>bad</h3><p style="color: #ccc; width: 2000px">pale</p>
<img src="http://elsewhere.invalid/picture.png"><script>console.log("something")</script>
BAD
browse bad "file://$work/bad.html"
[[ $(fetched bad) == *elsewhere.invalid/picture.png* ]] || fail "a picture from elsewhere goes unseen"
[[ $(told bad) == *something* ]] || fail "what the console tells goes unseen"

browse page "file://$work/page.html"
[[ -z $(fetched page) ]] || fail "the page fetches $(fetched page)"
[[ -z $(told page) ]] || fail "the console tells: $(told page)"
grep -q '<h1>Routes of ' "$work/page.dom" || fail "the page is not shown"

# look NAME PAGE QUERY [OPTION...]: what is wrong with that page.
look() {
   local name=$1 page=$2 query=$3
   shift 3
   browse "$name" "file://$here/report-in-browser.html$query#file://$page" --allow-file-access-from-files "$@"
   sed -n '/<pre id="found">/,/<\/pre>/p' "$work/$name.dom"
}
found=$(look badLook "$work/bad.html" '')
for fault in 'wider than its window' 'contrast of' 'a heading of level 3' 'not one main' '0 maps' 'a text became markup'; do
   [[ $found == *"$fault"* ]] || fail "a page where it is \"$fault\" goes unseen: $found"
done
for theme in light dark; do
   found=$(look "$theme" "$work/page.html" "?$theme" --blink-settings=preferredColorScheme=$([[ $theme == dark ]] && echo 0 || echo 1))
   [[ $found == *"nothing is wrong"* ]] || fail "$theme: $found"
done
