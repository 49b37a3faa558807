#!/usr/bin/env bash
# tools/make_screenshots.sh: makes the pictures of docs/user-guide.md anew from the program that ./test.sh built
# (build/windows-x64) under Wine. Arguments go to tests/ui/run_stories.py.
set -euo pipefail
root=$(cd "$(dirname "${BASH_SOURCE[0]}")/.." && pwd -P)
exec python3 "$root/tests/ui/run_stories.py" --images "$root/docs/images" "$@"
