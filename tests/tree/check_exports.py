"""The module exports what its version script names, and nothing else; no library beside it is looked for in an empty
folder of its path, which would be the current one.

    check_exports.py MODULE VERSION-SCRIPT
"""

import os
import re
import subprocess
import sys


def empty_paths(folder):
    """Libraries whose search path has an empty entry."""
    found = []
    for name in sorted(os.listdir(folder)):
        dynamic = subprocess.run(
            ["readelf", "-d", os.path.join(folder, name)], capture_output=True, text=True, check=False
        ).stdout
        path = re.search(r"\((?:RUNPATH|RPATH)\).*\[(.*)\]", dynamic)
        if path and "" in path.group(1).split(":"):
            found.append(f"empty entry in the search path of {name}: {path.group(1)}")
    return found


def main(module, script):
    text = re.sub(r"/\*.*?\*/", "", open(script, encoding="utf-8").read(), flags=re.S)
    wanted = text.split("global:")[1].split("local:")[0]
    patterns = [p.strip().strip('"') for p in re.findall(r'("[^"]+"|[A-Za-z_][\w*:~]*)\s*;', wanted)]
    symbols = subprocess.run(["nm", "-DC", "--defined-only", module], capture_output=True, text=True, check=True).stdout
    names = [line.split(" ", 2)[2] for line in symbols.splitlines() if line.strip()]
    # The sanitizers' and the coverage runtime's own names are not ours to keep in.
    names = [
        n for n in names if not re.match(r"_*(asan|ubsan|sancov|sanitizer|odr_asan|start___sancov|stop___sancov)", n)
    ]

    def matches(name, pattern):
        return re.fullmatch(re.escape(pattern).replace(r"\*", ".*"), name) is not None

    extra = [n for n in names if not any(matches(n, p) for p in patterns)]
    missing = [p for p in patterns if not any(matches(n, p) for n in names)]
    for name in extra:
        print(f"exported and not named: {name}")
    for pattern in missing:
        print(f"named and not exported: {pattern}")
    paths = empty_paths(os.path.dirname(module))
    print("\n".join([*paths, f"{len(names)} exports"]))
    return 1 if extra or missing or paths or not names else 0


if __name__ == "__main__":
    sys.exit(main(*sys.argv[1:]))
