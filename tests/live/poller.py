#!/usr/bin/env python3
"""poller.py STORE WANTED: reads the store again and again, each time in one transaction, until its
standard input ends. WANTED is a JSON file of what must be there in every reading: a list of [VLAN,
subinterface, [member...]]. Prints JSON lines:

    {"missed": [VLAN, subinterface], "moment": ...}  it, or one of its members, was not there
    {"gone": [VLAN, subinterface], "moment": ...}    an entry that was there in the reading before is not
    {"moments": [...]}                               at the end: those of all readings

A moment is the time after a reading, in seconds."""

import json
import select
import sqlite3
import sys
import time

PAUSE = 0.004  # seconds: the guest has one processor


def open_store(path):
    return sqlite3.connect(f"file:{path}?mode=ro", uri=True, isolation_level=None)


def read(store):
    """(VLAN, subinterface) -> entry, as in a directory document."""
    store.execute("BEGIN")
    found = {(vlan, intf): {"intfId": intf, "tagOnEgress": bool(tag),
                            "allowedTrafficDirection": direction, "lagPhyIntf": []}
             for vlan, intf, tag, direction in store.execute(
                 "SELECT vlan, intf, tagOnEgress, direction FROM entries")}
    for vlan, intf, member in store.execute("SELECT vlan, intf, member FROM members"):
        found[vlan, intf]["lagPhyIntf"].append(member)
    store.execute("COMMIT")
    return found


def main():
    store = open_store(sys.argv[1])
    with open(sys.argv[2], encoding="utf-8") as file:
        wanted = {(vlan, intf): set(members) for vlan, intf, members in json.load(file)}
    before, moments = {}, []

    def tell(what, place):
        print(json.dumps({what: place, "moment": moments[-1]}))

    while not select.select([sys.stdin], [], [], PAUSE)[0]:
        found = read(store)
        moments.append(time.time())
        for place, members in wanted.items():
            if place not in found or not members <= set(found[place]["lagPhyIntf"]):
                tell("missed", place)
        for place in before.keys() - found.keys():
            tell("gone", place)
        before = found
    print(json.dumps({"moments": moments}))


if __name__ == "__main__":
    main()
