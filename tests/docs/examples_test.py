"""examples_test.py DOCUMENT...: no example feeds a command by echo, which rewrites escapes in some shells.

README.md's first command may, because it has none.
"""
import re
import sys
from pathlib import Path

ALLOWED = """echo '{"version":1,"command":"tasks.list"}' | ./dev run"""

problems, count = [], 0
for document in map(Path, sys.argv[1:]):
    for number, line in enumerate(document.read_text().splitlines(), 1):
        count += '"command"' in line
        if re.search(r"\becho\b.*\{", line) and (document.name, line) != ("README.md", ALLOWED):
            problems.append(f"{document}:{number}: {line}")
print(f"{count} commands in {len(sys.argv) - 1} documents")
print("\n".join(problems))
sys.exit(1 if problems or not count else 0)
