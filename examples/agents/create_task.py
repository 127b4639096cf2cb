#!/usr/bin/env python3
"""create_task.py TITLE: adds a task to the plan, however often others change the plan meanwhile.

TARNWELLCTL names the tool if it is not in the search path.
"""
import json
import os
import subprocess
import sys
from typing import Any

TOOL = os.environ.get("TARNWELLCTL", "tarnwellctl")


def ask(command: str, **more: Any) -> dict[str, Any]:
    envelope = json.dumps({"version": 1, "command": command, **more})
    # The exit status says whether there was a command at all; a refusal is a reply like any other.
    run = subprocess.run([TOOL], input=envelope, capture_output=True, text=True, check=False)
    return json.loads(run.stdout)


def create(title: str) -> str:
    for _ in range(10):
        plan = ask("tasks.list")
        if not plan["ok"]:
            raise SystemExit(plan["error"]["message"])
        # Decide on what the plan says now: somebody may have added the task already.
        if any(task["title"] == title for task in plan["result"]):
            return f"{title} is in the plan"
        reply = ask("tasks.create", expectedRevision=plan["revision"], payload={"title": title})
        if reply["ok"]:
            return f"{title} was added, revision {reply['revision']}"
        if reply["error"]["code"] != "revision_conflict":
            raise SystemExit(reply["error"]["message"])
    raise SystemExit("the plan changes all the time")


print(create(sys.argv[1]))
