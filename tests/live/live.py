"""What the live tests share: changes of the kernel, the model's answer, and the agent under test.

They run in the guest (scripts/in-kernel), in the folder that tests/live/run fills: the programs in
bin/, these files beside it. A test that fails raises Failure and leaves TEST-failed/ there.
"""

import json
import os
import shutil
import subprocess
import sys
import time

import poller

HERE = os.path.dirname(os.path.abspath(__file__))
WORK = "/tmp/live"  # the agent's files: in memory, for SQLite maps what it writes
STORE = f"{WORK}/store.db"
CONTROL = f"{WORK}/control"
LOG = f"{WORK}/agent.log"
LIMIT = 5.0  # seconds until the agent must show what the model derives


class Failure(Exception):
    """What does not hold. `documents` is what to look at: file name -> JSON or text."""

    def __init__(self, message, **documents):
        super().__init__(message)
        self.documents = documents


def program(name):
    return f"{HERE}/bin/{name}"


def run(*command, text=None):
    """Run it to its end; its output. A Failure if it fails."""
    done = subprocess.run(command, input=text, capture_output=True, text=True, check=False)
    if done.returncode != 0:
        raise Failure(f"{' '.join(command)}: status {done.returncode}: {done.stderr}",
                      command=text or "")
    return done.stdout


# ---- The kernel ----

def change(lines):
    """Make changes, each a line for ip or bridge ("ip -n red link del eth1"), in their order. A new
    process costs much, so lines of one sort that follow each other go in one batch."""
    batches = []
    for line in lines:
        words = line.split()
        tool = words[:3] if words[1] == "-n" else words[:1]
        if not batches or batches[-1][0] != tool:
            batches.append((tool, []))
        batches[-1][1].append(line.split(None, len(tool))[-1])
    for tool, batch in batches:
        run(*tool, "-batch", "-", text="\n".join(batch) + "\n")


class View:
    """What the kernel holds, as `ip` and `bridge` print it, and what the model derives from it."""

    def __init__(self, namespace=None, bridge=None):
        inside = ["-n", namespace] if namespace else []
        self.links = json.loads(run("ip", *inside, "-d", "-j", "link", "show"))
        self.vlans = json.loads(run("bridge", *inside, "-j", "-d", "vlan", "show"))
        complete(self.vlans, json.loads(run("bridge", *inside, "-j", "-c", "vlan", "show")))
        if bridge:
            ports = {link["ifname"] for link in self.links if link.get("master") == bridge}
            self.vlans = [port for port in self.vlans if port["ifname"] in ports]

    def model(self):
        for name, document in (("links", self.links), ("vlans", self.vlans)):
            with open(f"{WORK}/{name}.json", "w", encoding="utf-8") as file:
                json.dump(document, file)
        return json.loads(run(program("model_derive"), f"{WORK}/links.json", f"{WORK}/vlans.json"))


def numbers(vlans):
    """Every VLAN of a port's list: number -> the list's element."""
    return {number: vlan for vlan in vlans
            for number in range(vlan["vlan"], vlan.get("vlanEnd", vlan["vlan"]) + 1)}


def complete(ports, tables):
    """Add to the list with states what is only in the one without: a kernel (Linux 6.1 does it) leaves
    out VLANs that follow the PVID with the same state and the same other flags."""
    tables = {port["ifname"]: port["vlans"] for port in tables}
    for port in ports:
        listed = numbers(port["vlans"])
        pvid = next((vlan for vlan in port["vlans"] if "PVID" in vlan.get("flags", [])), {})
        for number, vlan in numbers(tables.get(port["ifname"], [])).items():
            if number not in listed:
                port["vlans"].append({**vlan, "vlan": number, "vlanEnd": number,
                                      "state": pvid.get("state", "forwarding")})


def entries(document):
    """The entries of a directory document: (VLAN, subinterface) -> the rest of it."""
    return {(vlan["vlanId"], entry["intfId"]): entry
            for vlan in document["config"] for entry in vlan["intf"]}


# ---- The agent ----

