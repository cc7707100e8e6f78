#!/usr/bin/env python3
"""Live test `restarts`: the agent is killed at random instants under change and started again, until
it has been killed RESTARTS times. Each time it must become ready and show what the model derives, and
a reader of the store must never miss an entry that the kernel has throughout. What went while it was
down must go from the store only after the first full view."""

import concurrent.futures
import os
import random
import time

import live

RESTARTS = int(os.environ.get("RESTARTS") or 60)
PORTS = [f"{bond}.{number}" for bond in ("bond0", "bond1") for number in range(1, 21)]
MEMBERS = ["eth1", "eth2"]  # of bond0, throughout; those of bond1 come and go
OWN = range(100, 110)  # VLANs that the ports have throughout


def build():
    links = [f"ip link add eth{number} type dummy" for number in range(1, 5)]
    links += ["ip link add bond0 type bond", "ip link add bond1 type bond",
              "ip link add br0 type bridge vlan_filtering 1 vlan_default_pvid 0"]
    links += [f"ip link set {member} master bond0" for member in MEMBERS]
    for port in PORTS:
        bond, number = port.split(".")
        links += [f"ip link add link {bond} name {port} type vlan id {number}",
                  f"ip link set {port} master br0"]
    live.change(links + [f"bridge vlan add dev {port} vid {OWN[0]}-{OWN[-1]}" for port in PORTS])


def stays(place):
    vlan, intf = place
    return intf in PORTS and vlan in OWN


class Churn:
    """Random changes beside what stays."""

    def __init__(self, choice):
        self.choice = choice
        self.extra = set()  # numbers of subinterfaces that come and go

    def lines(self):
        links = sum((self.links() for _ in range(6)), [])
        extra = [f"bridge vlan add dev bond1.{number} vid 2000-2003" for number in self.extra]
        return [self.vlan() for _ in range(40)] + links + extra + [self.vlan() for _ in range(40)]

    def vlan(self):
        """Flags and states of the ports' own VLANs change, others come and go. The PVID is the last
        VLAN in a row, for the agent may take another full view to learn the states of those behind
        it, and this test wants to know when the first was complete."""
        dev = f"dev {self.choice.choice(PORTS)}"
        own, other = self.choice.choice(OWN), self.choice.randint(1000, 1010)
        return "bridge vlan " + self.choice.choice([
            f"add {dev} vid {own}", f"add {dev} vid {own} untagged",
            f"add {dev} vid {OWN[-1]} pvid untagged", f"set {dev} vid {own} state blocking",
            f"set {dev} vid {own} state forwarding", f"add {dev} vid {other}",
            f"add {dev} vid {other}-{other + 5} untagged", f"del {dev} vid {other}-{other + 5}"])

    def links(self):
        """A member of bond1 leaves or joins, a subinterface of it comes or goes."""
        member = self.choice.choice(["eth3", "eth4"])
        number = self.choice.randint(300, 305)
        self.extra ^= {number}
        lines = [f"ip link set {member} nomaster", f"ip link set {member} down"]
        lines += self.choice.choice([[], [f"ip link set {member} master bond1"]])
        if number not in self.extra:
            return lines + [f"ip link del bond1.{number}"]
        return lines + [f"ip link add link bond1 name bond1.{number} type vlan id {number}",
                        f"ip link set bond1.{number} master br0"]


class Restarts:
    def __init__(self, choice):
        self.choice = choice
        self.churn = Churn(choice)
        self.changing = concurrent.futures.ThreadPoolExecutor(1)
        self.agent = live.Agent()
        self.kills = self.early = 0
        self.marks = []  # entries that come while it is down, and go while it is down the next time
        self.duration = 0.1  # seconds that changes take
        self.gone = []  # (places, moment of the start, moment of the first full view)

    def under_change(self, action):
        """Do it while changes are made."""
        began = time.monotonic()
        changes = self.changing.submit(live.change, self.churn.lines())
        action()
        changes.result()
        self.duration = time.monotonic() - began

    def kill(self):
        """At a random instant of the changes."""
        time.sleep(self.choice.uniform(0, self.duration))
        self.agent.kill()
        self.kills += 1

    def start_and_kill(self):
        """The same, but it is only just starting."""
        self.agent.start()
        time.sleep(self.choice.uniform(0, 0.2))
        self.agent.kill()
        self.kills += 1
        self.early += 1

    def change_marks(self):
        """What was marked goes, and others come; the places of the former."""
        former, vlan = self.marks, 3000 + self.kills
        self.marks = [(vlan, port) for port in self.choice.sample(PORTS, 3)]
        live.change([f"bridge vlan del dev {port} vid {number}" for number, port in former] +
                    [f"bridge vlan add dev {port} vid {number}" for number, port in self.marks])
        return former

    def round(self):
        self.under_change(self.kill)
        former = self.change_marks()
        early = self.choice.random() < 0.2
        if early:
            self.under_change(self.start_and_kill)
        began = time.time()
        self.under_change(self.agent.start)
        self.agent.wait_ready()
        self.agent.settled()
        view = self.agent.status()["source"]["lastView"]
        if not early and view["why"] == "start":
            self.gone.append((former, began, view["unixMilliseconds"] / 1000))

    def check(self, gone):
        for places, _, view in self.gone:
            for place in places:
                if place not in gone:
                    raise live.Failure(f"{place} was never in the store, or is still there")
                if gone[place] < view:
                    raise live.Failure(f"{place} went at {gone[place]}, before the first full view "
                                       f"at {view}")


def restarts():
    seed = live.seed()
    print(f"live: restarts: SEED={seed}", flush=True)
    build()
    test = Restarts(random.Random(seed))
    test.agent.start()
    test.agent.wait_ready()
    poller = live.Poller({(vlan, port): MEMBERS if port.startswith("bond0") else []
                          for vlan, port in test.agent.settled() if stays((vlan, port))})
    while test.kills < RESTARTS:
        test.round()
    test.agent.stop()
    polls, gone = poller.end()
    test.check(gone)
    between = sum(began < moment < view for _, began, view in test.gone for moment in polls)
    went = sum(len(places) for places, _, _ in test.gone)
    return (f"SEED={seed}: {test.kills} times killed, {test.early} of them while it started; settled "
            f"within {test.agent.worst:.2f} s; {len(PORTS) * len(OWN)} entries that stay, never missed "
            f"in {len(polls)} readings of the store; {went} entries went while it was down, none of "
            f"them from the store in the {between} readings between a start and its first full view")


live.test(restarts)
