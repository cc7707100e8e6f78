"""The agent over files of a large configuration: how long until it is ready, what it needs when
nothing happens, and what its loop does while many changes come at once.

Prints a table. Times of turns are those on the processor, so other work on the machine does not
count. Fails only where the agent does not show what `derive` prints.
"""

import argparse
import json
import os
import pathlib
import subprocess
import sys
import tempfile
import time

LAGS = 64
MEMBERS = 8  # of a LAG


def write_links(folder, subinterfaces):
    links = []
    for lag in range(LAGS):
        links.append({"ifname": f"bond{lag}", "linkinfo": {"info_kind": "bond"}})
        links += [{"ifname": f"eth{lag * MEMBERS + i}", "master": f"bond{lag}"} for i in range(MEMBERS)]
    for number in range(subinterfaces):
        links.append(
            {
                "ifname": f"bond{number % LAGS}.{number}",
                "link": f"bond{number % LAGS}",
                "linkinfo": {"info_kind": "vlan"},
            }
        )
    (folder / "links.json").write_text(json.dumps(links))


def write_vlans(folder, vlans, subinterfaces, changes):
    """All subinterfaces in all VLANs; `changes` of the entries, evenly spread, are blocked."""
    every = vlans * subinterfaces // changes if changes else 0
    ports = []
    for number in range(subinterfaces):
        entries = []
        for vlan in range(1, vlans + 1):
            index = number * vlans + vlan
            blocked = every and index % every == 0 and index // every <= changes
            entries.append({"vlan": vlan, "state": "blocking" if blocked else "forwarding"})
        ports.append({"ifname": f"bond{number % LAGS}.{number}", "vlans": entries})
    new = folder / "vlans.new"
    new.write_text(json.dumps(ports))
    new.rename(folder / "vlans.json")


class Agent:
    def __init__(self, program, folder):
        self.program, self.folder = program, folder
        self.began = time.monotonic()
        self.log = open(folder / "log", "w")
        self.process = subprocess.Popen(
            [program, "agent", "--source", "files", "--links", folder / "links.json", "--vlans",
             folder / "vlans.json", "--store", folder / "directory.db", "--control",
             folder / "control.sock"],
            stderr=self.log,
        )

    def ask(self, *words):
        return subprocess.run(
            [self.program, *words, "--control", self.folder / "control.sock"],
            capture_output=True, text=True, check=False,
        )

    def status(self):
        return json.loads(self.ask("status", "-j").stdout)

    def wait_until(self, what, condition, limit=120):
        end = time.monotonic() + limit
        while time.monotonic() < end:
            if condition():
                return
            if self.process.poll() is not None:
                break
            time.sleep(0.01)
        sys.exit(f"scripts/load: {what} did not come about; the agent said:\n"
                 + (self.folder / "log").read_text())

    def wait_ready(self):
        """Seconds from its start until it is ready."""
        self.wait_until("the socket", (self.folder / "control.sock").exists)
        self.wait_until("readiness", lambda: self.ask("wait-ready", "--timeout", "60").returncode == 0)
        return time.monotonic() - self.began

    def is_written(self):
        store = self.status()["store"]
        return store["queued"] == 0 and not store["replacing"]

    def wait_written(self):
        """Until the store has everything; seconds from the agent's start."""
        self.wait_until("the store", self.is_written)
        return time.monotonic() - self.began

    def resident(self):
        """Bytes of memory."""
        pages = int(pathlib.Path(f"/proc/{self.process.pid}/statm").read_text().split()[1])
        return pages * os.sysconf("SC_PAGE_SIZE")

    def wakeups(self):
        for line in pathlib.Path(f"/proc/{self.process.pid}/status").read_text().splitlines():
            if line.startswith("voluntary_ctxt_switches"):
                return int(line.split()[1])

    def stop(self):
        self.process.terminate()
        self.process.wait()
        self.log.close()


def turns_between(before, after):
    """Turns of each class, as text."""
    texts = []
    for old, new in zip(before["loop"]["turnClasses"], after["loop"]["turnClasses"]):
        name = f"<= {new['upToMilliseconds']} ms" if "upToMilliseconds" in new else "longer"
        texts.append(f"{new['turns'] - old['turns']} {name}")
    return ", ".join(texts)


def row(name, value):
    print(f"{name:44}  {value}", flush=True)


def check_shown(agent, program, folder):
    shown = agent.ask("show", "-j").stdout
    derived = subprocess.run(
        [program, "derive", "--links", folder / "links.json", "--vlans", folder / "vlans.json", "-j"],
        capture_output=True, text=True, check=True,
    ).stdout
    if shown != derived:
        sys.exit("scripts/load: the agent does not show what derive prints")


def measure(options, folder):
    program = options.program
    write_links(folder, options.subinterfaces)
    write_vlans(folder, options.vlans, options.subinterfaces, 0)
    row("entries", options.vlans * options.subinterfaces)
    row("LAG members of each", MEMBERS)

    agent = Agent(program, folder)
    row("start over an empty store: ready", f"{agent.wait_ready():.2f} s")
    row("  written", f"{agent.wait_written():.2f} s")
    row("  turns", turns_between({"loop": {"turnClasses": [{"turns": 0}] * 7}}, agent.status()))
    agent.stop()

    agent = Agent(program, folder)
    row("restart over the store: ready", f"{agent.wait_ready():.2f} s")
    before = agent.status()
    row("  turns", turns_between({"loop": {"turnClasses": [{"turns": 0}] * 7}}, before))
    row("memory, resident", f"{agent.resident() / 1e6:.0f} MB")
    time.sleep(2)
    wakeups = agent.wakeups()
    time.sleep(options.idle)
    row(f"wake-ups in {options.idle} s of rest", agent.wakeups() - wakeups)

    before = agent.status()
    write_vlans(folder, options.vlans, options.subinterfaces, options.changes)
    resyncs = before["source"]["resyncs"]
    agent.wait_until("the changes", lambda: agent.status()["source"]["resyncs"] > resyncs)
    agent.wait_written()
    after = agent.status()
    row("changes of one reload", after["directory"]["changes"] - before["directory"]["changes"])
    row("  turns", turns_between(before, after))
    row("  longest turn since the start", f"{after['loop']['longestProcessorMicroseconds'] / 1000:.1f} ms")
    check_shown(agent, program, folder)
    agent.stop()


def main():
    parser = argparse.ArgumentParser(prog="scripts/load", description=__doc__,
                                     formatter_class=argparse.RawDescriptionHelpFormatter)
    parser.add_argument("--vlans", type=int, default=4094)
    parser.add_argument("--subinterfaces", type=int, default=64)
    parser.add_argument("--changes", type=int, default=10000, help="of one reload")
    parser.add_argument("--idle", type=int, default=10, help="seconds of rest")
    parser.add_argument("--program", default="build/release/agent/vlan-subintf")
    options = parser.parse_args()
    options.program = os.path.abspath(options.program)
    with tempfile.TemporaryDirectory() as folder:
        measure(options, pathlib.Path(folder))


if __name__ == "__main__":
    main()
