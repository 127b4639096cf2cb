"""protocol_test.py TOOL PROTOCOL SCHEMAS: checks the statements of the protocol's document against the tool.

Tables are read from the document, so that a wrong cell fails. Each test has a new plan.
"""
import datetime
import itertools
import json
import os
import re
import subprocess
import sys
import tempfile
import unittest
from pathlib import Path
from typing import Any

TOOL, PROTOCOL, SCHEMAS = sys.argv.pop(1), Path(sys.argv.pop(1)), Path(sys.argv.pop(1))
TEXT = PROTOCOL.read_text()
UNKNOWN, OTHER = "00000000-0000-4000-8000-00000000FFFF", "00000000-0000-4000-8000-00000000FFFE"
SCRATCH = tempfile.TemporaryDirectory()
REFERENCE_DATE = datetime.datetime(2001, 1, 1, tzinfo=datetime.timezone.utc)


def table(heading: str) -> list[list[str]]:
    """The rows of the table whose first row begins with this cell, as cells without back-quotes."""
    start = TEXT.index(f"| {heading} |")
    lines = itertools.takewhile(lambda line: line.startswith("|"), TEXT[start:].splitlines())
    rows = [[cell.strip() for cell in line.strip("|").split("|")] for line in lines]
    return [rows[0]] + rows[2:]


def members(heading: str) -> set[str]:
    """The names in the first column of a table of members; one cell may name several."""
    return {name for row in table(heading)[1:] for name in re.findall(r"`(\w+)`", row[0])}


class Plan:
    """A new plan in a scratch home."""

    def __init__(self) -> None:
        self.home = tempfile.mkdtemp(dir=SCRATCH.name)
        self.data_file = Path(self.home, ".local/share/Tarnwell/state.json")
        self.revision = 0

    def send(self, command: str, **envelope: Any) -> dict[str, Any]:
        run = subprocess.run([TOOL], input=json.dumps({"version": 1, "command": command, **envelope}),
                             env={"HOME": self.home, "PATH": os.environ["PATH"]},
                             capture_output=True, text=True, check=False)
        reply = json.loads(run.stdout) if run.stdout else {"ok": False, "error": {"code": "no reply"}}
        self.revision = reply.get("revision", self.revision)
        return reply

    def change(self, command: str, **payload: Any) -> dict[str, Any]:
        return self.send(command, expectedRevision=self.revision, payload=payload)

    def create(self, title: str = "Task", **payload: Any) -> dict[str, Any]:
        return self.change("tasks.create", title=title, **payload)["result"]

    def tasks(self) -> list[dict[str, Any]]:
        return self.send("tasks.list")["result"]

    def edit(self, edit: Any) -> None:
        document = json.loads(self.data_file.read_text())
        edit(document)
        self.data_file.write_text(json.dumps(document))

    def set_task(self, position: int, **values: Any) -> None:
        self.edit(lambda document: document["tasks"][position].update(values))

    def skip_twice(self, task: str) -> None:
        for command in ("tasks.start", "tasks.skip") * 2:
            self.change(command, **({"task_id": task} if command == "tasks.start" else {}))


def code(reply: dict[str, Any]) -> str:
    return "ok" if reply["ok"] else reply["error"]["code"]


def day_text(day: dict[str, int], later: int = 0) -> str:
    date = datetime.date(day["year"], day["month"], day["day"])
    return (date + datetime.timedelta(days=later)).isoformat()


# The faults of each command, in the order of the document's checks: changes of the plan and the
# envelope that make the check fail. The plan holds one pending task.

def without_revision(_: Plan, envelope: dict[str, Any]) -> None:
    envelope.pop("expectedRevision", None)


def stale(plan: Plan, envelope: dict[str, Any]) -> None:
    if "expectedRevision" in envelope:
        envelope["expectedRevision"] = plan.revision + 7


def payload(**members_of_it: Any) -> Any:
    return lambda _, envelope: envelope["payload"].update(members_of_it)


