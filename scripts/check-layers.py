#!/usr/bin/env python3
"""Checks the include graph of the item's folders.

Each folder of item/ that holds code is one unit (one static library, or part of one). The check fails
when units include each other in a circle, or when the data side (what pimcore links) includes a header
of the user interface side. Prints the graph with --graph.
"""
import os
import re
import sys

ROOT = os.path.join(os.path.dirname(os.path.abspath(__file__)), "..", "item")
INCLUDE = re.compile(r'^\s*#\s*include\s+"([^"]+)"', re.M)
UI_SIDE = ("today", "phone", "presentation", "lists", "plugins")
SHARED = ("resources",)  # identifiers of resources: headers only, included from both sides


def unit_of(path):
    folder = os.path.dirname(path)
    return folder if folder else "."


def graph():
    edges = {}
    for dirpath, _, files in os.walk(ROOT):
        for name in files:
            if not name.endswith((".h", ".cpp")):
                continue
            full = os.path.join(dirpath, name)
            rel = os.path.relpath(full, ROOT).replace(os.sep, "/")
            unit = unit_of(rel)
            with open(full, encoding="utf-8", errors="replace") as f:
                text = f.read()
            for target in INCLUDE.findall(text):
                if not os.path.exists(os.path.join(ROOT, target)):
                    continue
                other = unit_of(target)
                if other != unit:
                    edges.setdefault(unit, {}).setdefault(other, []).append(rel + " -> " + target)
    return edges


def cycles(edges):
    found, state, stack = [], {}, []

    def visit(node):
        state[node] = 1
        stack.append(node)
        for nxt in sorted(edges.get(node, {})):
            if state.get(nxt) == 1:
                found.append(stack[stack.index(nxt):] + [nxt])
            elif nxt not in state:
                visit(nxt)
        stack.pop()
        state[node] = 2

    for node in sorted(edges):
        if node not in state:
            visit(node)
    return found


def main():
    edges = graph()
    if "--graph" in sys.argv:
        for unit in sorted(edges):
            print(unit + " -> " + ", ".join(sorted(edges[unit])))
    problems = []
    for circle in cycles(edges):
        first = edges[circle[0]][circle[1]][0]
        problems.append("folders include each other: " + " -> ".join(circle) + " (" + first + ")")
    for unit, targets in edges.items():
        top = unit.split("/")[0]
        if top in UI_SIDE or top in SHARED or unit == ".":
            continue
        for other, why in targets.items():
            if other.split("/")[0] in UI_SIDE:
                problems.append("the data side includes the item's user interface: " + why[0])
    for p in problems:
        print("check-layers: " + p)
    if problems:
        return 1
    print("check-layers: %d folders, no circles, the data side stays below the user interface" % len(edges))
    return 0


if __name__ == "__main__":
    sys.exit(main())
