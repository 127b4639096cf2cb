"""agents_test.py TOOL EXAMPLES: runs each example agent while another program changes the plan."""
import json
import os
import shutil
import subprocess
import sys
import tempfile
import unittest
from pathlib import Path

TOOL, EXAMPLES = sys.argv.pop(1), Path(sys.argv.pop(1))

# Answers as the tool does; after the first list, another program changes the plan before the caller.
INTERFERING = """#!/bin/sh
command=$(cat)
printf '%s' "$command" | "$REAL_TOOL"
case $command in *tasks.list*)
  if [ ! -e "$HOME/interfered" ]; then
    touch "$HOME/interfered"
    printf '{"version":1,"command":"tasks.create","expectedRevision":0,"payload":{"title":"Other"}}' |
      "$REAL_TOOL" >/dev/null
  fi
esac
"""
SILENT = "#!/bin/sh\ncat >/dev/null\n"


class Agents(unittest.TestCase):
    def setUp(self) -> None:
        folder = tempfile.TemporaryDirectory()
        self.addCleanup(folder.cleanup)
        self.home = Path(folder.name)
        self.environment = {"HOME": folder.name, "PATH": os.environ["PATH"], "REAL_TOOL": TOOL,
                            "TARNWELLCTL": str(self.program("tool", INTERFERING))}

    def program(self, name: str, text: str) -> Path:
        path = self.home / name
        path.write_text(text)
        path.chmod(0o700)
        return path

    def run_agent(self, agent: Path, *arguments: str) -> subprocess.CompletedProcess[str]:
        return subprocess.run([agent, *arguments], env=self.environment, capture_output=True, text=True,
                              check=False)

    def titles(self) -> list[str]:
        reply = subprocess.run([TOOL], input='{"version":1,"command":"tasks.list"}', text=True,
                               env=self.environment, capture_output=True, check=True).stdout
        return [task["title"] for task in json.loads(reply)["result"]]

    def check_failure(self, run: subprocess.CompletedProcess[str], sentence: str) -> None:
        self.assertEqual((run.returncode, run.stdout, run.stderr), (1, "", sentence + "\n"))


def add_tests(agent: Path) -> None:
    def retries_after_a_conflict(self: Agents) -> None:
        run = self.run_agent(agent, 'Say "hello"')
        self.assertEqual((run.returncode, run.stdout, run.stderr),
                         (0, 'Say "hello" was added, revision 2\n', ""))
        self.assertEqual(self.titles(), ["Other", 'Say "hello"'])

    def passes_a_title_with_escapes_on_unchanged(self: Agents) -> None:
        run = self.run_agent(agent, r"C:\new\table")
        self.assertEqual((run.returncode, run.stdout),
                         (0, "C:\\new\\table was added, revision 2\n"))
        self.assertEqual(self.titles(), ["Other", r"C:\new\table"])

    def does_not_add_a_task_twice(self: Agents) -> None:
        run = self.run_agent(agent, "Other")
        self.assertEqual((run.returncode, run.stdout), (0, "Other is in the plan\n"))
        self.assertEqual(self.titles(), ["Other"])

    def reads_a_plan_of_more_than_a_mebibyte(self: Agents) -> None:
        self.run_agent(agent, "First")
        data_file = self.home / ".local/share/Tarnwell/state.json"
        document = json.loads(data_file.read_text())
        document["tasks"][0]["notes"] = "long " * 300_000
        data_file.write_text(json.dumps(document))
        run = self.run_agent(agent, "Second")
        self.assertEqual((run.returncode, run.stdout), (0, "Second was added, revision 3\n"))

    def gives_up_on_any_other_refusal(self: Agents) -> None:
        self.check_failure(self.run_agent(agent, " "), "The task details are invalid.")
        self.assertEqual(self.titles(), ["Other"])

    def reports_an_unreadable_plan(self: Agents) -> None:
        folder = self.home / ".local/share/Tarnwell"
        folder.mkdir(parents=True)
        (folder / "state.json").write_text("{")
        self.check_failure(self.run_agent(agent, "x"),
                           "Input must be a valid versioned JSON command.")

    def says_that_the_title_is_missing(self: Agents) -> None:
        self.check_failure(self.run_agent(agent), f"usage: {agent.name} TITLE")

    def says_that_the_tool_is_missing(self: Agents) -> None:
        self.environment["TARNWELLCTL"] = "/missing/tarnwellctl"
        self.check_failure(self.run_agent(agent, "x"),
                           "/missing/tarnwellctl is not installed or not in PATH")

    def says_that_the_tool_gave_no_reply(self: Agents) -> None:
        silent = self.program("silent", SILENT)
        self.environment["TARNWELLCTL"] = str(silent)
        self.check_failure(self.run_agent(agent, "x"), f"{silent} gave no reply")

    for test in (retries_after_a_conflict, passes_a_title_with_escapes_on_unchanged,
                 does_not_add_a_task_twice, reads_a_plan_of_more_than_a_mebibyte,
                 gives_up_on_any_other_refusal, reports_an_unreadable_plan,
                 says_that_the_title_is_missing, says_that_the_tool_is_missing,
                 says_that_the_tool_gave_no_reply):
        setattr(Agents, f"test_{agent.suffix[1:]}_{test.__name__}", test)


def test_sh_says_that_jq_is_missing(self: Agents) -> None:
    (self.home / "sh").symlink_to(shutil.which("sh"))
    self.environment["PATH"] = str(self.home)
    self.check_failure(self.run_agent(EXAMPLES / "create_task.sh", "x"),
                       "jq is not installed or not in PATH")


for each in sorted(EXAMPLES.glob("create_task.*")):
    add_tests(each)
Agents.test_sh_says_that_jq_is_missing = test_sh_says_that_jq_is_missing
unittest.main()
