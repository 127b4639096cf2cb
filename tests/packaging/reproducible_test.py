"""reproducible_test.py SOURCE: two builds of the same sources make the same packages, byte for byte."""
import hashlib
import shutil
import subprocess
import sys
import tempfile
from pathlib import Path

SOURCE = Path(sys.argv[1])


def run(*command: object, folder: Path) -> str:
    return subprocess.run([str(each) for each in command], cwd=folder, check=True, text=True,
                          stdout=subprocess.PIPE).stdout


def packages_built_in(folder: Path) -> dict[str, str]:
    for file in run("git", "ls-files", "-co", "--exclude-standard", folder=SOURCE).splitlines():
        if (SOURCE / file).exists():
            (folder / file).parent.mkdir(parents=True, exist_ok=True)
            shutil.copy(SOURCE / file, folder / file)
    run("cmake", "--preset", "release", "-DBUILD_TESTING=OFF", folder=folder)
    run("cmake", "--build", "--preset", "release", folder=folder)
    run("cpack", "--config", "build/release/CPackConfig.cmake", "-B", "packages", folder=folder)
    return {path.name: hashlib.sha256(path.read_bytes()).hexdigest()
            for path in folder.glob("packages/*.deb")}


with tempfile.TemporaryDirectory() as scratch:
    first = packages_built_in(Path(scratch, "a"))
    second = packages_built_in(Path(scratch, "another/folder"))
print(first, second, sep="\n")
sys.exit(0 if len(first) == 2 and first == second else 1)
