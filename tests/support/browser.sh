# SPDX-License-Identifier: MIT
# shellcheck shell=bash
# Sourced by tests, in a folder of their own: drives a page in Chromium as a user does. The browser takes its orders
# from a pipe, each ending in a zero byte.

open_page() { # ADDRESS
  mkfifo orders answers
  timeout 120 chromium --headless --no-sandbox --disable-gpu --user-data-dir="$PWD/profile" --window-size=1400,900 \
    --remote-debugging-pipe "$1" 3<orders 4>answers 2>/dev/null &
  browser=$!
  exec 7>orders 8<answers
  id=0 session='' answer=''
  order Target.getTargets ""
  answer=${answer%%'","type":"page"'*}
  target=${answer##*'"'}
  order Target.attachToTarget "\"targetId\":\"$target\",\"flatten\":true"
  session=$(answered sessionId)
}
close_browser() {
  session=''
  order Browser.close ""
  wait "$browser"
}
order() { # METHOD PARAMETERS
  id=$((id + 1))
  printf '{"id":%d,"method":"%s","params":{%s}%s}\0' $id "$1" "$2" "${session:+,\"sessionId\":\"$session\"}" >&7
  until [[ $answer == "{\"id\":$id,"* ]]; do read -r -d '' answer <&8; done
}
answered() { # NAME of a text
  local text=${answer#*"\"$1\":\""}
  echo "${text%%'"'*}"
}
evaluate() {
  order Runtime.evaluate "\"expression\":\"String($1)\""
  value=$(answered value)
}
expect() { # WHAT EXPRESSION EXPECTED
  for _ in {1..100}; do
    evaluate "$2"
    if [[ $value == "$3" ]]; then return; fi
    sleep 0.1
  done
  echo "$1: expected $3, got $value; $answer"
  exit 1
}
key() { # NAME CODE [TEXT]
  local common="\"key\":\"$1\",\"code\":\"$1\",\"windowsVirtualKeyCode\":$2"
  order Input.dispatchKeyEvent "\"type\":\"keyDown\",$common${3:+,\"text\":\"$3\"}"
  order Input.dispatchKeyEvent "\"type\":\"keyUp\",$common"
}
mouse() { # TYPE X Y
  order Input.dispatchMouseEvent "\"type\":\"$1\",\"x\":$2,\"y\":$3,\"button\":\"left\",\"clickCount\":1"
}
