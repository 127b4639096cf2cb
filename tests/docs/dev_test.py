"""dev_test.py ROOT: every command of `./dev` that a document or the public CI names exists."""
import re
import subprocess
import sys
from pathlib import Path

ROOT = Path(sys.argv[1]).resolve()

usage = subprocess.run([ROOT / "dev"], capture_output=True, text=True, check=False).stderr
commands = set(re.findall(r"^  ([a-z-]+)", usage, re.M))
assert {"run", "test"} <= commands, usage

named: dict[str, set[str]] = {}
for page in [*ROOT.glob("*.md"), *ROOT.glob("docs/*.md"), ROOT / ".ci/run"]:
    for command in re.findall(r"\./dev ([a-z][a-z-]*)", page.read_text()):
        named.setdefault(command, set()).add(str(page))
workflow = ROOT / ".github/workflows/ci.yml"
text = workflow.read_text()
matrix, = re.findall(r"command: \[(.*)\]", text)
for command in [each.split()[0] for each in matrix.split(", ")] + re.findall(r"\./dev ([a-z-]+)", text):
    named.setdefault(command, set()).add(str(workflow))

problems = [f"{', '.join(sorted(pages))}: ./dev {command} does not exist"
            for command, pages in named.items() if command not in commands]
print(f"{len(named)} commands named, {len(commands)} commands of ./dev")
print("\n".join(problems))
sys.exit(1 if problems else 0)
