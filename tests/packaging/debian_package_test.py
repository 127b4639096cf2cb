"""debian_package_test.py BUILD_FOLDER: the package is made, free of errors, installable and working."""
import json
import shutil
import subprocess
import sys
import tempfile
import unittest
from pathlib import Path

BUILD = sys.argv.pop(1)
CHANGELOG = Path(__file__).parents[2] / "packaging/debian/changelog"


def output(*command: object, **more: object) -> str:
    run = subprocess.run([str(each) for each in command], capture_output=True, text=True,
                         check=False, **more)
    if run.returncode != 0:
        raise AssertionError(f"{command}: {run.stdout}{run.stderr}")
    return run.stdout


class DebianPackage(unittest.TestCase):
    @classmethod
    def setUpClass(cls) -> None:
        cls.folder = tempfile.TemporaryDirectory()
        output("cpack", "-B", cls.folder.name, cwd=BUILD)
        cls.package, = Path(cls.folder.name).glob("*.deb")

    @classmethod
    def tearDownClass(cls) -> None:
        cls.folder.cleanup()

    def test_lintian_has_no_errors(self) -> None:
        output("lintian", "--allow-root", "--fail-on", "error,warning", self.package)

    def test_depends_on_the_libraries_that_the_tool_is_linked_with(self) -> None:
        depends = output("dpkg-deb", "--field", self.package, "Depends")
        names = sorted(each.split()[0] for each in depends.split(", "))
        self.assertEqual([name.rstrip("0123456789") for name in names],
                         ["libc", "libgcc-s", "libsimdjson", "libstdc++", "liburiparser"])

    def test_has_the_version_of_the_last_entry_in_its_changelog(self) -> None:
        version = output("dpkg-deb", "--field", self.package, "Version").strip()
        changelog = output("dpkg-parsechangelog", "--file", CHANGELOG, "--show-field", "Version")
        self.assertEqual(version, changelog.strip())

    # Its dependencies are looked for among the packages of this machine.
    def test_can_be_installed_and_then_answers(self) -> None:
        root = Path(self.folder.name) / "root"
        status = root / "var/lib/dpkg/status"
        for each in ("info", "updates", "triggers"):
            (status.parent / each).mkdir(parents=True)
        shutil.copyfile("/var/lib/dpkg/status", status)
        output("dpkg", f"--root={root}", "--force-not-root", "--force-bad-path", "--no-triggers",
               "--log=/dev/null", "--install", self.package)
        reply = json.loads(output(root / "usr/bin/tarnwellctl",
                                  input='{"version":1,"command":"tasks.list"}',
                                  env={"HOME": self.folder.name}))
        self.assertEqual(reply, {"version": 1, "ok": True, "revision": 0, "result": []})
        self.assertTrue((root / "usr/share/man/man1/tarnwellctl.1.gz").exists())


unittest.main()
