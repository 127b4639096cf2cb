"""validate.py SCHEMAS WRONG RECORDS DOCUMENT...: checks the schemas against the tool.

RECORDS is a folder of replies and data files kept by the end-to-end tests. Each must be valid, as must
the replies in the documents and the commands that succeed there. Of texts that differ only in random
identifiers and in instants near the present, which a schema cannot tell apart, one is validated. Each
file below WRONG, in a folder named after its schema, must be invalid. Each property in a schema must have
a description.
"""
import json
import re
import sys
from collections.abc import Iterator
from pathlib import Path
from typing import Any

from jsonschema import Draft202012Validator

schemas, wrong, records, *documents = map(Path, sys.argv[1:])
# Random identifiers, and instants near the present in replies and in data files.
VARYING = {
    "identifier": re.compile(r'"[0-9A-F]{8}(?:-[0-9A-F]{4}){3}-[0-9A-F]{12}"'),
    "time": re.compile(r'"20\d\d-\d\d-\d\dT\d\d:\d\d:\d\dZ"'),
    "seconds": re.compile(r": [7-9]\d{8}\.\d+"),
}
EXAMPLE = re.compile(r"```json command[^\n]*\n(.*?)\n```.*?```json reply\n(.*?)\n```", re.S)


def undescribed(schema: Any, path: str = "#") -> Iterator[str]:
    """The properties below a schema that have no description."""
    if isinstance(schema, dict):
        for name, each in schema.get("properties", {}).items():
            if not each.get("description"):
                yield f"{path}/{name}"
        for name, each in schema.items():
            yield from undescribed(each, f"{path}/{name}")
    elif isinstance(schema, list):
        for position, each in enumerate(schema):
            yield from undescribed(each, f"{path}/{position}")


problems = []
loaded = {path.name.removesuffix(".schema.json"): json.loads(path.read_text())
          for path in schemas.glob("*.schema.json")}
by_identifier = {schema["$id"]: schema for schema in loaded.values()}


def bundled(schema: Any) -> Any:
    """The schema with the definitions of those that it refers to among its own."""
    text = json.dumps(schema)
    result = json.loads(re.sub(r'"(urn:[^"#]*)#/', r'"#/$defs/\1/', text))
    for identifier, other in by_identifier.items():
        if f'"{identifier}#/' in text:
            definitions = json.dumps({"$defs": other["$defs"]})
            result["$defs"][identifier] = json.loads(
                definitions.replace('"#/', f'"#/$defs/{identifier}/'))
    return result


validators = {}
for name, schema in loaded.items():
    Draft202012Validator.check_schema(schema)
    validators[name] = Draft202012Validator(bundled(schema))
    problems += [f"{name}: {each} has no description" for each in undescribed(schema)]

seen: dict[str, set[str]] = {name: set() for name in validators}


def form(text: str) -> str:
    """The text with names in place of the values that vary from run to run."""
    for name, pattern in VARYING.items():
        text = pattern.sub(name, text)
    return text


def check(name: str, text: str) -> None:
    form_of_text = form(text)
    if form_of_text in seen[name]:
        return
    seen[name].add(form_of_text)
    for error in validators[name].iter_errors(json.loads(text)):
        problems.append(f"{name}: {error.message[:500]}\n{text[:2000]}")


for record in sorted(records.glob("*/*.json")):
    check(record.parent.name, record.read_text())
if not seen["reply"]:
    print("the tests that ran kept no reply")
    sys.exit(77)
for document in documents:
    for command, reply in EXAMPLE.findall(document.read_text()):
        check("reply", reply)
        if json.loads(reply)["ok"]:
            check("command", command)

invalid = list(wrong.glob("*/*.json"))
for path in invalid:
    if validators[path.parent.name].is_valid(json.loads(path.read_text())):
        problems.append(f"{path} is wrong, but valid by its schema")

print(", ".join(f"{len(texts)} of {name}" for name, texts in seen.items() if texts),
      f"and {len(invalid)} wrong documents")
print("\n\n".join(problems[:10]))
sys.exit(1 if problems or not invalid else 0)
