#!/usr/bin/env bash
# SPDX-License-Identifier: MIT
# usage: tests/validate/expect_failure.sh CHECK TEXT VALIDATE [OPTION...] MODULE
# Succeeds if the check fails on the module, and says so with this text.
set -uo pipefail

report=$("${@:3}" --only "$1")
code=$?
echo "$report"
[[ $code == 1 && $report == *"FAILED    $1: "*"$2"* ]] || {
  echo "exit code $code; expected 1, and \"$2\""
  exit 1
}