def task(**values: Any) -> Any:
    return lambda plan, _: plan.set_task(0, **values)


def strict_block(plan: Plan, _: dict[str, Any]) -> None:
    plan.edit(lambda document: document.update(activeSession={
        "id": UNKNOWN, "group": document["groups"][0], "mode": "strict", "startedAt": 0,
        "endsAt": 1e12, "state": "active"}))


def another_active(plan: Plan, _: dict[str, Any]) -> None:
    plan.edit(lambda document: document["tasks"].append(
        {**document["tasks"][0], "id": OTHER, "status": "active", "activeSegmentStartedAt": 0}))


ACTIVE = {"status": "active", "activeSegmentStartedAt": 0}
FAULTS = {
    "tasks.create": ({}, [without_revision, payload(title=7), payload(estimated_minutes=1441), stale]),
    "tasks.update": ({}, [without_revision, payload(task_id="x"), stale, payload(estimated_minutes=0.5),
                          payload(title=" ")]),
    "tasks.start": ({}, [payload(task_id="x"), without_revision, payload(task_id=UNKNOWN),
                         task(blockingGroupID=UNKNOWN), stale, another_active]),
    "tasks.pause": (ACTIVE, [without_revision, strict_block, stale]),
    "tasks.resume": ({"status": "paused"}, [without_revision, task(status="pending"),
                                            task(blockingGroupID=UNKNOWN), stale, another_active]),
    "tasks.skip": (ACTIVE, [without_revision, strict_block, stale]),
    "tasks.complete": (ACTIVE, [without_revision, task(reminder={
        "isEnabled": True, "remindTenMinutesBefore": False, "remindWhenOverdue": False}),
        task(status="pending"), stale]),
    "proposals.generate": ({}, [without_revision, stale]),
    "proposals.approve": ({}, [payload()]),
    "proposals.dismiss": ({}, [payload()]),
}
# Two faults that undo each other.
EXCLUSIVE = {("tasks.start", 0, 2), ("tasks.resume", 1, 2), ("tasks.complete", 1, 2)}


class OrderOfChecks(unittest.TestCase):
    def reply_to(self, command: str, *faults: Any) -> str:
        plan = Plan()
        present = plan.create()
        start_with, _ = FAULTS[command]
        plan.set_task(0, **start_with)
        envelope = {"expectedRevision": plan.revision, "payload": {}}
        if command in ("tasks.update", "tasks.start"):
            envelope["payload"]["task_id"] = present["id"]
        if command == "tasks.create":
            envelope["payload"]["title"] = "New"
        for fault in faults:
            fault(plan, envelope)
        return code(plan.send(command, **envelope))

    def test_the_first_fault_in_the_order_of_the_document_is_answered(self) -> None:
        rows = {row[0].strip("`"): re.findall(r": `(\w+)`", row[1])
                for row in table("command | checks")[1:]}
        self.assertEqual(set(rows), set(FAULTS))
        for command, codes in rows.items():
            _, faults = FAULTS[command]
            self.assertEqual(len(codes), len(faults), command)
            for first, fault in enumerate(faults):
                with self.subTest(command=command, fault=first):
                    self.assertEqual(self.reply_to(command, fault), codes[first])
                for second in range(first + 1, len(faults)):
                    if (command, first, second) in EXCLUSIVE:
                        continue
                    with self.subTest(command=command, faults=(first, second)):
                        # The later fault is applied first, as the earlier one must survive it.
                        self.assertEqual(self.reply_to(command, faults[second], fault), codes[first])


