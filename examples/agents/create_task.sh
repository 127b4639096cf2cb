#!/bin/sh
# create_task.sh TITLE: adds a task to the plan unless it is there, and retries after a conflict.
# Requires jq. TARNWELLCTL names the tool if it is not in PATH.
set -eu

tool=${TARNWELLCTL:-tarnwellctl}

fail() {
  printf '%s\n' "$1" >&2
  exit 1
}

[ $# -eq 1 ] || fail "usage: create_task.sh TITLE"
title=$1
for program in "$tool" jq; do
  command -v "$program" >/dev/null || fail "$program is not installed or not in PATH"
done

ask() { printf '%s' "$1" | "$tool"; }
member() { printf '%s' "$1" | jq -r "$2"; } # REPLY PROGRAM

attempts=0
while [ "$attempts" -lt 10 ]; do
  # A refusal is a reply like any other; the exit status says whether there was a command at all.
  plan=$(ask '{"version":1,"command":"tasks.list"}') || true
  [ -n "$plan" ] || fail "$tool gave no reply"
  [ "$(member "$plan" .ok)" = true ] || fail "$(member "$plan" .error.message)"

  # Decide on the plan as it is now: another program may have added the task.
  if printf '%s' "$plan" | jq -e --arg title "$title" 'any(.result[]; .title == $title)' >/dev/null; then
    printf '%s\n' "$title is in the plan"
    exit 0
  fi

  command=$(printf '%s' "$plan" | jq -c --arg title "$title" \
    '{version: 1, command: "tasks.create", expectedRevision: .revision, payload: {title: $title}}')
  reply=$(ask "$command") || true
  [ -n "$reply" ] || fail "$tool gave no reply"
  if [ "$(member "$reply" .ok)" = true ]; then
    printf '%s\n' "$title was added, revision $(member "$reply" .revision)"
    exit 0
  fi
  [ "$(member "$reply" .error.code)" = revision_conflict ] || fail "$(member "$reply" .error.message)"
  attempts=$((attempts + 1))
done
fail "the plan keeps changing"
