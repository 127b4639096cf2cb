"""validate.py SCHEMAS WRONG RECORDS DOCUMENT...: holds what the tool wrote against the schemas.

RECORDS is a folder of replies and data files that the end-to-end tests have left; each must be valid, as
must the replies in the documents and the commands that succeed there. Each file below WRONG, in a folder
named after the schema, must not be.
"""
import json
import re
import sys
from pathlib import Path

from jsonschema import Draft202012Validator

schemas, wrong, records, *documents = map(Path, sys.argv[1:])
EXAMPLE = re.compile(r"```json command[^\n]*\n(.*?)\n```.*?```json reply\n(.*?)\n```", re.S)

validators = {}
for path in schemas.glob("*.schema.json"):
    schema = json.loads(path.read_text())
    Draft202012Validator.check_schema(schema)
    validators[path.name.removesuffix(".schema.json")] = Draft202012Validator(schema)

problems = []
seen = {name: set() for name in validators}


def check(name: str, text: str) -> None:
    if text in seen[name]:
        return
    seen[name].add(text)
    for error in validators[name].iter_errors(json.loads(text)):
        problems.append(f"{name}: {error.message[:500]}\n{text[:2000]}")


for path in sorted(records.glob("*/*.json")):
    check(path.parent.name, path.read_text())
if not seen["reply"]:
    print("no reply was kept by the tests that ran")
    sys.exit(77)
for document in documents:
    for command, reply in EXAMPLE.findall(document.read_text()):
        check("reply", reply)
        if json.loads(reply)["ok"]:
            check("command", command)

refused = 0
for path in wrong.glob("*/*.json"):
    refused += 1
    if validators[path.parent.name].is_valid(json.loads(path.read_text())):
        problems.append(f"{path} is wrong, but the schema takes it")

print(", ".join(f"{len(texts)} of {name}" for name, texts in seen.items() if texts),
      f"and {refused} wrong documents")
print("\n\n".join(problems[:10]))
sys.exit(1 if problems or not refused else 0)
