"""run.py BUILD_FOLDER: measures the tool against its limits and its peers, all in one run.

Measures whole processes. All commands of a plan take turns, so that a drift of the machine affects all
of them. Wall times are medians and ninth deciles, CPU times are medians, after two runs that are not
counted. Peak memory is from one further run. Ratios are of medians of wall times. Before each change
the plan is put back as it was. Plan P is for the peers, which keep no trail of years.
"""
import json
import os
import shutil
import statistics
import subprocess
import sys
import tempfile
import time
from pathlib import Path

SIZES = {"empty": None, "S": (100, 1_000), "P": (1_000, 1_000), "M": (1_000, 20_000),
         "L": (5_000, 200_000)}
ROUNDS = {"empty": 60, "S": 60, "P": 40, "M": 25, "L": 15}
WARM_UPS = 2
READING = ("tasks.list", "review.get")
DATA_FILE = ".local/share/Tarnwell/state.json"


class Subject:
    """A command line to measure, and the restoring of its files before it runs."""

    def __init__(self, arguments, environment=None, text="", prepare=lambda: None):
        self.arguments = [str(argument) for argument in arguments]
        self.environment = environment or {"PATH": os.environ["PATH"]}
        self.text = text
        self.prepare = prepare
        self.walls, self.cpus = [], []

    def run(self):
        self.prepare()
        with tempfile.TemporaryFile() as standard_input:
            standard_input.write(self.text.encode())
            standard_input.seek(0)
            actions = [(os.POSIX_SPAWN_DUP2, standard_input.fileno(), 0),
                       (os.POSIX_SPAWN_OPEN, 1, os.devnull, os.O_WRONLY, 0),
                       (os.POSIX_SPAWN_OPEN, 2, os.devnull, os.O_WRONLY, 0)]
            start = time.perf_counter()
            child = os.posix_spawn(self.arguments[0], self.arguments, self.environment,
                                   file_actions=actions)
            _, status, usage = os.wait4(child, 0)
            self.walls.append(time.perf_counter() - start)
        if status != 0:
            raise SystemExit(f"failed: {self.arguments}")
        self.cpus.append(usage.ru_utime + usage.ru_stime)

    def peak_megabytes(self):
        self.prepare()
        result = subprocess.run(["/usr/bin/time", "-f", "%M", *self.arguments], check=True,
                                input=self.text, env=self.environment, capture_output=True, text=True)
        return int(result.stderr.split()[-1]) / 1024

    @property
    def wall(self):
        return statistics.median(self.walls[WARM_UPS:])

    @property
    def wall_decile(self):
        return statistics.quantiles(self.walls[WARM_UPS:], n=10)[-1]

    @property
    def cpu(self):
        return statistics.median(self.cpus[WARM_UPS:])


class Plan:
    """The plan of one size, and a separate home for each subject."""

    def __init__(self, name, programs, scratch):
        self.name, self.scratch = name, scratch
        self.original = scratch / f"{name}.json"
        self.revision, self.first_task = 0, None
        if SIZES[name]:
            tasks, events = SIZES[name]
            subprocess.run([programs / "make_plan", str(tasks), str(events), self.original],
                           check=True)
            content = json.loads(self.original.read_text())
            self.revision, self.first_task = content["revision"], content["tasks"][0]["id"]
            self.tasks = content["tasks"]
        self.size = self.original.stat().st_size if SIZES[name] else 0

    def home(self, owner):
        """Returns a home and a function that restores its plan."""
        home = self.scratch / f"{self.name}-{owner}"

        def restore():
            shutil.rmtree(home, ignore_errors=True)
            if self.size:
                # Includes what the first change creates: a folder and the lock.
                (home / DATA_FILE).parent.joinpath("State Backups").mkdir(parents=True)
                (home / DATA_FILE).parent.joinpath("state.json.lock").touch()
                shutil.copyfile(self.original, home / DATA_FILE)
            else:
                home.mkdir()
            os.sync()
            time.sleep(0.03)  # a file that has just changed may change again unseen

        restore()
        return home, restore


def tool(plan, program, command, mutates=False, payload=None):
    home, restore = plan.home(command)
    envelope = {"version": 1, "command": command, "payload": payload or {}}
    if mutates:
        envelope["expectedRevision"] = plan.revision
    return Subject([program], {"HOME": str(home), "PATH": os.environ["PATH"]},
                   json.dumps(envelope), restore if mutates else lambda: None)