class TaskStates(unittest.TestCase):
    # The statuses of the plan's other tasks in each column of the table.
    COLUMNS = (["active"], ["paused"], [])

    def check(self, row: str, column: int, expected: str) -> None:
        command, _, status = re.fullmatch(r"`([\w.]+)`( of \w+ (\w+) task)?", row).groups()
        plan = Plan()
        others = [each for each in self.COLUMNS[column] if each != status]
        statuses = others + ([status] if status else [])
        for position, each in enumerate(statuses or ["pending"]):
            plan.create()
            plan.set_task(position, status=each,
                          **({"activeSegmentStartedAt": 0} if each == "active" else {}))
        before = plan.tasks()
        target = before[-1 if status else 0]
        reply = plan.change(command, **({"task_id": target["id"]} if status else {}))
        if expected == "operation_failed":
            self.assertEqual((code(reply), plan.tasks()), (expected, before))
        else:
            self.assertEqual((code(reply), plan.tasks()[before.index(target)]["status"]),
                             ("ok", expected))

    def test_every_cell_of_the_table_is_what_the_tool_does(self) -> None:
        rows = table("command | a task is active")[1:]
        self.assertEqual({re.match(r"`tasks\.(\w+)`", row[0])[1] for row in rows},
                         {"start", "pause", "resume", "skip", "complete"})
        for row, *cells in rows:
            for column, cell in enumerate(cells):
                if cell:
                    with self.subTest(command=row, column=column):
                        self.check(row, column, cell.strip("`"))


class Members(unittest.TestCase):
    def test_each_member_of_a_record_is_explained(self) -> None:
        definitions = json.loads((SCHEMAS / "reply.schema.json").read_text())["$defs"]
        for record in ("task", "review", "proposal"):
            with self.subTest(record=record):
                self.assertEqual(members(f"member of a {record}"),
                                 set(definitions[record]["properties"]))

    def test_a_planned_day_is_stored_as_the_table_says(self) -> None:
        for text, stored in table("`planned_day` | stored day")[1:]:
            with self.subTest(text=text):
                expected = None if stored == "none" else json.loads(stored.strip("`"))
                self.assertEqual(Plan().create(planned_day=text.strip("`")).get("plannedDay"), expected)

    def test_an_estimate_is_between_0_and_1440(self) -> None:
        self.assertEqual(len(re.findall(r"0 to 1440", TEXT)), 3)
        for minutes, expected in ((-1, "validation_error"), (0, "ok"), (1440, "ok"),
                                  (1441, "validation_error")):
            plan = Plan()
            self.assertEqual(
                code(plan.change("tasks.create", title="x", estimated_minutes=minutes)), expected)

    def test_create_trims_a_title_and_update_does_not(self) -> None:
        plan = Plan()
        created = plan.create(" \tx ")
        self.assertEqual(created["title"], "x")
        updated = plan.change("tasks.update", task_id=created["id"], title=" y ")
        self.assertEqual(updated["result"]["title"], " y ")

    def test_update_cannot_remove_a_planned_day(self) -> None:
        plan = Plan()
        created = plan.create(planned_day="2026-11-23")
        for value in (None, "", "none"):
            updated = plan.change("tasks.update", task_id=created["id"], planned_day=value)
            self.assertEqual(updated["result"]["plannedDay"], created["plannedDay"])


class OrderOfADay(unittest.TestCase):
    def test_the_program_for_jq_lists_what_is_due_in_order(self) -> None:
        program = re.search(r"```jq\n(.*?)```", TEXT, re.S)[1]
        now = (datetime.datetime.now(datetime.timezone.utc) - REFERENCE_DATE).total_seconds()
        day = {"year": 2026, "month": 11, "day": 23}
        wanted = [  # in the order of the queue
            ("active", {"status": "active", "activeSegmentStartedAt": 0, "manualPosition": 9}),
            ("first", {"manualPosition": -1}),
            ("urgent", {"manualPosition": 2, "priority": "critical"}),
            ("due", {"manualPosition": 2, "scheduledStart": now - 60, "createdAt": 1000}),
            ("later", {"manualPosition": 2, "status": "paused", "createdAt": 2000}),
        ]
        unwanted = [("not due", {"scheduledStart": now + 3600}), ("done", {"status": "completed"}),
                    ("archived", {"status": "archived"}), ("other day", {"plannedDay": None}),
                    ("undated", {"plannedDay": {**day, "day": 24}})]
        plan = Plan()
        for position, (title, values) in enumerate(list(reversed(wanted)) + unwanted):
            plan.create(title, planned_day="2026-11-23")
            plan.set_task(position, **values)
        run = subprocess.run(["jq", "-r", "--argjson", "day", json.dumps(day), program],
                             input=json.dumps(plan.send("tasks.list")), capture_output=True, text=True,
                             check=True)
        self.assertEqual(run.stdout.splitlines(), [title for title, _ in wanted])


