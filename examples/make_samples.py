#!/usr/bin/env python3
"""Writes the bundled sample networks of examples/ (run from anywhere).

campus.json        routers, switches, servers and hosts; links name their ports
campus.levels      levels for the campus network (core, distribution, access, edge)
org-tree.graphml   an organisation chart
services.edgelist  a service dependency graph with link lengths
mesh.json          a generated 16 x 16 mesh with a few long links
"""
import json
import os
import random

HERE = os.path.dirname(os.path.abspath(__file__))


def campus():
    nodes, links = [], []

    def node(i, label):
        nodes.append({"id": i, "label": label})

    def link(a, pa, b, pb):
        links.append({"source": a, "target": b, "sourcePort": pa, "targetPort": pb})

    node("core1", "core-1")
    node("core2", "core-2")
    link("core1", "xe-0/0/0", "core2", "xe-0/0/0")
    node("fw", "firewall")
    link("fw", "inside", "core1", "xe-0/0/9")
    link("fw", "inside2", "core2", "xe-0/0/9")
    node("isp", "ISP uplink")
    link("isp", "wan", "fw", "outside")
    levels = {0: ["isp"], 1: ["fw"], 2: ["core1", "core2"], 3: [], 4: [], 5: []}
    for b, building in enumerate(["lib", "eng", "sci"], start=1):
        dist = f"dist-{building}"
        node(dist, f"{building}-dist")
        link("core1", f"xe-0/0/{b}", dist, "te1/1")
        link("core2", f"xe-0/0/{b}", dist, "te1/2")
        levels[3].append(dist)
        for floor in range(1, 3):
            acc = f"acc-{building}-{floor}"
            node(acc, f"{building}-floor{floor}")
            link(dist, f"gi1/0/{floor}", acc, "gi1/0/48")
            levels[4].append(acc)
            for h in range(1, 3 if building != "eng" else 4):
                host = f"{building}-{floor}-pc{h}"
                node(host, host)
                link(acc, f"gi1/0/{h}", host, "eth0")
                levels[5].append(host)
    # The data-centre rack hangs off both cores.
    node("dc-sw", "dc-switch")
    link("core1", "xe-0/0/8", "dc-sw", "et-1")
    link("core2", "xe-0/0/8", "dc-sw", "et-2")
    levels[3].append("dc-sw")
    for s in ["mail", "web", "db", "backup"]:
        node(s, s)
        link("dc-sw", f"et-{len(links)}", s, "eno1")
        levels[4].append(s)
    # A separate lab segment: a second component.
    node("lab-rtr", "lab-router")
    for k in range(1, 4):
        node(f"lab-{k}", f"lab-{k}")
        link("lab-rtr", f"ge-{k}", f"lab-{k}", "eth0")
    with open(os.path.join(HERE, "campus.json"), "w") as f:
        json.dump({"directed": False, "multigraph": False, "graph": {"name": "campus"},
                   "nodes": nodes, "links": links}, f, indent=1)
        f.write("\n")
    with open(os.path.join(HERE, "campus.levels"), "w") as f:
        f.write("# Levels for campus.json: LEVEL: NODE NODE ...\n")
        for key in sorted(levels):
            f.write(f"{key}: {' '.join(levels[key])}\n")


def org_tree():
    people = [("ceo", "Chief Executive", None)]
    for vp in ["Engineering", "Sales", "Finance", "Operations"]:
        vid = "vp-" + vp.lower()
        people.append((vid, "VP " + vp, "ceo"))
        teams = {"Engineering": ["Platform", "Mobile", "QA"], "Sales": ["EMEA", "Americas"],
                 "Finance": ["Accounting"], "Operations": ["Facilities", "IT"]}[vp]
        for team in teams:
            tid = "mgr-" + team.lower()
            people.append((tid, team + " lead", vid))
            for k in range(1, 4 if vp == "Engineering" else 3):
                people.append((f"{team.lower()}-{k}", f"{team} {k}", tid))
    out = ['<?xml version="1.0" encoding="UTF-8"?>',
           '<graphml xmlns="http://graphml.graphdrawing.org/xmlns">',
           '  <key id="d0" for="node" attr.name="label" attr.type="string"/>',
           '  <graph id="org" edgedefault="directed">']
    for pid, label, _ in people:
        out.append(f'    <node id="{pid}"><data key="d0">{label}</data></node>')
    for k, (pid, _, boss) in enumerate(people):
        if boss:
            out.append(f'    <edge id="r{k}" source="{boss}" target="{pid}"/>')
    out += ["  </graph>", "</graphml>", ""]
    with open(os.path.join(HERE, "org-tree.graphml"), "w") as f:
        f.write("\n".join(out))


def services():
    deps = [
        ("web-frontend", "api-gateway", 60), ("mobile-bff", "api-gateway", 60),
        ("api-gateway", "auth", 40), ("api-gateway", "catalog", 40),
        ("api-gateway", "orders", 40), ("api-gateway", "search", 40),
        ("orders", "payments", 50), ("orders", "inventory", 50), ("orders", "catalog", 50),
        ("orders", "notifications", 70), ("payments", "fraud-check", 50),
        ("search", "catalog", 40), ("search", "elasticsearch", 30),
        ("catalog", "postgres-catalog", 30), ("orders", "postgres-orders", 30),
        ("inventory", "postgres-orders", 30), ("auth", "redis", 30),
        ("catalog", "redis", 30), ("notifications", "kafka", 40),
        ("orders", "kafka", 40), ("payments", "kafka", 40), ("analytics", "kafka", 40),
        ("analytics", "warehouse", 30),
    ]
    lines = ["# Service dependencies: CALLER CALLEE LENGTH", ""]
    lines += [f"{a} {b} {n}" for a, b, n in deps]
    lines += ["", "# A service nothing calls yet", "legacy-batch", ""]
    with open(os.path.join(HERE, "services.edgelist"), "w") as f:
        f.write("\n".join(lines))


def mesh(size=16, rng_state=7):
    rng = random.Random(rng_state)
    nodes = [{"id": r * size + c + 1} for r in range(size) for c in range(size)]
    links = []
    for r in range(size):
        for c in range(size):
            i = r * size + c + 1
            if c + 1 < size and rng.random() < 0.9:
                links.append({"source": i, "target": i + 1})
            if r + 1 < size and rng.random() < 0.9:
                links.append({"source": i, "target": i + size})
    for _ in range(size):
        a, b = rng.randrange(1, size * size + 1), rng.randrange(1, size * size + 1)
        if a != b:
            links.append({"source": a, "target": b, "length": 120})
    with open(os.path.join(HERE, "mesh.json"), "w") as f:
        json.dump({"nodes": nodes, "links": links}, f, indent=None, separators=(",", ":"))
        f.write("\n")


if __name__ == "__main__":
    campus()
    org_tree()
    services()
    mesh()
