#!/usr/bin/env bash
# prints EXPECTED COMMAND...: fails unless the command ends well and prints what the file EXPECTED holds.
set -euo pipefail
expected=${1:?usage: prints.sh EXPECTED COMMAND...}
shift
got=$("$@")
diff --label "$expected" --label "$1" -u "$expected" <(printf '%s\n' "$got")
