"""terminal_page.py PROGRAM TOOL --check|--write DOCUMENT...: terminal sessions in documents are real.

In each fenced block "console" a line that begins with "$ " is a command, and the lines after it are
its output, except for days, times and identifiers. The text after a question is typed. The document is
one day on one plan.
"""
import re
import sys
from pathlib import Path

from terminal_session import PROMPT, TerminalSession, enter_private_namespace

BLOCK = re.compile(r"(```console\n)(.*?)(```)", re.S)


def renewed(block: str, session: TerminalSession) -> str:
    result = ""
    for piece in re.split(r"^(?=\$ )", block, flags=re.M):
        if not piece:
            continue
        command, shown = piece.split("\n", 1)
        answers = re.findall(re.escape(PROMPT) + r"(.*)", shown)
        result += command + "\n" + session.run(command[2:], answers)
    return result


def main() -> None:
    program, tool, mode, *documents = sys.argv[1:]
    folder = enter_private_namespace(sys.argv)
    outdated = []
    for document in map(Path, documents):
        session = TerminalSession(program, tool, folder / document.stem)
        before = document.read_text()
        after = BLOCK.sub(lambda found: found[1] + renewed(found[2], session) + found[3], before)
        if mode == "--write":
            document.write_text(after)
        elif after != before or not BLOCK.search(before):
            outdated.append(f"{document} is not what the terminal shows:\n{after}")
    sys.exit("\n".join(outdated) or 0)


main()