class Review(unittest.TestCase):
    def test_the_first_day_of_the_next_week_counts_and_the_day_after_does_not(self) -> None:
        for later, count in ((0, 1), (1, 1), (2, 0)):
            plan = Plan()
            end = plan.send("review.get")["result"]["weekEnd"]
            plan.create(planned_day=day_text(end, later), estimated_minutes=30)
            review = plan.send("review.get")["result"]
            self.assertEqual((review["plannedTaskCount"], review["plannedMinutes"]), (count, 30 * count))

    def test_unplanned_work_counts_as_work_only(self) -> None:
        plan = Plan()
        plan.create()
        plan.change("tasks.start", task_id=plan.tasks()[0]["id"])
        plan.set_task(0, accumulatedFocusSeconds=119.0)
        plan.change("tasks.complete")
        review = plan.send("review.get")["result"]
        self.assertEqual((review["completedTaskCount"], len(review["completedTaskIDs"])), (0, 1))
        self.assertIn(review["actualMinutes"], (1, 2))


class Proposals(unittest.TestCase):
    def test_overloaded_days_come_first_and_three_are_kept(self) -> None:
        plan = Plan()
        start = plan.send("review.get")["result"]["weekStart"]
        for later in (1, 0):
            plan.create("small", priority="high", planned_day=day_text(start, later))
            plan.create("large", priority="high", planned_day=day_text(start, later),
                        estimated_minutes=481)
            plan.create("low", priority="low", planned_day=day_text(start, later), estimated_minutes=900)
        for _ in range(2):
            plan.skip_twice(plan.create("skipped", priority="critical")["id"])
        titles = {each["id"]: each["title"] for each in plan.tasks()}
        result = plan.change("proposals.generate")["result"]
        self.assertEqual([(each["kind"], titles[each["taskID"]]) for each in result],
                         [("reduceLoad", "large"), ("reduceLoad", "large"), ("reschedule", "skipped")])
        self.assertEqual([day_text(each["suggestedPlannedDay"]) for each in result[:2]],
                         [day_text(start, 1), day_text(start, 2)])
        self.assertNotIn("suggestedPlannedDay", result[2])

    def test_unfinished_work_and_a_full_day_are_no_reasons(self) -> None:
        plan = Plan()
        start = plan.send("review.get")["result"]["weekStart"]
        plan.create(planned_day=day_text(start, -3), estimated_minutes=900)
        plan.create(planned_day=day_text(start, 1), estimated_minutes=480)
        self.assertEqual(plan.change("proposals.generate")["result"], [])

    def test_generating_replaces_pending_proposals_and_keeps_decided_ones(self) -> None:
        plan = Plan()
        plan.skip_twice(plan.create()["id"])
        first = plan.change("proposals.generate")["result"]
        second = plan.change("proposals.generate")["result"]
        self.assertNotEqual(first[0]["id"], second[0]["id"])
        self.assertEqual(plan.send("proposals.list")["result"], second)
        plan.edit(lambda document: document["proposals"][0].update(status="dismissed"))
        third = plan.change("proposals.generate")["result"]
        self.assertEqual([each["id"] for each in plan.send("proposals.list")["result"]],
                         [second[0]["id"], third[0]["id"]])

    def test_a_planned_day_beyond_the_calendar_leaves_generate_without_a_reply(self) -> None:
        plan = Plan()
        plan.skip_twice(plan.create(planned_day="3000000000-1-1")["id"])
        self.assertEqual(code(plan.change("proposals.generate")), "no reply")


with SCRATCH:
    unittest.main()
