"""clients_test.py BUILD_FOLDER PROGRAM TARNWELLCTL: runs a day with the official clients.

Installs the clients and a recent enough Node into BUILD_FOLDER, once for each lock file. Skips, with a
message, where no registry can be reached.
"""
import shutil
import subprocess
import sys
from pathlib import Path

SKIPPED = 77
SOURCES = Path(__file__).parent
PACKAGES = ("package.json", "package-lock.json")


def skip(reason):
    print(f"SKIPPED: the official clients of the Model Context Protocol did not run: {reason}.")
    raise SystemExit(SKIPPED)


def install(folder):
    lock = (SOURCES / "package-lock.json").read_text()
    installed = folder / "installed"
    if installed.exists() and installed.read_text() == lock:
        return
    npm = shutil.which("npm")
    if npm is None:
        skip("there is no npm")
    for name in PACKAGES:
        shutil.copy(SOURCES / name, folder)
    result = subprocess.run([npm, "ci", "--no-audit", "--no-fund"], cwd=folder)
    if result.returncode != 0:
        if subprocess.run([npm, "ping"], cwd=folder, capture_output=True).returncode != 0:
            skip("no package registry can be reached")
        raise SystemExit("the clients could not be installed")
    installed.write_text(lock)


def main():
    folder = Path(sys.argv[1])
    folder.mkdir(parents=True, exist_ok=True)
    install(folder)
    for script in SOURCES.glob("*.mjs"):
        shutil.copy(script, folder)  # beside their packages
    node = folder / "node_modules" / ".bin" / "node"
    raise SystemExit(subprocess.run([node, folder / "day.mjs", *sys.argv[2:]]).returncode)


if __name__ == "__main__":
    main()
