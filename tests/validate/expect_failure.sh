#!/usr/bin/env bash
# SPDX-License-Identifier: MIT
# usage: tests/validate/expect_failure.sh CHECK TEXT VALIDATE [OPTION...] MODULE
# Succeeds if the check fails on the module, and says so with this text; or, for the check "loading", if the module is
# refused with it; or, for "nothing", if no check fails, and the report has it.
set -uo pipefail

only=(--only "$1")
[[ $1 != nothing ]] || only=()
report=$("${@:3}" "${only[@]}" 2>&1)
code=$?
echo "$report"
if [[ $1 == loading ]]; then
  expected=2 line="samplerinfo-validate: ${*: -1}: loading: "
elif [[ $1 == nothing ]]; then
  expected=0 line=
else
  expected=1 line="FAILED    $1: "
fi
[[ $code == "$expected" && $report == *"$line"*"$2"* ]] || {
  echo "exit code $code; expected $expected, and \"$2\""
  exit 1
}
