#!/usr/bin/env python3
"""Live test `overrun`: more changes than the receive buffer holds, while the agent is stopped and
while it runs. It must notice, take a full view, and end with what the model derives; and an entry
that the kernel has throughout must not go meanwhile, neither in the directory (every change of it is
in the output of `watch`) nor in the store."""

import json
import random
import signal

import live

ROUNDS = 6  # the agent is stopped in every second one
SUBINTERFACES = 250
BUFFER = 16384  # bytes
MEMBERS = ["eth1", "eth2"]


def build():
    """A bond with subinterfaces, each with a VLAN of its own and VLAN 1000, which stay."""
    links = [f"ip link add {member} type dummy" for member in [*MEMBERS, "eth3"]]
    links += ["ip link add bond0 type bond"]
    links += [f"ip link set {member} master bond0" for member in MEMBERS]
    links += ["ip link set bond0 up", "ip link add br0 type bridge vlan_filtering 1 vlan_default_pvid 0"]
    vlans = []
    for number in range(1, SUBINTERFACES + 1):
        name = f"bond0.{number}"
        links += [f"ip link add link bond0 name {name} type vlan id {number}",
                  f"ip link set {name} master br0", f"ip link set {name} up"]
        vlans += [f"bridge vlan add dev {name} vid {number} pvid untagged",
                  f"bridge vlan add dev {name} vid 1000"]
    live.change(links + vlans)


def stays(place):
    vlan, intf = place
    return intf.startswith("bond0.") and (vlan == 1000 or intf == f"bond0.{vlan}")


def storm(number, choice):
    """Over a thousand changes; those of flapping the bond are notified for each subinterface."""
    def port():
        return f"bond0.{choice.randint(1, SUBINTERFACES)}"

    def vlan_change():
        return "bridge vlan " + choice.choice([
            f"add dev {port()} vid 1000 untagged", f"add dev {port()} vid 1000 pvid",
            f"add dev {port()} vid 1000", f"set dev {port()} vid 1000 state blocking",
            f"set dev {port()} vid 1000 state forwarding",
            f"add dev {port()} vid {choice.randint(2000, 2020)} untagged",
            f"del dev {port()} vid 2000-2020"])

    flap = ["ip link set bond0 down", "ip link set bond0 up"] * 3
    lines = [vlan_change() for _ in range(600)] + flap + [vlan_change() for _ in range(600)]
    # What comes goes in the next storm.
    lines += [f"ip link add link bond0 name extra{number} type vlan id {1000 + number}",
              f"ip link set extra{number} master br0", f"bridge vlan add dev extra{number} vid 7-9"]
    if number:
        lines.append(f"ip link del extra{number - 1}")
    return lines


def watching(agent):
    """A `watch` that has begun: a VLAN comes and goes until it says so."""
    watch = live.Background("watch", live.program("vlan-subintf"), "watch", "-j", "--control",
                            live.CONTROL)

    def tells():
        for what in ("add", "del"):
            live.change([f"bridge vlan {what} dev bond0.1 vid 4000"])
            agent.settled()
        lines = watch.lines()
        return lines and json.loads(lines[-1])["change"] == "entryGone"
    live.within(tells, "watch says nothing")
    return watch


def check_watch(before, after, log):
    """What `watch` said leads from the entries before to those after, and names nothing that stays.
    Whether all of it is there yet."""
    now = {place: {**entry, "lagPhyIntf": set(entry["lagPhyIntf"])} for place, entry in before.items()}
    for line in log:
        said = json.loads(line)
        what, place = said["change"], (said["vlanId"], said["intfId"])
        if what.endswith("Gone") and stays(place):
            raise live.Failure(f"it went, though it stays: {line}", watch="".join(log))
        if what == "entryGone":
            del now[place]
        elif what == "memberGone":
            now[place]["lagPhyIntf"].remove(said["member"])
        elif what == "memberNew":
            now[place]["lagPhyIntf"].add(said["member"])
        else:
            now.setdefault(place, {"intfId": place[1], "lagPhyIntf": set()}).update(
                {key: said[key] for key in ("tagOnEgress", "allowedTrafficDirection")})
    return now == {place: {**entry, "lagPhyIntf": set(entry["lagPhyIntf"])}
                   for place, entry in after.items()}


def overrun():
    seed = live.seed()
    print(f"live: overrun: SEED={seed}", flush=True)
    choice = random.Random(seed)
    build()
    agent = live.Agent("--receive-buffer", str(BUFFER))
    agent.start()
    agent.wait_ready()
    poller = live.Poller({place: MEMBERS for place in agent.settled() if stays(place)})
    watch = watching(agent)
    told = len(watch.lines())
    first = agent.settled()
    commands = 0
    for number in range(ROUNDS):
        stopped = number % 2 == 0
        overruns = agent.status()["source"]["overruns"]
        if stopped:
            agent.process.send_signal(signal.SIGSTOP)
        lines = storm(number, choice)
        live.change(lines)
        commands += len(lines)
        agent.process.send_signal(signal.SIGCONT)
        last = agent.settled()
        source = agent.status()["source"]
        if stopped and (source["overruns"] == overruns or "overrun" not in source["lastView"]["why"]):
            raise live.Failure("no overrun was noticed", status=source)
    live.within(lambda: check_watch(first, last, watch.lines()[told:]), "watch did not tell all")
    watch.end()
    polls, _ = poller.end()
    source = agent.status()["source"]
    agent.stop()
    return (f"SEED={seed}: {ROUNDS} storms of {commands} commands in all, {source['overruns']} "
            f"overruns, {source['resyncs']} resynchronisations, settled within {agent.worst:.2f} s; "
            f"{sum(map(stays, last))} entries that stay, never missed in "
            f"{len(watch.lines()) - told} changes watched and {len(polls)} readings of the store")


live.test(overrun)
