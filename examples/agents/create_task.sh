#!/bin/sh
# create_task.sh TITLE: adds a task to the plan, however often others change the plan meanwhile.
# Needs jq. TARNWELLCTL names the tool if it is not in the search path.
set -eu

tool=${TARNWELLCTL:-tarnwellctl}
title=$1

ask() { printf '%s' "$1" | "$tool"; }

attempts=0
while [ "$attempts" -lt 10 ]; do
  plan=$(ask '{"version":1,"command":"tasks.list"}')

  # Decide on what the plan says now: somebody may have added the task already.
  if printf '%s' "$plan" | jq -e --arg title "$title" \
    '.ok and any(.result[]; .title == $title)' >/dev/null; then
    echo "$title is in the plan"
    exit 0
  fi

  command=$(printf '%s' "$plan" | jq -c --arg title "$title" \
    '{version: 1, command: "tasks.create", expectedRevision: .revision, payload: {title: $title}}')
  reply=$(ask "$command")

  # The exit status of a refusal is 0, too.
  if [ "$(printf '%s' "$reply" | jq .ok)" = true ]; then
    echo "$title was added, revision $(printf '%s' "$reply" | jq .revision)"
    exit 0
  fi
  if [ "$(printf '%s' "$reply" | jq -r .error.code)" != revision_conflict ]; then
    printf '%s' "$reply" | jq -r .error.message >&2
    exit 1
  fi
  attempts=$((attempts + 1))
done
echo "the plan changes all the time" >&2
exit 1
