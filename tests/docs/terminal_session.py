"""Runs commands of a document at a terminal, in a scratch home and on a scratch hosts file, and replaces
days, times and identifiers, which differ each time, by fixed ones."""
import datetime
import os
import pty
import re
import shutil
import subprocess
import sys
import tempfile
from pathlib import Path

SKIPPED = 77
COLUMNS = 80
STAND_IN_DAY = datetime.date(2026, 11, 23)
DAY = re.compile(r"(?:(Mon|Tue|Wed|Thu|Fri|Sat|Sun) )?(\d{4}-\d{2}-\d{2})")
LOGGED_TIME = re.compile(r"^((?:\x1b\[\d+m)?\d{4}-\d{2}-\d{2}) \d{2}:\d{2}", re.M)
END_OF_BLOCK = re.compile(r"(until(?:\x1b\[\d+m)? +)(?:(\d{4}-\d{2}-\d{2}) )?\d{2}:\d{2}")
IDENTIFIER = re.compile(r"^((?:\x1b\[\d+m)?)[0-9A-F]{8}\b", re.M)
PROMPT = "[y/N] "

# The administrator approves.
PKEXEC = "#!/bin/sh\nshift\nexec \"$@\"\n"


def enter_private_namespace(arguments: list[str]) -> Path:
    """Starts the program again where /etc/hosts and pkexec are stand-ins. Returns their folder."""
    inside = os.environ.get("TARNWELL_DOCUMENT_FOLDER")
    if inside:
        return Path(inside)
    folder = Path(tempfile.mkdtemp())
    (folder / "hosts").write_text("127.0.0.1 localhost\n")
    (folder / "pkexec").write_text(PKEXEC)
    (folder / "pkexec").chmod(0o755)
    unshare = ["unshare", "--mount"] + ([] if os.geteuid() == 0 else ["--map-root-user"])
    mounts = ('mount --bind "$0/hosts" /etc/hosts && mount --bind "$0/pkexec" /usr/bin/pkexec || '
              f'exit {SKIPPED}; exec "$@"')
    result = subprocess.run([*unshare, "/bin/sh", "-c", mounts, folder, sys.executable, *arguments],
                            env={**os.environ, "TARNWELL_DOCUMENT_FOLDER": str(folder)}, check=False)
    shutil.rmtree(folder)
    sys.exit(result.returncode)


class TerminalSession:
    def __init__(self, program: str, tool: str, folder: Path, colours: bool = False) -> None:
        self.home = folder / "home"
        self.home.mkdir(parents=True)
        programs = folder / "bin"
        programs.mkdir()
        for path in (program, tool):
            (programs / Path(path).name).symlink_to(path)
        self.environment = {"HOME": str(self.home), "TZ": "UTC", "TERM": "xterm-256color",
                            "PATH": f"{programs}:/usr/bin:/bin"}
        if not colours:
            self.environment["NO_COLOR"] = "1"
        self.identifiers: dict[str, str] = {}

    def run(self, command: str, answers: list[str]) -> str:
        """The screen after a command, its questions answered."""
        child, terminal = pty.fork()
        if child == 0:
            os.execve("/bin/sh", ["sh", "-c", f"stty cols {COLUMNS}; {command}"], self.environment)
        screen = ""
        answered = 0
        while True:
            try:
                piece = os.read(terminal, 4096)
            except OSError:
                break
            if not piece:
                break
            screen += piece.decode(errors="surrogateescape")
            while answered < len(answers) and screen.count(PROMPT) > answered:
                os.write(terminal, (answers[answered] + "\n").encode())
                answered += 1
        os.waitpid(child, 0)
        os.close(terminal)
        return self.with_stand_ins(screen.replace("\r", ""))

    def with_stand_ins(self, screen: str) -> str:
        screen = IDENTIFIER.sub(self.identifier, screen)
        screen = LOGGED_TIME.sub(r"\1 09:00", screen)
        screen = DAY.sub(self.day, screen)
        return END_OF_BLOCK.sub(self.end_of_block, screen)

    def identifier(self, found: re.Match[str]) -> str:
        number = len(self.identifiers) + 1
        return found[1] + self.identifiers.setdefault(found[0][len(found[1]):], f"{number:08X}")

    @staticmethod
    def end_of_block(found: re.Match[str]) -> str:
        return found[1] + (f"{STAND_IN_DAY} " if found[2] else "") + "12:00"

    @staticmethod
    def day(found: re.Match[str]) -> str:
        today = datetime.datetime.now(datetime.timezone.utc).date()
        day = STAND_IN_DAY + (datetime.date.fromisoformat(found[2]) - today)
        return (f"{day:%a} " if found[1] else "") + day.isoformat()
