#!/usr/bin/env bash
# SPDX-License-Identifier: MIT
# usage: scripts/try-farm.sh [PREVIEW]
# Renders a sequence on a queue: a Slurm cluster of two nodes on this machine's loopback address, one of which dies in the
# middle; a last job, which depends on the others, writes the page. All frames must be whole, the same bytes as those of
# one run, and only those that are lost may be rendered twice.
# PREVIEW is the samplerinfo-preview to use, build/release's if none is named. Runs as root; ends what it started.
set -euo pipefail
preview=${1:+$(realpath -- "$1")}
. "$(dirname "$0")/common.sh"
preview=${preview:-$PWD/build/release/preview/samplerinfo-preview}
frames=40

((EUID == 0)) || fail "only root can run the daemons of a queue"
[[ -x $preview ]] || fail "$preview: there is no such program; scripts/preview.sh builds it"
step "packages" scripts/install.sh farm

work=$(mktemp -d)
export SLURM_CONF=$work/slurm.conf
stop() {
  pkill -KILL -f "$work" || true # the daemons and the tasks name the folder
  sleep 1
  rm -rf "$work"
}
trap stop EXIT

# A port that nobody listens on.
port() {
  local port
  for ((port = 20000 + RANDOM % 20000; ; ++port)); do
    (exec 3<>"/dev/tcp/127.0.0.1/$port") 2>/dev/null || { echo "$port" && return; }
  done
}

# wait_for SECONDS COMMAND...: until it succeeds.
wait_for() {
  local end=$((SECONDS + $1))
  until "${@:2}" >/dev/null 2>&1; do
    ((SECONDS < end)) || fail "not within $1 s: ${*:2}"
    sleep 0.2
  done
}

configure() {
  dd if=/dev/urandom of="$work/munge.key" bs=1024 count=1 status=none
  chmod 400 "$work/munge.key"
  mkdir "$work/state" "$work/frames"
  chmod 755 "$work"
  cat >"$SLURM_CONF" <<END
ClusterName=try
SlurmctldHost=$(hostname)(127.0.0.1)
SlurmctldPort=$(port)
SlurmUser=root
AuthType=auth/munge
AuthInfo=socket=$work/munge.socket,cred_expire=10
StateSaveLocation=$work/state
SlurmctldPidFile=$work/slurmctld.pid
SlurmctldLogFile=$work/slurmctld.log
SlurmdPidFile=$work/%n.pid
SlurmdLogFile=$work/%n.log
SlurmdSpoolDir=$work/%n
SlurmdTimeout=5
SchedulerParameters=batch_sched_delay=0,sched_interval=1,sched_min_interval=0
SlurmdParameters=config_overrides
ProctrackType=proctrack/linuxproc
TaskPlugin=task/none
MpiDefault=none
SelectType=select/linear
NodeName=one NodeHostname=$(hostname) NodeAddr=127.0.0.1 Port=$(port) CPUs=1
NodeName=two NodeHostname=$(hostname) NodeAddr=127.0.0.1 Port=$(port) CPUs=1
PartitionName=all Nodes=one,two Default=YES
END
}

start() {
  munged --foreground --force --socket="$work/munge.socket" --key-file="$work/munge.key" --log-file="$work/munged.log" \
    --pid-file="$work/munged.pid" --seed-file="$work/munged.seed" --num-threads=2 2>/dev/null &
  disown
  wait_for 10 test -S "$work/munge.socket"
  slurmctld -D -f "$SLURM_CONF" >/dev/null 2>&1 &
  disown
  local node
  for node in one two; do
    mkdir "$work/$node"
    slurmd -D -N "$node" -f "$SLURM_CONF" >/dev/null 2>&1 &
    disown
  done
  wait_for 30 both_idle
}
both_idle() { [[ $(sinfo --noheader --format=%D --states=idle) == 2 ]]; }

# What one task of the array does: it notes who began which frame and who ended it, and renders it.
task() {
  cat <<END
#!/bin/sh
echo "begin \$SLURM_ARRAY_TASK_ID \$SLURMD_NODENAME" >>"$work/log"
'$preview' render '$work/scene.json' -o '$work/frames' --quiet --threads 1 --resume --frames \$SLURM_ARRAY_TASK_ID &&
  echo "end \$SLURM_ARRAY_TASK_ID \$SLURMD_NODENAME" >>"$work/log"
END
}

last_job() {
  cat <<END
#!/bin/sh
'$preview' render '$work/scene.json' -o '$work/frames' --quiet --threads 1 --resume && echo page >>"$work/log"
END
}

# submit ARGUMENT...: the frames, and the job that writes the page when they have ended.
submit() {
  : >"$work/log"
  local job
  job=$(task | sbatch --parsable --requeue --array="1-$frames" --output=/dev/null "$@")
  last_job | sbatch --parsable --dependency="afterany:$job" --output=/dev/null >/dev/null
}
ended() { grep -c '^end' "$work/log" || true; }
has_ended() { (($(ended) >= $1)); }
queue_is_empty() { [[ -z $(squeue --noheader) ]]; }

# finish TIME: waits for the last task, prints how long all took since.
finish() {
  wait_for 600 has_ended "$frames"
  awk -v from="$1" -v to="$EPOCHREALTIME" -v frames="$frames" \
    'BEGIN { printf "%d frames in %.1f s, %.2f frames a second\n", frames, to - from, frames / (to - from) }'
  wait_for 60 queue_is_empty
  grep -qx page "$work/log" || fail "the last job has not written the page"
}

one_run() {
  local from=$EPOCHREALTIME
  "$preview" render "$work/scene.json" -o "$work/expected" --quiet --threads 1
  awk -v from="$from" -v to="$EPOCHREALTIME" 'BEGIN { printf "one run with one thread: %.1f s\n", to - from }'
}

with_tasks() {
  rm -rf "$work/frames"
  local from=$EPOCHREALTIME
  submit --nodes=1 "${@:2}"
  finish "$from"
  diff -r "$work/expected" "$work/frames"
}

# The node dies with all that runs on it, as if its power had gone. Slurm gives its task to the other.
with_lost_node() {
  rm -rf "$work/frames"
  submit
  wait_for 120 has_ended 10
  wait_for 60 running_on two
  local lost job process
  read -r lost job < <(squeue --noheader --nodelist=two --states=running --format="%K %A")
  pkill -KILL -f -- "-N two -f $SLURM_CONF"
  pkill -KILL -f "slurmstepd: \\[$job\\."
  for process in /proc/[0-9]*; do
    ! grep -qsz '^SLURMD_NODENAME=two$' "$process/environ" || kill -KILL "${process#/proc/}" || true
  done
  echo "node two died with frame $lost after $(ended) frames"
  finish "$EPOCHREALTIME"
  diff -r "$work/expected" "$work/frames" || fail "not the bytes of one run"
  local twice
  twice=$(sed -n 's/^begin //p' "$work/log" | cut -d' ' -f1 | sort -n | uniq -d | xargs)
  echo "rendered twice: $twice"
  [[ $twice == "$lost" ]] || fail "other frames than the lost one were rendered twice"
}
running_on() { [[ -n $(squeue --noheader --nodelist="$1" --states=running) ]]; }

sed "s/\"last\": 3/\"last\": $frames/" scenes/moving_camera.json >"$work/scene.json"
step "one run" one_run
configure
step "a queue of two nodes" start
step "one task at a time" with_tasks 1 --nodelist=one
step "two tasks at a time" with_tasks 2
step "a node is lost" with_lost_node
