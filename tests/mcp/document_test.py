"""document_test.py PROGRAM --check|--write DOCUMENT TOOLS: the exchanges in the document are real.

Calls each fenced block "json call"; the block "json answer" after it is the server's answer, except
for identifiers, the clock and today. The document is one conversation on one plan. Every tool has an
exchange, and every answer satisfies the tool's output schema. TOOLS is the list of the tools for function
calling, made from tools/list.
"""
import datetime
import json
import os
import re
import subprocess
import sys
import tempfile
from pathlib import Path

from jsonschema import Draft202012Validator

PAIR = re.compile(r"```json call\n(.*?)\n```(.*?)```json answer\n(.*?)```", re.S)
IDENTIFIER = re.compile(r"[0-9A-F]{8}(?:-[0-9A-F]{4}){3}-[0-9A-F]{12}")
INSTANT = re.compile(r"\d{4}-\d{2}-\d{2}T\d{2}:\d{2}:\d{2}Z")
DAY = re.compile(r"\d{4}-\d{2}-\d{2}")
SECONDS = re.compile(r'("[a-z_]*seconds":)[\d.e-]+')
WEEK = re.compile(r'"week_(start|end)":"[^"]*"')
WEEK_DAYS = {"start": "2026-11-22", "end": "2026-11-28"}
TODAY = datetime.date(2026, 11, 23)


class Server:
    """The program with a new plan, its tools, and the document's substitutions."""

    def __init__(self, program):
        self.home = tempfile.TemporaryDirectory()
        environment = {"HOME": self.home.name, "PATH": os.environ["PATH"], "LC_ALL": "C",
                       "TZ": "UTC"}
        self.process = subprocess.Popen([program], env=environment, text=True,
                                        stdin=subprocess.PIPE, stdout=subprocess.PIPE)
        today = datetime.datetime.now(datetime.timezone.utc).date()
        self.days = {str(TODAY + datetime.timedelta(days)): str(today + datetime.timedelta(days))
                     for days in range(2)}
        self.stand_in_days = {real: stand_in for stand_in, real in self.days.items()}
        self.identifiers = {}
        self.tools = {tool["name"]: tool for tool in self.request("tools/list", {})["tools"]}
        self.called = set()

    def request(self, method, params):
        message = {"jsonrpc": "2.0", "id": 1, "method": method, "params": params}
        self.process.stdin.write(json.dumps(message) + "\n")
        self.process.stdin.flush()
        return json.loads(self.process.stdout.readline())["result"]

    def end(self):
        self.process.stdin.close()
        assert self.process.wait() == 0

    def stand_in(self, identifier):
        number = len(self.identifiers) + 1
        return self.identifiers.setdefault(identifier, f"00000000-0000-4000-8000-{number:012}")

    def call(self, text):
        for real, stand_in in self.identifiers.items():
            text = text.replace(stand_in, real)
        text = with_days(self.days, text)
        params = json.loads(text)
        self.called.add(params["name"])
        result = self.request("tools/call", params)
        (block,) = result["content"]
        if result["isError"]:
            assert "structuredContent" not in result
        else:
            assert json.loads(block["text"]) == result["structuredContent"]
            schema = self.tools[params["name"]]["outputSchema"]
            Draft202012Validator(schema).validate(result["structuredContent"])
        return self.disguised(block["text"])

    def disguised(self, answer):
        answer = IDENTIFIER.sub(lambda found: self.stand_in(found[0]), answer)
        answer = SECONDS.sub(r"\g<1>0", answer)
        answer = with_days(self.stand_in_days, answer)
        answer = INSTANT.sub("2026-11-23T09:00:00Z", answer)
        return WEEK.sub(lambda found: f'"week_{found[1]}":"{WEEK_DAYS[found[1]]}"', answer)


def with_days(replacements, text):
    """Replaces all days at once, because what stands in for today may be tomorrow."""
    return DAY.sub(lambda found: replacements.get(found[0], found[0]), text)


def renewed_document(text, server):
    def pair(found):
        call, between, _ = found.groups()
        return f"```json call\n{call}\n```{between}```json answer\n{server.call(call)}\n```"

    return PAIR.sub(pair, text)


def functions(tools):
    """Returns the tools in the form that most providers of models take."""
    listed = [{"type": "function", "name": tool["name"], "description": tool["description"],
               "parameters": tool["inputSchema"]} for tool in tools]
    return json.dumps(listed, indent=2, ensure_ascii=False) + "\n"


def main():
    program, mode, document, tools = sys.argv[1:]
    server = Server(program)
    for tool in server.tools.values():
        Draft202012Validator.check_schema(tool["inputSchema"])
        Draft202012Validator.check_schema(tool["outputSchema"])
    contents = {Path(document): renewed_document(Path(document).read_text(), server),
                Path(tools): functions(server.tools.values())}
    server.end()
    problems = [f"{name} has no exchange" for name in server.tools if name not in server.called]
    for path, content in contents.items():
        if path.exists() and path.read_text() == content:
            continue
        problems.append(f"{path} is not what the server says")
        if mode == "--write":
            path.write_text(content)
    print("\n".join(problems))
    sys.exit(1 if problems and mode == "--check" else 0)


main()
