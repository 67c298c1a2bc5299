"""Every #include stays within what the including folder's target links: the build checks links, this checks includes.

    check_layers.py ROOT

Targets, their folders and their links are read from the z_library and z_program calls of the CMake files. A folder may
include its own headers and those of every target in the closure of its links. Headers of the operating system are for
os/ alone, and the table of layers in ARCHITECTURE.md has every target with its layer.
"""

import os
import re
import sys

TREES = ("os", "base", "fbx", "system", "resource", "host")
SYSTEM_HEADER = re.compile(
    r"^\s*#\s*include\s+<((?:sys|linux|net|netinet|arpa)/[^>]*|unistd\.h|fcntl\.h|c?signal(?:\.h)?|dlfcn\.h|pthread\.h|"
    r"poll\.h|semaphore\.h|termios\.h|spawn\.h|dirent\.h|link\.h|pwd\.h|glob\.h|ftw\.h|sched\.h)>",
    re.M,
)


def read_targets(root):
    """Name -> (folder, links), from all CMake files below the library trees."""
    targets = {}
    for tree in TREES:
        for folder, _, files in os.walk(os.path.join(root, tree)):
            if "CMakeLists.txt" not in files:
                continue
            text = re.sub(r"#[^\n]*", "", open(os.path.join(folder, "CMakeLists.txt"), encoding="utf-8").read())
            for call in re.findall(r"z_(?:library|program)\(([^)]*)\)", text):
                words = call.split()
                links = []
                keyword = None
                for word in words[1:]:
                    if re.fullmatch(r"[A-Z]+", word):
                        keyword = word
                    elif keyword in ("LINKS", "WHOLE"):
                        links.append(word)
                layer = words[words.index("LAYER") + 1]
                targets.setdefault(os.path.relpath(folder, root), []).append((words[0], links, layer))
    return targets


def table_faults(root, layers):
    """What the table of layers in ARCHITECTURE.md says of the targets, and does not."""
    text = open(os.path.join(root, "ARCHITECTURE.md"), encoding="utf-8").read()
    told = {name: layer for layer, name in re.findall(r"^\| (\d+) \| `([^`]+)` \|", text, re.M)}
    return [
        f"ARCHITECTURE.md: {name} is in layer {layers.get(name, '-')}, the table says {told.get(name, '-')}"
        for name in sorted(layers.keys() | told.keys())
        if layers.get(name) != told.get(name)
    ]


def main(root):
    by_folder = read_targets(root)
    links = {name: deps for found in by_folder.values() for name, deps, _ in found}
    home = {name: folder for folder, found in by_folder.items() for name, *_ in found}

    def closure(names):
        seen, pending = set(), list(names)
        while pending:
            name = pending.pop()
            if name not in seen:
                seen.add(name)
                pending += links.get(name, [])
        return seen

    def folder_of(path):
        """The nearest folder above a file that declares a target."""
        folder = os.path.dirname(path)
        while folder and folder not in by_folder:
            folder = os.path.dirname(folder)
        return folder

    faults = table_faults(root, {name: layer for found in by_folder.values() for name, _, layer in found})
    checked = 0
    for tree in TREES:
        for folder, _, files in os.walk(os.path.join(root, tree)):
            for name in files:
                if not name.endswith((".h", ".cpp")):
                    continue
                path = os.path.relpath(os.path.join(folder, name), root)
                own = folder_of(path)
                allowed = {home[t] for t in closure(t for t, *_ in by_folder.get(own, []))} | {own}
                text = open(os.path.join(root, path), encoding="utf-8").read()
                if tree != "os":
                    faults += [f"{path}: <{header}> is for os/ alone" for header in SYSTEM_HEADER.findall(text)]
                for include in re.findall(r'^\s*#\s*include\s+"([^"]+)"', text, re.M):
                    checked += 1
                    if not os.path.exists(os.path.join(root, include)):
                        faults.append(f"{path}: {include} does not stand below the top of the tree")
                    elif folder_of(include) not in allowed:
                        faults.append(f"{path}: may not include {include}")
    for fault in faults:
        print(fault)
    print(f"{checked} includes read, {len(faults)} faults")
    return 1 if faults or checked < 100 else 0


if __name__ == "__main__":
    sys.exit(main(sys.argv[1]))
