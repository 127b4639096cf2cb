#!/usr/bin/env python3
"""create_task.py TITLE: adds a task to the plan unless it is there, and retries after a conflict.

TARNWELLCTL names the tool if it is not in PATH.
"""
import json
import os
import subprocess
import sys
from typing import Any

TOOL = os.environ.get("TARNWELLCTL", "tarnwellctl")


def ask(command: str, **more: Any) -> dict[str, Any]:
    envelope = json.dumps({"version": 1, "command": command, **more})
    try:
        # A refusal is a reply like any other; the exit status says whether there was a command at all.
        run = subprocess.run([TOOL], input=envelope, capture_output=True, text=True, check=False)
    except OSError:
        raise SystemExit(f"{TOOL} is not installed or not in PATH") from None
    if not run.stdout:
        raise SystemExit(f"{TOOL} gave no reply")
    return json.loads(run.stdout)


def create(title: str) -> str:
    for _ in range(10):
        plan = ask("tasks.list")
        if not plan["ok"]:
            raise SystemExit(plan["error"]["message"])
        # Decide on the plan as it is now: another program may have added the task.
        if any(task["title"] == title for task in plan["result"]):
            return f"{title} is in the plan"
        reply = ask("tasks.create", expectedRevision=plan["revision"], payload={"title": title})
        if reply["ok"]:
            return f"{title} was added, revision {reply['revision']}"
        if reply["error"]["code"] != "revision_conflict":
            raise SystemExit(reply["error"]["message"])
    raise SystemExit("the plan keeps changing")


if len(sys.argv) != 2:
    raise SystemExit("usage: create_task.py TITLE")
print(create(sys.argv[1]))
