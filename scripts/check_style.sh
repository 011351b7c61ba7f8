#!/usr/bin/env bash
# Layout and a few rules that a compiler does not know.
set -euo pipefail
cd "$(dirname "$0")/.."
status=0

mapfile -t sources < <(git ls-files '*.cpp' '*.h')
clang-format-14 --dry-run --Werror "${sources[@]}" || status=1

# complain MESSAGE, with the offending lines on standard input
complain() {
  local lines
  lines=$(cat)
  [ -z "$lines" ] && return
  printf '%s:\n%s\n' "$1" "$lines" >&2
  status=1
}

# Process substitution, so that complain can set the status.
complain "The core must not know Qt" < <(
  git grep -nE '#include <Q' -- src/base src/engine src/workbook src/project src/selection src/cli || true)
complain "Only FormatTable.cpp may name a format folder" < <(
  git grep -nE '#include "workbook/(ooxml|text|xls|ods|dbf|dif|lotus|markup)/' -- src |
    grep -vE '^src/workbook/(ooxml|text|xls|ods|dbf|dif|lotus|markup)/|^src/workbook/FormatTable.cpp' || true)
complain "The workbook layer must not know the engine" < <(
  git grep -nE '#include "(engine|project|selection|shell|lang|ui|cli)/' -- src/workbook || true)
complain "Long files" < <(
  wc -l "${sources[@]}" | awk '$2 != "total" && $1 > 700' | grep -v '_table\.cpp' || true)
exit $status
