"""mcp.py BUILD_FOLDER: measures a call of tarnwell-mcp against a process of tarnwellctl.

Times are medians of alternating runs, so that a drift affects both. The plan does not change meanwhile.
"""
import json
import os
import statistics
import subprocess
import sys
import tempfile
import time
from pathlib import Path

SIZES = {"empty": None, "S": (100, 1_000), "M": (1_000, 20_000)}
ROUNDS = 40
DATA_FILE = ".local/share/Tarnwell/state.json"
LIST = '{"version":1,"command":"tasks.list"}'
INITIALIZE = {"method": "initialize", "params": {
    "protocolVersion": "2025-06-18", "capabilities": {}, "clientInfo": {"name": "x", "version": "1"}}}
LIST_TASKS = {"method": "tools/call", "params": {"name": "list_tasks", "arguments": {}}}


class Server:
    def __init__(self, program, environment):
        self.process = subprocess.Popen([program], env=environment, bufsize=0,
                                        stdin=subprocess.PIPE, stdout=subprocess.PIPE)
        self.output = os.fdopen(os.dup(self.process.stdout.fileno()), "rb")
        self.request(INITIALIZE)

    def request(self, message):
        line = json.dumps({"jsonrpc": "2.0", "id": 1, **message}) + "\n"
        self.process.stdin.write(line.encode())
        return self.output.readline()

    def peak_kilobytes(self):
        status = Path(f"/proc/{self.process.pid}/status").read_text()
        return int(status.split("VmHWM:")[1].split()[0])

    def end(self):
        self.process.stdin.close()
        if self.process.wait() != 0:
            raise SystemExit("the server failed")
        self.output.close()
        self.process.stdout.close()


def timed(action):
    start = time.perf_counter()
    result = action()
    return time.perf_counter() - start, result


def run_tool(program, environment):
    subprocess.run([program], env=environment, input=LIST.encode(), check=True,
                   stdout=subprocess.DEVNULL)


def tool_peak_kilobytes(program, environment):
    result = subprocess.run(["/usr/bin/time", "-f", "%M", program], env=environment, check=True,
                            input=LIST.encode(), capture_output=True)
    return int(result.stderr.split()[-1])


def measure(build, environment):
    """Returns the median times of a tool's process, of connecting and of a call, and the peaks of both."""
    server_program, tool = build / "tarnwell-mcp", build / "tarnwellctl"
    tools, connects, calls = [], [], []
    server = Server(server_program, environment)
    for _ in range(ROUNDS):
        tools.append(timed(lambda: run_tool(tool, environment))[0])
        taken, another = timed(lambda: Server(server_program, environment))
        connects.append(taken)
        another.end()
        calls.append(timed(lambda: server.request(LIST_TASKS))[0])
    peak = server.peak_kilobytes()
    server.end()
    return (*map(statistics.median, (tools, connects, calls)),
            tool_peak_kilobytes(tool, environment), peak)


def main():
    build = Path(sys.argv[1]).resolve()
    rows, aims = [], []
    with tempfile.TemporaryDirectory(prefix="tarnwell-bench-") as scratch:
        for name, size in SIZES.items():
            home = Path(scratch) / name
            file = home / DATA_FILE
            file.parent.mkdir(parents=True)
            if size:
                subprocess.run([build / "bench" / "make_plan", *map(str, size), file], check=True)
            time.sleep(0.1)  # a file that has just changed may change again unseen
            environment = {"HOME": str(home), "PATH": os.environ["PATH"]}
            tool, connect, call, tool_peak, peak = measure(build, environment)
            rows.append([name, f"{tool * 1000:.2f}", f"{connect * 1000:.2f}", f"{call * 1000:.3f}",
                         f"{tool_peak / 1024:.1f}", f"{peak / 1024:.1f}"])
            if not size:
                aims.append(["connect ÷ start of the tool", f"{connect / tool:.2f}", "3"])
            else:
                most = {"S": 5, "M": 10}[name]
                aims.append([f"call ÷ process of the tool, {name}", f"{call / tool:.3f}", f"1/{most}"])
                aims.append([f"memory ÷ the tool's, {name}", f"{peak / tool_peak:.2f}", "1"])
    for header, lines in ((["plan", "tasks.list process, ms", "connect, ms", "list_tasks call, ms",
                            "tool's peak, MB", "server's peak, MB"], rows),
                          (["aim", "measured", "at most"], aims)):
        print("| " + " | ".join(header) + " |")
        print("|" + "---|" * len(header))
        for line in lines:
            print("| " + " | ".join(line) + " |")
        print()


main()