def editing(plan, owner, arguments_for):
    home, restore = plan.home(owner)
    return Subject(arguments_for(home / DATA_FILE), prepare=restore)


def limits(plan, programs):
    if not plan.size:
        return {"true": Subject(["/bin/true"]), "start": Subject([programs / "bare_start"])}
    write = editing(plan, "write", lambda file: [programs / "bare_write", file])
    restore = write.prepare

    def restore_with_copies():
        restore()
        Path(write.arguments[-1] + ".copies").mkdir()
        os.sync()

    write.prepare = restore_with_copies
    return {"true": Subject(["/bin/true"]),
            "parse": Subject([programs / "bare_parse", plan.original]),
            "write": write}


def tools(plan, program):
    subjects = {
        "tasks.list": tool(plan, program, "tasks.list"),
        "review.get": tool(plan, program, "review.get"),
        "proposals.generate": tool(plan, program, "proposals.generate", mutates=True),
        "tasks.create": tool(plan, program, "tasks.create", True, {"title": "New"}),
    }
    if plan.first_task:
        subjects["tasks.start"] = tool(plan, program, "tasks.start", True,
                                       {"task_id": plan.first_task})
    return subjects


JQ_LIST = "{version: 1, ok: true, revision, result: .tasks}"
JQ_CREATE = """.revision += 1
  | .tasks += [{id: "5A0C0C7E-8C3E-4E0B-9D63-0C5B6C1B7F10", title: "New", notes: "",
      priority: "normal", manualPosition: 0, status: "pending", createdAt: 0, updatedAt: 0,
      skipCount: 0, accumulatedFocusSeconds: 0}]
  | .auditEvents += [{id: "0B4D5C0E-6B6E-4B57-B1B7-9F4C8C3C9B77", timestamp: 0, source: "agent",
      action: "task.create", taskID: "5A0C0C7E-8C3E-4E0B-9D63-0C5B6C1B7F10"}]"""


def taskwarrior(plan, all_open):
    """A store with as many tasks, and the commands that list it and add to it. Tasks that are done are
    kept in a separate file, which adding does not read. Where all are open, it reads as many tasks
    as the tool."""
    program = shutil.which("task")
    home = plan.scratch / f"{plan.name}-taskwarrior-{all_open}"
    pristine = home.with_name(home.name + "-pristine")
    environment = {"HOME": str(home), "TASKRC": str(home / "taskrc"), "PATH": os.environ["PATH"]}
    home.mkdir()
    (home / "taskrc").write_text(f"data.location={home}/data\nconfirmation=no\n")
    entries = [{"description": task["title"], "entry": "20260101T000000Z",
                **({"status": "completed", "end": "20260102T000000Z"}
                   if task["status"] in ("completed", "archived") and not all_open
                   else {"status": "pending"})}
               for task in plan.tasks]
    subprocess.run([program, "import", "-"], input=json.dumps(entries), text=True, check=True,
                   env=environment, capture_output=True)
    subprocess.run([program, "export"], check=True, env=environment, capture_output=True)
    shutil.copytree(home, pristine)

    def restore():
        shutil.rmtree(home)
        shutil.copytree(pristine, home)
        os.sync()

    name = "Taskwarrior, all open" if all_open else "Taskwarrior"
    return [("tasks.list", name, Subject([program, "export"], environment)),
            ("tasks.create", name, Subject([program, "add", "New"], environment, prepare=restore))]


def peers(plan, source):
    if not plan.size:
        return []
    found = []
    script = source / "peer.py"
    python = "/usr/bin/python3"
    found.append(("tasks.list", "Python", Subject([python, script, "list", plan.original])))
    found.append(("tasks.create", "Python", editing(
        plan, "python", lambda file: [python, script, "create", file])))
    if shutil.which("jq"):
        jq = shutil.which("jq")
        found.append(("tasks.list", "jq", Subject([jq, "-cS", JQ_LIST, plan.original])))
        found.append(("tasks.create", "jq", editing(
            plan, "jq", lambda file: ["/bin/sh", "-c",
                                      'jq -S "$1" "$2" >"$2.new" && mv "$2.new" "$2"', "sh",
                                      JQ_CREATE, file])))
    if shutil.which("task"):
        found += taskwarrior(plan, all_open=False) + taskwarrior(plan, all_open=True)
    return found


def milliseconds(seconds):
    return f"{seconds * 1000:.2f}" if seconds < 0.1 else f"{seconds * 1000:.0f}"


def print_table(header, rows):
    print("| " + " | ".join(header) + " |")
    print("|" + "---|" * len(header))
    for row in rows:
        print("| " + " | ".join(row) + " |")
    print()


