"""mcp_bundle_test.py BUILD_FOLDER VERSION: the MCP bundle runs as its manifest says, wherever it is."""
import json
import os
import stat
import subprocess
import sys
import tempfile
import unittest
import zipfile
from pathlib import Path
from typing import Any

BUILD, VERSION = Path(sys.argv.pop(1)), sys.argv.pop(1)


class Bundle(unittest.TestCase):
    @classmethod
    def setUpClass(cls) -> None:
        subprocess.run(["cmake", "-P", BUILD / "packaging/mcp_bundle.cmake"], check=True)
        cls.file, = BUILD.glob(f"tarnwell-{VERSION}-*.mcpb")
        cls.scratch = tempfile.TemporaryDirectory(prefix="a client ")
        cls.folder = Path(cls.scratch.name)
        with zipfile.ZipFile(cls.file) as archive:
            archive.extractall(cls.folder)
            for each in archive.infolist():
                (cls.folder / each.filename).chmod(each.external_attr >> 16 & 0o777)
        cls.manifest = json.loads((cls.folder / "manifest.json").read_text())

    @classmethod
    def tearDownClass(cls) -> None:
        cls.scratch.cleanup()

    def value(self, text: str) -> str:
        return text.replace("${__dirname}", str(self.folder))

    def ask(self, *messages: dict[str, Any]) -> list[dict[str, Any]]:
        config = self.manifest["server"]["mcp_config"]
        environment = {name: self.value(text) for name, text in config["env"].items()}
        lines = "".join(json.dumps({"jsonrpc": "2.0", **each}) + "\n" for each in messages)
        run = subprocess.run([self.value(config["command"]), *config["args"]], input=lines, text=True,
                             env={"HOME": str(self.folder), "PATH": os.environ["PATH"], **environment},
                             capture_output=True, check=True)
        return [json.loads(line) for line in run.stdout.splitlines()]

    def test_lists_the_tools_of_its_manifest(self) -> None:
        initialize = {"protocolVersion": "2025-11-25", "capabilities": {},
                      "clientInfo": {"name": "test", "version": "1"}}
        first, second = self.ask({"id": 1, "method": "initialize", "params": initialize},
                                 {"method": "notifications/initialized"},
                                 {"id": 2, "method": "tools/list"})
        self.assertEqual(first["result"]["serverInfo"]["version"], VERSION)
        self.assertEqual(self.manifest["version"], VERSION)
        self.assertEqual([(each["name"], each["description"]) for each in second["result"]["tools"]],
                         [(each["name"], each["description"]) for each in self.manifest["tools"]])

    def test_has_regular_files_alone_and_a_licence_for_each_library(self) -> None:
        files = list((self.folder / "server").iterdir())
        self.assertTrue(all(stat.S_ISREG(path.lstat().st_mode) for path in files))
        libraries = {path.name for path in files if ".so." in path.name and path.suffix != ".copyright"}
        self.assertEqual({path.stem for path in files if path.suffix == ".copyright"}, libraries)

    def test_is_the_same_when_made_again(self) -> None:
        before = self.file.read_bytes()
        subprocess.run(["cmake", "-P", BUILD / "packaging/mcp_bundle.cmake"], check=True)
        self.assertEqual(self.file.read_bytes(), before)


unittest.main()
