"""peer.py list|create FILE: does the work of the tool, as a script would."""
import json
import os
import sys
import time
import uuid

operation, path = sys.argv[1:]
with open(path, encoding="utf-8") as file:
    plan = json.load(file)

if operation == "list":
    reply = {"version": 1, "ok": True, "revision": plan["revision"], "result": plan["tasks"]}
else:
    now = time.time() - 978307200
    task = {"id": str(uuid.uuid4()).upper(), "title": "New", "notes": "", "priority": "normal",
            "manualPosition": 0, "status": "pending", "createdAt": now, "updatedAt": now,
            "skipCount": 0, "accumulatedFocusSeconds": 0}
    plan["tasks"].append(task)
    plan["revision"] += 1
    plan["auditEvents"].append({"id": str(uuid.uuid4()).upper(), "timestamp": now,
                                "source": "agent", "action": "task.create", "taskID": task["id"]})
    with open(path + ".new", "w", encoding="utf-8") as file:
        json.dump(plan, file, indent=2, sort_keys=True, ensure_ascii=False)
        file.flush()
        os.fsync(file.fileno())
    os.rename(path + ".new", path)
    reply = {"version": 1, "ok": True, "revision": plan["revision"], "result": task}
print(json.dumps(reply, sort_keys=True))