def measure(plan, programs, program, source):
    limit, subjects, others = limits(plan, programs), tools(plan, program), peers(plan, source)
    everything = [*limit.values(), *subjects.values(), *(subject for _, _, subject in others)]
    for _ in range(WARM_UPS + ROUNDS[plan.name]):
        for subject in everything:
            subject.run()
    rows = [[plan.name, f"*{name}*", *figures(subject), "", "", ""]
            for name, subject in limit.items()]
    for command, subject in subjects.items():
        least = least_wall(limit, command)
        rows.append([plan.name, command, *figures(subject),
                     f"{subject.wall / limit['true'].wall:.2f}",
                     f"{subject.wall / least:.2f}" if least else "",
                     ", ".join(f"{name} {subject.wall / other.wall:.2f}"
                               for peer_command, name, other in others
                               if peer_command == command)])
    rows += [[plan.name, f"*{name}, as {command}*", *figures(subject), "", "", ""]
             for command, name, subject in others]
    peers_by_name = {f"{name}, as {command}": subject for command, name, subject in others}
    return rows, {**limit, **subjects, **peers_by_name}


def least_wall(limit, command):
    """The least time that a command can take: a bare parse, and for a change one start and one durable
    write as well."""
    if "parse" not in limit:
        return 0
    parts = ("parse",) if command in READING else ("true", "parse", "write")
    return sum(limit[name].wall for name in parts)


def figures(subject):
    return [milliseconds(subject.wall), milliseconds(subject.wall_decile), milliseconds(subject.cpu),
            f"{subject.peak_megabytes():.1f}"]


def goals(found, sizes):
    """Returns the tool's ratios with the limit of each."""
    def ratio(plan, name, other, other_plan=None):
        return found[plan][name].wall / found[other_plan or plan][other].wall

    for plan, most in (("S", 1.0), ("P", 1.15), ("M", 1.25), ("L", 1.4)):
        yield (f"create ÷ (true + parse + one durable write), {plan}",
               found[plan]["tasks.create"].wall / least_wall(found[plan], "tasks.create"), most)
    for peer, most in (("Taskwarrior, all open", 1.0), ("Taskwarrior", 1.15)):
        if f"{peer}, as tasks.create" in found["P"]:
            yield (f"create ÷ {peer}, P", ratio("P", "tasks.create", f"{peer}, as tasks.create"), most)
    for plan, most in (("P", 1.9), ("L", 1.25)):
        yield f"list ÷ parse, {plan}", ratio(plan, "tasks.list", "parse"), most
    yield "list ÷ a C++ program that does nothing, empty", ratio("empty", "tasks.list", "start"), 1.3
    yield ("peak memory of create ÷ document, L",
           found["L"]["tasks.create"].peak_megabytes() * 2**20 / sizes["L"], 2.7)


def main():
    build = Path(sys.argv[1]).resolve()
    source = Path(__file__).resolve().parent
    with tempfile.TemporaryDirectory(prefix="tarnwell-bench-") as scratch:
        scratch = Path(scratch)
        rows, found, sizes = [], {}, {}
        for name in SIZES:
            print(f"measuring {name}", file=sys.stderr)
            plan = Plan(name, build / "bench", scratch)
            sizes[name] = plan.size
            more, found[name] = measure(plan, build / "bench", build / "tarnwellctl", source)
            rows += more
        aims = [[name, f"{value:.2f}", f"{most}"] for name, value, most in goals(found, sizes)]
        kind = subprocess.run(["stat", "-f", "-c", "%T", scratch], capture_output=True, text=True)
        print(f"File system: {kind.stdout.strip()}. Documents: " +
              ", ".join(f"{name} {size / 1e6:.2f} MB" for name, size in sizes.items() if size) + ".\n")
    print_table(["plan", "command", "wall ms", "ninth decile", "CPU ms", "peak MB", "÷ true", "÷ least",
                 "÷ peer"], rows)
    print_table(["aim", "measured", "at most"], aims)
    print("Milliseconds for each megabyte of document, above an empty home:\n")
    least = {command: found["empty"].get(command, found["empty"]["tasks.create"]).wall
             for command in found["L"] if "." in command}
    print_table(["command", *(name for name in SIZES if sizes[name])],
                [[command, *(f"{(found[name][command].wall - wall) * 1e9 / sizes[name]:.2f}"
                             for name in SIZES if sizes[name])] for command, wall in least.items()])


main()
