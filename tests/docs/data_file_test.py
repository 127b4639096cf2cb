"""data_file_test.py TOOL PROGRAM DOCUMENT: checks the statements about the data file against the agents'
tool and the user's program."""
import json
import os
import re
import stat
import subprocess
import sys
import tempfile
import unittest
from pathlib import Path
from typing import Any

TOOL, PROGRAM, TEXT = sys.argv.pop(1), sys.argv.pop(1), Path(sys.argv.pop(1)).read_text()


class DataFile(unittest.TestCase):
    def setUp(self) -> None:
        home = tempfile.TemporaryDirectory()
        self.addCleanup(home.cleanup)
        self.environment = {"HOME": home.name, "PATH": os.environ["PATH"]}
        self.folder = Path(home.name, ".local/share/Tarnwell")
        self.file = self.folder / "state.json"

    def ask(self, command: str, **more: Any) -> dict[str, Any]:
        run = subprocess.run([TOOL], input=json.dumps({"version": 1, "command": command, **more}),
                             env=self.environment, capture_output=True, text=True, check=False)
        return json.loads(run.stdout)

    def create(self, revision: int, title: str) -> dict[str, Any]:
        return self.ask("tasks.create", expectedRevision=revision, payload={"title": title})

    def test_each_version_is_read_as_the_table_says(self) -> None:
        self.create(0, "Task")
        document = json.loads(self.file.read_text())
        rows = dict(re.findall(r"^\| (-?\d[^|]*?) \| (.*) \|$", TEXT, re.M))
        for named, reading in rows.items():
            number = int(named.split()[0])
            step = 1 if "above" in named else -1 if "below" in named else 0
            for version in {number, number + step, number + 1000 * step}:
                with self.subTest(version=version):
                    before = json.dumps({**document, "schemaVersion": version})
                    self.file.write_text(before)
                    reply = self.ask("tasks.list")
                    self.assertEqual(reply["ok"], not reading.startswith("refused"))
                    if reply["ok"]:
                        self.assertEqual(len(reply["result"]), int(reading.startswith("in full")))
                    self.assertEqual(self.file.read_text(), before)
        self.assertEqual(len(rows), 4)

    def test_after_going_back_a_stale_change_is_refused(self) -> None:
        for damage in ("none", "cut off", "gone"):
            with self.subTest(damage=damage):
                self.setUp()
                for revision, title in enumerate(("First", "Second", "Third")):
                    self.create(revision, title)
                if damage == "cut off":
                    self.file.write_text("{")
                if damage == "gone":
                    self.file.unlink()
                script, = re.findall(r"## Going back\n.*?```sh\n(.*?)```", TEXT, re.S)
                script = script.replace("tarnwell backup restore", '"$1" backup restore --yes')
                subprocess.run(["sh", "-euc", script, "sh", PROGRAM], env=self.environment, check=True,
                               capture_output=True)

                listed = self.ask("tasks.list")
                self.assertEqual([each["title"] for each in listed["result"]], ["First", "Second"])
                self.assertEqual(stat.S_IMODE(self.file.stat().st_mode), 0o600)
                for seen in range(listed["revision"]):
                    self.assertEqual(self.create(seen, "Stale")["error"]["code"], "revision_conflict")
                self.assertEqual(listed["revision"], 4)
                self.assertTrue(self.create(listed["revision"], "Fourth")["ok"])

    def test_the_revision_counts_the_events(self) -> None:
        for revision in range(2):
            self.create(revision, "Task")
        document = json.loads(self.file.read_text())
        self.assertEqual(document["revision"], len(document["auditEvents"]))

    def test_unknown_members_are_lost_at_the_next_write(self) -> None:
        self.create(0, "Task")
        document = json.loads(self.file.read_text())
        document["note"] = document["tasks"][0]["note"] = "mine"
        self.file.write_text(json.dumps(document))
        self.assertTrue(self.create(1, "Task")["ok"])
        self.assertNotIn("mine", self.file.read_text())


unittest.main()
