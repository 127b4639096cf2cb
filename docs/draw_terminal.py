"""draw_terminal.py PROGRAM TOOL --check|--write: draws docs/terminal.svg from the output of tarnwell.

Runs a small day in a scratch home and draws what the terminal shows, colours included.
"""
import re
import sys
from pathlib import Path
from xml.sax.saxutils import escape

HERE = Path(__file__).resolve().parent
sys.path.insert(0, str(HERE.parent / "tests/docs"))
from terminal_session import TerminalSession, enter_private_namespace  # noqa: E402

PREPARATION = [
    "tarnwell capacity 240",
    "tarnwell group add News",
    "tarnwell group block News example.com",
    'tarnwell add "Write the report" --minutes 90 --priority high --block News',
    'tarnwell add "Call Ada" --minutes 20 --at 15:30 --remind=10m',
    'tarnwell add "Sort the mail" --priority low',
    "tarnwell done mail",
    """printf %s '{"version":1,"command":"tasks.create","expectedRevision":5,"payload":{"title":"""
    """"Prepare the demo","estimated_minutes":150,"planned_day":"'$(date +%F)'"}}' | tarnwellctl""",
    """printf %s '{"version":1,"command":"proposals.generate","expectedRevision":6}' | tarnwellctl""",
]
SHOWN = [("tarnwell start report", []), ("tarnwell", []), ("tarnwell approve 1", ["y"])]

COLOURS = {"1": "#ffffff", "2": "#8b949e", "31": "#ff7b72", "32": "#7ee787", "33": "#e3b341"}
PLAIN = "#c9d1d9"
PIECE = re.compile(r"\x1b\[(\d+)m")
LETTER_WIDTH, LINE_HEIGHT, MARGIN = 8.4, 19, 18


def line_of(text: str, number: int) -> str:
    """Returns a line as text elements, each at a fixed column so that fonts cannot shift the next."""
    elements, column, colour = [], 0, PLAIN
    for position, piece in enumerate(PIECE.split(text)):
        if position % 2:
            colour = COLOURS.get(piece, PLAIN)
        elif piece:
            if piece.strip():
                elements.append(
                    f'<text x="{MARGIN + column * LETTER_WIDTH:.1f}" '
                    f'y="{MARGIN + (number + 1) * LINE_HEIGHT}" fill="{colour}" '
                    f'textLength="{len(piece) * LETTER_WIDTH:.1f}">{escape(piece)}</text>')
            column += len(piece)
    return "".join(elements)


def drawn(lines: list[str]) -> str:
    width = 2 * MARGIN + int(max(len(PIECE.sub("", line)) for line in lines) * LETTER_WIDTH) + 1
    height = 2 * MARGIN + len(lines) * LINE_HEIGHT + 6
    body = "\n".join(line_of(line, number) for number, line in enumerate(lines))
    return (f'<svg xmlns="http://www.w3.org/2000/svg" width="{width}" height="{height}" '
            'font-family="monospace" font-size="14" xml:space="preserve" role="img">\n'
            "<title>tarnwell in a terminal</title>\n"
            f'<rect width="{width}" height="{height}" rx="8" fill="#0d1117"/>\n{body}\n</svg>\n')


def main() -> None:
    program, tool, mode = sys.argv[1:]
    folder = enter_private_namespace(sys.argv) / "picture"
    session = TerminalSession(program, tool, folder, colours=True)
    for command in PREPARATION:
        session.run(command, [])
    lines = []
    for command, answers in SHOWN:
        lines += [f"\x1b[2m$\x1b[0m {command}", *session.run(command, answers).rstrip("\n").split("\n"),
                  ""]
    picture = HERE / "terminal.svg"
    after = drawn(lines[:-1])
    if mode == "--write":
        picture.write_text(after)
    elif not picture.exists() or picture.read_text() != after:
        sys.exit(f"{picture} is not what the terminal shows")


main()
