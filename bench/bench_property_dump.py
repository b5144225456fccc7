"""Writing a property dump from a script against Python's xml.etree, same run.

Ours: an AddPropertyDump adds 10^4 values (ints, doubles and texts in turn, eight to a
group opened with push and closed with pop), then the host writes the dump to a file.
Peer: xml.etree.ElementTree builds the same tree (the same element and attribute names,
the same value texts, made with the same "%d" / "%f" formatting) and writes it to a file.
Prints ms per dump and the ratio ours / peer (lower is better)."""
import os
import tempfile
import time
import xml.etree.ElementTree as ET

import qorapi
from qorapi import host

N = 10_000
GROUP = 8


def values():
    """The names and values of the dump, in order."""
    out = []
    for i in range(N):
        k = i % 3
        out.append((f"value {i}", i if k == 0 else i * 0.5 if k == 1 else f"text <{i}> & more"))
    return out


def ours(items, path):
    d = qorapi.AddPropertyDump("bench")
    d.reset()
    for start in range(0, len(items), GROUP):
        d.push(f"group {start // GROUP}")
        for name, value in items[start:start + GROUP]:
            d.add(name, value)
        d.pop()
    host.write_property_dump(path)


def peer(items, path):
    root = ET.Element("propertyDump")
    provider = ET.SubElement(root, "item", name="Custom", value="", type="")
    branch = ET.SubElement(provider, "item", name="bench", value="", type="")
    for start in range(0, len(items), GROUP):
        group = ET.SubElement(branch, "item", name=f"group {start // GROUP}", value="", type="")
        for name, value in items[start:start + GROUP]:
            if isinstance(value, int):
                text, kind = "%d" % value, "int"
            elif isinstance(value, float):
                text, kind = ("%e" if abs(value) > 1e10 else "%f") % value, "double"
            else:
                text, kind = value, "string"
            ET.SubElement(group, "item", name=name, value=text, type=kind)
    ET.indent(root, "  ")
    ET.ElementTree(root).write(path, encoding="UTF-8", xml_declaration=True)


def best(fn, items, path, repeat=7):
    times = []
    for _ in range(repeat):
        t = time.perf_counter()
        fn(items, path)
        times.append(time.perf_counter() - t)
    return min(times) * 1e3


def main():
    items = values()
    with tempfile.TemporaryDirectory() as tmp:
        a, b = os.path.join(tmp, "ours.xml"), os.path.join(tmp, "peer.xml")
        t_ours, t_peer = best(ours, items, a), best(peer, items, b)
        sizes = os.path.getsize(a), os.path.getsize(b)
    print(f"bench_property_dump: {N} values (int, double, text; push/pop every {GROUP}) "
          "written to a file")
    print(f"  AddPropertyDump + host write {t_ours:8.2f} ms ({sizes[0]} bytes)   "
          f"xml.etree build + write {t_peer:8.2f} ms ({sizes[1]} bytes)   "
          f"ratio {t_ours / t_peer:5.2f} (goal <= 0.5)")


if __name__ == "__main__":
    main()
