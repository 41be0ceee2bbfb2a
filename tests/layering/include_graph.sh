#!/usr/bin/env bash
# Prints the include graph between Navo's folders (product code only, tests
# and benchmarks left out) and fails when an include runs back up the stack:
#   app -> audio, telephony -> store -> core -> maker, res -> platform
# Folders on one level may not include each other either (audio and
# telephony; maker and res), except within a folder.
#   include_graph.sh [SOURCE_ROOT]
set -u
root=${1:-$(cd "$(dirname "$0")/../.." && pwd)}
cd "$root"

level() {
    case "$1" in
        app) echo 6 ;;
        audio|telephony) echo 5 ;;
        store) echo 4 ;;
        core) echo 3 ;;
        maker|res) echo 2 ;;
        platform) echo 1 ;;
        *) echo 0 ;;
    esac
}

edges=$(git ls-files -- '*.cpp' '*.h' '*.inc' 2>/dev/null | grep -vE '(^|/)tests?/|^bench/' |
    while read -r file; do
        from=${file%%/*}
        grep -oE '^[[:space:]]*#[[:space:]]*include[[:space:]]+"[a-z]+/' "$file" 2>/dev/null |
            sed -E 's/.*"([a-z]+)\//\1/' | while read -r to; do
                if [ "$from" != "$to" ]; then echo "$from $to $file"; fi
            done
    done | sort -u)

echo "Folder includes (from -> to: files):"
echo "$edges" | awk 'NF { n[$1" -> "$2]++ } END { for (k in n) print "  " k ": " n[k] }' | sort

bad=0
while read -r from to file; do
    [ -n "${from:-}" ] || continue
    lf=$(level "$from"); lt=$(level "$to")
    [ "$lf" -eq 0 ] || [ "$lt" -eq 0 ] && continue
    if [ "$lt" -ge "$lf" ]; then
        echo "back up: $file includes $to/ ($from/ is not above $to/)"
        bad=1
    fi
done <<< "$edges"
[ "$bad" -eq 0 ] && echo "No include runs back up."
exit "$bad"
