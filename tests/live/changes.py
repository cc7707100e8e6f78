#!/usr/bin/env python3
"""Live test `changes`: what the agent shows after each step of changes.txt."""

import os

import live


def script():
    """The script: ("agent", options) and (title, commands), in their order."""
    steps = []
    with open(f"{live.HERE}/changes.txt", encoding="utf-8") as file:
        for line in file.read().splitlines():
            if line.startswith("= "):
                steps.append((line[2:], []))
            elif line.split(" ")[0] == "agent":
                steps.append(("agent", line.split()[1:]))
            elif line and not line.startswith("#"):
                steps[-1][1].append(line)
    return steps


def agent_of(options):
    """An agent with these options and an empty store."""
    named = dict(zip(options[::2], options[1::2]))
    agent = live.Agent(namespace=named.get("--netns"), bridge=named.get("--bridge"))
    for name in os.listdir(live.WORK):
        os.unlink(f"{live.WORK}/{name}")
    agent.start()
    agent.wait_ready()
    return agent


def changes():
    agent, worst, steps, commands, most = None, 0.0, 0, 0, 0
    for title, step in script():
        try:
            if title == "agent":
                if agent:
                    agent.stop()
                agent = agent_of(step)
            else:
                live.change(step)
                steps += 1
                commands += len(step)
            most = max(most, len(agent.settled()))
            worst = max(worst, agent.worst)
        except live.Failure as failure:
            failure.documents["step"] = "\n".join([title, *step])
            raise
    agent.stop()
    return (f"{steps} steps with {commands} commands, at most {most} entries; each shown within "
            f"{worst:.2f} s")


live.test(changes)
