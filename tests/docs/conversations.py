"""conversations.py TOOL --check|--write DOCUMENT...: the conversations in documents are real.

Gives each fenced block "json command" to the tool, whose reply is the block "json reply" after it,
except for identifiers and the clock. A document is one conversation on one plan; a block "json command
fresh" starts a new one.
"""
import json
import os
import re
import subprocess
import sys
import tempfile
from pathlib import Path

PAIR = re.compile(r"```json command( fresh)?\n(.*?)\n```(.*?)```json reply\n(.*?)\n```", re.S)
IDENTIFIER = re.compile(r"[0-9A-F]{8}(?:-[0-9A-F]{4}){3}-[0-9A-F]{12}")
INSTANT = re.compile(r"\d{4}-\d{2}-\d{2}T\d{2}:\d{2}:\d{2}Z")
WEEK = re.compile(r'"week(Start|End)":\{[^}]*\}')
WEEK_DAYS = {"Start": 22, "End": 28}


class Conversation:
    def __init__(self, tool: str) -> None:
        self.tool = tool
        self.home = tempfile.TemporaryDirectory()
        self.stand_ins: dict[str, str] = {}

    def renew(self) -> None:
        self.home = tempfile.TemporaryDirectory()

    def stand_in(self, identifier: str) -> str:
        number = len(self.stand_ins) + 1
        return self.stand_ins.setdefault(identifier, f"00000000-0000-4000-8000-{number:012}")

    def ask(self, command: str) -> str:
        for identifier, stand_in in self.stand_ins.items():
            command = command.replace(stand_in, identifier)
        environment = {"HOME": self.home.name, "PATH": os.environ["PATH"]}
        reply = subprocess.run([self.tool], input=command, capture_output=True, text=True,
                               env=environment, check=False).stdout.rstrip("\n")
        reply = IDENTIFIER.sub(lambda found: self.stand_in(found[0]), reply)
        reply = INSTANT.sub("2026-11-23T09:00:00Z", reply)
        return WEEK.sub(lambda found: f'"week{found[1]}":{{"day":{WEEK_DAYS[found[1]]},'
                        '"month":11,"year":2026}', reply)


def renewed(text: str, tool: str) -> str:
    conversation = Conversation(tool)

    def pair(found: re.Match[str]) -> str:
        fresh, command, between, _ = found.groups()
        if fresh:
            conversation.renew()
        # Indented for the reader when it is long, on one line for the tool.
        try:
            sent = json.dumps(json.loads(command))
        except ValueError:
            sent = command
        reply = conversation.ask(sent)
        return (f"```json command{fresh or ''}\n{command}\n```{between}"
                f"```json reply\n{reply}\n```")

    return PAIR.sub(pair, text)


def main() -> None:
    tool, mode, *documents = sys.argv[1:]
    outdated = []
    for document in map(Path, documents):
        before = document.read_text()
        if not PAIR.search(before):
            outdated.append(f"{document} has no conversation")
        after = renewed(before, tool)
        if after != before:
            outdated.append(f"{document} is not what the tool says")
            if mode == "--write":
                document.write_text(after)
    print("\n".join(outdated))
    sys.exit(1 if outdated and mode == "--check" else 0)


main()
