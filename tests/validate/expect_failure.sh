#!/usr/bin/env bash
# SPDX-License-Identifier: MIT
# usage: tests/validate/expect_failure.sh VALIDATE MODULE CHECK TEXT
# Succeeds if the check fails on the module, and says so with this text.
set -uo pipefail

report=$("$1" "$2" --only "$3" --timeout 20)
code=$?
echo "$report"
[[ $code == 1 && $report == *"FAILED    $3: "*"$4"* ]] || {
  echo "exit code $code; expected 1, and \"$4\""
  exit 1
}