class Agent:
    """One run of it after the other, over one store."""

    def __init__(self, *options, namespace=None, bridge=None):
        self.options = list(options)
        self.namespace, self.bridge = namespace, bridge
        if namespace:
            self.options += ["--netns", namespace]
        if bridge:
            self.options += ["--bridge", bridge]
        self.process = None
        self.worst = 0.0  # seconds that settled() took at most

    def start(self):
        with open(LOG, "a", encoding="utf-8") as log:
            self.process = subprocess.Popen(
                [program("vlan-subintf"), "agent", "--source", "kernel", "--store", STORE,
                 "--control", CONTROL, *self.options], stdout=log, stderr=log)

    def kill(self):
        self.process.kill()
        self.process.wait()

    def stop(self):
        """End it in the ordinary way. An audit must find no drift before, and the store must hold
        what was shown then."""
        self.audit()
        shown = stored(self.entries())
        self.process.terminate()
        if self.process.wait() != 0:
            raise Failure(f"the agent ended with {self.process.returncode}")
        store = stored(poller.read(poller.open_store(STORE)))
        if store != shown:
            raise Failure("the store is not what was shown", shown=lines(shown), store=lines(store))

    def ask(self, *request):
        return run(program("vlan-subintf"), *request, "--control", CONTROL)

    def wait_ready(self, seconds=10):
        """Ready within that time. At first nobody may listen at its socket."""
        end = time.monotonic() + seconds
        while True:
            try:
                return self.ask("wait-ready", "--timeout", str(seconds))
            except Failure as failure:
                if self.process.poll() is not None:
                    raise Failure(f"the agent ended with {self.process.returncode}") from failure
                if time.monotonic() > end:
                    raise
            time.sleep(0.02)

    def show(self):
        return json.loads(self.ask("show", "-j"))

    def audit(self):
        """There must be no drift."""
        return json.loads(self.ask("audit", "-j"))

    def status(self):
        return json.loads(self.ask("status", "-j"))

    def entries(self):
        return entries(self.show())

    def entries_but_kept(self):
        """Without the LAG members that it says it keeps from an earlier run."""
        shown = self.entries()
        for finding in self.audit()["findings"]:
            entry = shown.get((finding["vlanId"], finding["intfId"]), {"lagPhyIntf": []})
            if finding["member"] in entry["lagPhyIntf"]:
                entry["lagPhyIntf"].remove(finding["member"])
        return shown

    def settled(self):
        """Wait until it shows what the model derives. The entries; a Failure after LIMIT."""
        changed = time.monotonic()
        shown = self.entries()
        passed = time.monotonic() - changed
        view = View(self.namespace, self.bridge)
        model = entries(view.model())
        end = time.monotonic() + LIMIT
        while shown != model:
            if time.monotonic() > end:
                raise Failure(f"not what the model derives, after {LIMIT} s", links=view.links,
                              vlans=view.vlans, model=lines(model), shown=lines(shown))
            shown = self.entries_but_kept()
            passed = time.monotonic() - changed
        self.worst = max(self.worst, passed)
        return model


def stored(of_entries):
    """The same, with the members in the order of a store."""
    return {place: {**entry, "lagPhyIntf": sorted(entry["lagPhyIntf"])}
            for place, entry in of_entries.items()}


def lines(of_entries):
    """For people and diff: a line an entry."""
    return "".join(f"{vlan} {json.dumps(entry)}\n" for (vlan, _), entry in sorted(of_entries.items()))


# ---- What runs beside it ----

class Background:
    """A program whose output goes to a file, until its end."""

    def __init__(self, name, *command):
        self.path = f"{WORK}/{name}.out"
        with open(self.path, "w", encoding="utf-8") as out:
            self.process = subprocess.Popen(command, stdin=subprocess.PIPE, stdout=out)

    def lines(self):
        with open(self.path, encoding="utf-8") as file:
            return [line for line in file if line.endswith("\n")]

    def end(self):
        self.process.terminate()
        self.process.wait()


class Poller(Background):
    """poller.py, over the agent's store."""

    def __init__(self, wanted):
        """`wanted`: (VLAN, subinterface) -> members that it must have in every reading."""
        with open(f"{WORK}/wanted.json", "w", encoding="utf-8") as file:
            json.dump([[*place, members] for place, members in wanted.items()], file)
        super().__init__("poller", sys.executable, f"{HERE}/poller.py", STORE,
                         f"{WORK}/wanted.json")

    def end(self):
        """The moments of its readings, and when an entry was first seen to be gone:
        (VLAN, subinterface) -> moment. A Failure if a wanted one was missed."""
        self.process.stdin.close()
        if self.process.wait() != 0:
            raise Failure("the store cannot be read")
        gone = {}
        for said in map(json.loads, self.lines()):
            if "missed" in said:
                raise Failure(f"the store missed {said['missed']} at {said['moment']}")
            if "gone" in said:
                gone.setdefault(tuple(said["gone"]), said["moment"])
        return said["moments"], gone


def within(holds, complaint):
    """Wait until holds()."""
    end = time.monotonic() + LIMIT
    while not holds():
        if time.monotonic() > end:
            raise Failure(complaint)
        time.sleep(0.02)


# ---- A test ----

def test(body):
    """Run a test: body() returns its figures as a text."""
    name = os.path.splitext(os.path.basename(sys.argv[0]))[0]
    os.makedirs(WORK)
    began = time.monotonic()
    try:
        figures = body()
    except Exception as error:
        leave(f"{HERE}/{name}-failed", error)
        print(f"live: {name}: FAILED: {error!r}", flush=True)
        raise
    print(f"live: {name}: {figures}; {time.monotonic() - began:.0f} s", flush=True)


def seed():
    """Of the environment, else one of its own."""
    return int(os.environ.get("SEED") or int.from_bytes(os.urandom(4), "big"))


def leave(folder, error):
    """What one needs to look into a failure, the store and the agent's log included."""
    shutil.copytree(WORK, folder, dirs_exist_ok=True,
                    ignore=lambda path, names: [os.path.basename(CONTROL)])
    documents = {"message": str(error), **getattr(error, "documents", {})}
    for name, document in documents.items():
        text = document if isinstance(document, str) else json.dumps(document, indent=1)
        with open(f"{folder}/{name}.txt", "w", encoding="utf-8") as file:
            file.write(text + "\n")
