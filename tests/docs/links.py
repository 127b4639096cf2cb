"""links.py ROOT: every relative link of the documents leads to a file and heading that exist."""
import re
import sys
from pathlib import Path

ROOT = Path(sys.argv[1])
FENCED = re.compile(r"^```.*?^```", re.S | re.M)
LINK = re.compile(r"\[[^\]]*\]\(([^)\s]+)\)")


def text_of(document: Path) -> str:
    return FENCED.sub("", document.read_text())


def anchors(document: Path) -> set[str]:
    headings = re.findall(r"^#+ +(.*)$", text_of(document), re.M)
    return {re.sub(r"[^\w\- ]", "", heading.lower()).strip().replace(" ", "-")
            for heading in headings}


documents = [path for path in ROOT.rglob("*.md")
             if not {"build", ".git"} & set(path.relative_to(ROOT).parts)]
problems, count = [], 0
for document in documents:
    for link in LINK.findall(text_of(document)):
        if re.match(r"[a-z]+:", link):
            continue
        count += 1
        path, _, anchor = link.partition("#")
        target = (document.parent / path).resolve() if path else document
        if not target.exists():
            problems.append(f"{document}: {link} does not exist")
        elif anchor and anchor not in anchors(target):
            problems.append(f"{document}: {link} names no heading")
print(f"{count} links in {len(documents)} documents")
print("\n".join(problems))
sys.exit(1 if problems or not count else 0)
