#!/usr/bin/env bash
# shows DOCUMENT SOURCE: fails unless a ```cpp block of DOCUMENT is SOURCE, letter by letter.
set -euo pipefail
document=${1:?usage: shows.sh DOCUMENT SOURCE}
source=${2:?usage: shows.sh DOCUMENT SOURCE}
shown=$(sed -n '/^```cpp$/,/^```$/p' "$document" | sed '/^```/d')
diff --label "$document" --label "$source" -u <(printf '%s\n' "$shown") "$source"
