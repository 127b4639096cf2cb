"""agents_test.py TOOL EXAMPLES: each example agent, with somebody who changes the plan in between."""
import json
import os
import subprocess
import sys
import tempfile
import unittest
from pathlib import Path

TOOL, EXAMPLES = sys.argv.pop(1), Path(sys.argv.pop(1))

# Answers as the tool does; after the first list, somebody else is quicker than whoever asked.
INTERFERING = """#!/bin/sh
command=$(cat)
printf '%s' "$command" | "$REAL_TOOL"
case $command in *tasks.list*)
  if [ ! -e "$HOME/interfered" ]; then
    touch "$HOME/interfered"
    echo '{"version":1,"command":"tasks.create","expectedRevision":0,"payload":{"title":"Other"}}' |
      "$REAL_TOOL" >/dev/null
  fi
esac
"""


class Agents(unittest.TestCase):
    def setUp(self) -> None:
        folder = tempfile.TemporaryDirectory()
        self.addCleanup(folder.cleanup)
        self.home = Path(folder.name)
        wrapper = self.home / "tool"
        wrapper.write_text(INTERFERING)
        wrapper.chmod(0o700)
        self.environment = {"HOME": folder.name, "PATH": os.environ["PATH"], "REAL_TOOL": TOOL,
                            "TARNWELLCTL": str(wrapper)}

    def run_agent(self, agent: Path, title: str) -> subprocess.CompletedProcess[str]:
        return subprocess.run([agent, title], env=self.environment, capture_output=True, text=True,
                              check=False)

    def titles(self) -> list[str]:
        reply = subprocess.run([TOOL], input='{"version":1,"command":"tasks.list"}', text=True,
                               env=self.environment, capture_output=True, check=True).stdout
        return [task["title"] for task in json.loads(reply)["result"]]


def add_tests(agent: Path) -> None:
    def tries_again_after_a_conflict(self: Agents) -> None:
        run = self.run_agent(agent, 'Say "hello"')
        self.assertEqual((run.returncode, run.stdout, run.stderr),
                         (0, 'Say "hello" was added, revision 2\n', ""))
        self.assertEqual(self.titles(), ["Other", 'Say "hello"'])

    def does_not_add_what_somebody_has_added(self: Agents) -> None:
        run = self.run_agent(agent, "Other")
        self.assertEqual((run.returncode, run.stdout), (0, "Other is in the plan\n"))
        self.assertEqual(self.titles(), ["Other"])

    def gives_up_on_any_other_refusal(self: Agents) -> None:
        run = self.run_agent(agent, " ")
        self.assertEqual((run.returncode, run.stderr), (1, "The task details are invalid.\n"))
        self.assertEqual(self.titles(), ["Other"])

    for test in (tries_again_after_a_conflict, does_not_add_what_somebody_has_added,
                 gives_up_on_any_other_refusal):
        setattr(Agents, f"test_{agent.suffix[1:]}_{test.__name__}", test)


for each in sorted(EXAMPLES.glob("create_task.*")):
    add_tests(each)
unittest.main()
