#!/usr/bin/env bash
# Builds the coverage flavour, runs every suite (the JVM ones too) and prints the line coverage
# of the library alone (AddIn/, strake/, piodevice/), per directory and in total.
#   scripts/coverage.sh [ctest arguments...]
# Also prints the ratio of non-blank test lines to non-blank code lines, and lists every covered
# line as file:line in build-coverage/covered-lines.txt: `comm -23 before after` of two such
# lists shows what a change to the tests stopped reaching.
set -euo pipefail
cd "$(dirname "$0")/.."

if ! command -v gcovr >/dev/null; then
    echo "coverage.sh needs gcovr: run scripts/setup.sh as root" >&2
    exit 1
fi
dir=build-coverage
bash scripts/build.sh coverage
# Counters from an earlier run would add to this one.
find "$dir" -name '*.gcda' -delete
ctest --test-dir "$dir" -j "${KELMOR_JOBS:-$(nproc)}" --timeout 600 "$@" || status=$?

gcovr --root . --object-directory "$dir" --filter 'AddIn/' --filter 'strake/' --filter 'piodevice/' \
    --gcov-ignore-parse-errors --csv "$dir/coverage.csv" --json "$dir/coverage.json" 2>"$dir/gcovr.log" \
    || { cat "$dir/gcovr.log"; exit 1; }
python3 - "$dir/coverage.json" <<'EOF' | LC_ALL=C sort -u >"$dir/covered-lines.txt"
import json, sys
for entry in json.load(open(sys.argv[1]))['files']:
    for line in entry['lines']:
        if line['count'] > 0:
            print(f"{entry['file']}:{line['line_number']}")
EOF
python3 - "$dir/coverage.csv" <<'EOF'
import csv, sys
folders = {}
for row in csv.DictReader(open(sys.argv[1])):
    name = row['filename']
    top = 'strake/Android' if name.startswith('strake/Android/') else name.split('/')[0]
    lines, hit = folders.get(top, (0, 0))
    folders[top] = (lines + int(row['line_total']), hit + int(row['line_covered']))
total = (sum(v[0] for v in folders.values()), sum(v[1] for v in folders.values()))
for name, (lines, hit) in sorted(folders.items()) + [('total', total)]:
    print(f'{name:16} {hit:6} of {lines:6} lines  {100.0 * hit / max(lines, 1):5.1f}%')
EOF
echo "per file: $dir/coverage.csv"

count() {
    find "$@" -type f \( -name '*.cpp' -o -name '*.h' -o -name '*.java' -o -name '*.py' -o -name '*.sh' \
        -o -name CMakeLists.txt -o -name '*.cmake' \) -print0 | xargs -0 cat | grep -c '[^[:space:]]'
}
tests=$(count tests)
code=$(count AddIn strake piodevice platform java host bench fuzz scripts CMakeLists.txt)
python3 -c "print(f'tests {$tests} / code {$code} = {$tests / $code:.3f} non-blank lines')"
exit "${status:-0}"
