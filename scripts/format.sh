#!/usr/bin/env bash
# Applies the house style (.clang-format) to every C++ file of the project.
#   format.sh          reformats the files in place
#   format.sh --check  changes nothing; lists the files that differ and fails when there are any
set -euo pipefail
root="$(cd "$(dirname "$0")/.." && pwd)"
cd "$root"
mapfile -t files < <(git ls-files -- '*.cpp' '*.h' 2>/dev/null || find item device tools tests bench -name '*.cpp' -o -name '*.h')
if [[ "${1:-}" == "--check" ]]; then
  report="$(printf '%s\0' "${files[@]}" | xargs -0 -r -n 100 -P 2 clang-format --style=file --dry-run -Werror 2>&1 || true)"
  mapfile -t bad < <(grep -o '^[^:]*:[0-9]*:[0-9]*: error' <<<"$report" | cut -d: -f1 | sort -u)
  if ((${#bad[@]})); then
    printf 'format: not in the house style: %s\n' "${bad[@]}" >&2
    echo "format: run scripts/format.sh to fix ${#bad[@]} file(s)" >&2
    exit 1
  fi
  echo "format: ${#files[@]} files in the house style"
  exit 0
fi
printf '%s\0' "${files[@]}" | xargs -0 -r -n 50 clang-format --style=file -i
echo "format: ${#files[@]} files formatted"
