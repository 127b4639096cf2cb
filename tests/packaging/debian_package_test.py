"""debian_package_test.py BUILD_FOLDER VERSION SUITE: the packages are clean, can be installed, and work.

Installs them into a scratch root with this machine's list of installed packages, which must hold their
dependencies.
"""
import json
import re
import shutil
import subprocess
import sys
import tempfile
import unittest
from pathlib import Path

BUILD, VERSION = sys.argv.pop(1), sys.argv.pop(1)
SOURCE = Path(__file__).parents[2]
LIST = '{"version":1,"command":"tasks.list"}'


def output(*command: object, **more: object) -> str:
    run = subprocess.run([str(each) for each in command], capture_output=True, text=True,
                         check=False, **more)
    if run.returncode != 0:
        raise AssertionError(f"{command}: {run.stdout}{run.stderr}")
    return run.stdout


def make_packages(folder: str) -> dict[str, Path]:
    output("cpack", "-B", folder, cwd=BUILD)
    return {path.name.split("_")[0]: path for path in Path(folder).glob("*.deb")}


class Root:
    """A scratch root."""

    def __init__(self, path: Path) -> None:
        self.path = path
        database = path / "var/lib/dpkg"
        for each in ("info", "updates", "triggers"):
            (database / each).mkdir(parents=True)
        shutil.copyfile("/var/lib/dpkg/status", database / "status")

    def dpkg(self, *arguments: object) -> None:
        output("dpkg", f"--root={self.path}", "--force-not-root", "--force-bad-path", "--no-triggers",
               "--log=/dev/null", *arguments)

    def program(self, name: str) -> Path:
        return self.path / "usr/bin" / name

    def files(self) -> set[Path]:
        return {path for path in self.path.rglob("*")
                if path.is_file() and "dpkg" not in path.relative_to(self.path).parts}


class Packages(unittest.TestCase):
    """Makes the packages once for all tests of a suite."""

    @classmethod
    def setUpClass(cls) -> None:
        cls.scratch = tempfile.TemporaryDirectory()
        cls.packages = make_packages(cls.scratch.name)
        cls.tarnwell, cls.library = cls.packages["tarnwell"], cls.packages["libtarnwell-dev"]

    @classmethod
    def tearDownClass(cls) -> None:
        cls.scratch.cleanup()


class DebianPackages(Packages):
    def setUp(self) -> None:
        folder = tempfile.TemporaryDirectory()
        self.addCleanup(folder.cleanup)
        self.home = Path(folder.name)
        self.root = Root(self.home / "root")

    def test_are_two(self) -> None:
        self.assertEqual(set(self.packages), {"tarnwell", "libtarnwell-dev"})

    def test_depend_on_the_libraries_that_the_programs_link(self) -> None:
        depends = output("dpkg-deb", "--field", self.tarnwell, "Depends")
        names = {each.split()[0].rstrip("0123456789") for each in depends.split(", ")}
        self.assertLessEqual({"libc", "libgcc-s", "libsimdjson", "libstdc++", "liburiparser"}, names)
        self.assertLessEqual(names, {"libc", "libgcc-s", "libsimdjson", "libstdc++", "liburiparser",
                                     "libsystemd", "libutf8proc"})

    def test_have_one_version(self) -> None:
        changelog = (SOURCE / "CHANGELOG.md").read_text()
        self.assertEqual(re.findall(r"^## (\S+)", changelog, re.M)[0], VERSION)
        self.assertEqual(output("dpkg-parsechangelog", "--file", SOURCE / "packaging/debian/changelog",
                                "--show-field", "Version").strip(), VERSION)
        for package in self.packages.values():
            self.assertEqual(output("dpkg-deb", "--field", package, "Version").strip(), VERSION)

    def test_can_be_installed_used_and_purged(self) -> None:
        before = self.root.files()
        self.root.dpkg("--install", self.tarnwell, self.library)
        reply = json.loads(output(self.root.program("tarnwellctl"), input=LIST,
                                  env={"HOME": str(self.home)}))
        self.assertEqual(reply, {"version": 1, "ok": True, "revision": 0, "result": []})
        for program in self.root.program(".").iterdir():
            self.assertTrue((self.root.path / f"usr/share/man/man1/{program.name}.1.gz").exists())
        self.root.dpkg("--purge", "tarnwell", "libtarnwell-dev")
        self.assertEqual(self.root.files(), before)

    def test_bring_documents_whose_links_lead_somewhere(self) -> None:
        self.root.dpkg("--install", self.tarnwell)
        documents = self.root.path / "usr/share/doc/tarnwell"
        for page in ("assistant.md", "data-file.md", "mcp.md", "protocol.md"):
            text = (documents / "docs" / page).read_text()
            for link in re.findall(r"\]\((?!https:)([^)#\s]+)", text):
                self.assertTrue((documents / "docs" / link).exists(), f"{page}: {link}")

    # A process goes on with the file that it was started from, as nothing stops it.
    def test_replace_the_package_of_0_1_0_under_a_running_program(self) -> None:
        old = self.home / "old"
        (old / "DEBIAN").mkdir(parents=True)
        (old / "DEBIAN/control").write_text(
            "Package: tarnwellctl\nVersion: 0.1.0\nArchitecture: all\n"
            "Maintainer: Tarnwell <maintainers@tarnwell.example>\nDescription: the tool alone\n")
        (old / "usr/bin").mkdir(parents=True)
        shutil.copy2(Path(BUILD) / "tarnwellctl", old / "usr/bin/tarnwellctl")
        output("dpkg-deb", "--build", "--root-owner-group", old, self.home / "old.deb")
        self.root.dpkg("--install", self.home / "old.deb")

        running = subprocess.Popen([self.root.program("tarnwellctl")], stdin=subprocess.PIPE,
                                   stdout=subprocess.PIPE, env={"HOME": str(self.home)}, text=True)
        self.root.dpkg("--install", self.tarnwell)
        installed = output("dpkg-query", f"--admindir={self.root.path}/var/lib/dpkg", "--showformat",
                           "${Package} ${db:Status-Status}\n", "--show", "tarnwell*")
        self.assertIn("tarnwell installed", installed)
        self.assertNotIn("tarnwellctl installed", installed)
        self.assertTrue(json.loads(running.communicate(LIST)[0])["ok"])
        self.assertEqual(running.returncode, 0)

    def test_can_be_installed_again_under_the_running_service(self) -> None:
        self.root.dpkg("--install", self.tarnwell)
        service = subprocess.Popen([self.root.program("tarnwell-watch")], env={"HOME": str(self.home)},
                                   stdout=subprocess.PIPE, stderr=subprocess.DEVNULL, text=True)
        self.assertTrue(service.stdout.readline().startswith("Watching"))
        self.root.dpkg("--install", self.tarnwell)
        self.assertIsNone(service.poll())
        service.terminate()
        service.communicate()
        self.assertEqual(service.returncode, 0)


class LongRunOfDebianPackages(Packages):
    def test_give_lintian_nothing_to_warn_of(self) -> None:
        output("lintian", "--allow-root", "--fail-on", "error,warning", *self.packages.values())

    def test_are_the_same_when_made_again(self) -> None:
        with tempfile.TemporaryDirectory() as folder:
            for name, package in make_packages(folder).items():
                self.assertEqual(package.read_bytes(), self.packages[name].read_bytes(), name)


unittest.main()
