"""Projects outside the tree build effect compilers against the installed package and run them.

    run.py --build BUILD-FOLDER --cxx COMPILER [--flags FLAGS]

Installs the build into a temporary prefix, configures and builds tests/package/ and the example of docs/effects.md with
find_package(orvel), runs the first one's program, and drives both libraries with the installed animpack, when there is
one.
"""

import argparse
import json
import os
import re
import shutil
import subprocess
import sys
import tempfile

HERE = os.path.dirname(os.path.abspath(__file__))
PAGE = os.path.join(HERE, "..", "..", "docs", "effects.md")
FILES = {
    "main.fx": '#include "sub/outer.fxh" // first\n'
               "SamplerState s : register(s0) { Filter = ANISOTROPIC; };\n"
               "technique11 T { pass P0 { } pass P1 { } }\n",
    "sub/outer.fxh": "// outer\n#include <inner.fxh>\n",
    "sub/inner.fxh": "shared float4x4 g_World : register(c0); // shared float nothing;\n",
}


def run(*words, **more):
    print("$", " ".join(words), flush=True)
    return subprocess.run(words, check=True, **more)


def write(folder, files):
    for name, text in files.items():
        path = os.path.join(folder, name)
        os.makedirs(os.path.dirname(path), exist_ok=True)
        with open(path, "w", encoding="utf-8") as file:
            file.write(text)


def example():
    """The files that the page shows: each block stands behind its name."""
    with open(PAGE, encoding="utf-8") as file:
        text = file.read()
    return dict(re.findall(r"^`([\w.]+)`[^\n]*\n\n```\w+\n(.*?)^```", text, re.MULTILINE | re.DOTALL))


def main():
    arguments = argparse.ArgumentParser(description=__doc__, formatter_class=argparse.RawDescriptionHelpFormatter)
    arguments.add_argument("--build", required=True)
    arguments.add_argument("--cxx", required=True)
    arguments.add_argument("--flags", default="")
    options = arguments.parse_args()
    work = os.path.realpath(tempfile.mkdtemp(prefix="package-"))
    try:
        prefix, build, effects = (os.path.join(work, name) for name in ("prefix", "build", "fx"))
        run("cmake", "--install", options.build, "--prefix", prefix, stdout=subprocess.DEVNULL)
        source = os.path.join(work, "example")
        write(source, example())
        write(effects, FILES)
        for folder, name in ((HERE, "build"), (source, "examplebuild")):
            run("cmake", "-S", folder, "-B", os.path.join(work, name), "-DCMAKE_PREFIX_PATH=" + prefix,
                "-DCMAKE_CXX_COMPILER=" + options.cxx, "-DCMAKE_CXX_FLAGS=" + options.flags,
                "-DCMAKE_BUILD_TYPE=RelWithDebInfo")
            run("cmake", "--build", os.path.join(work, name))
        run(os.path.join(build, "outside"), effects)

        animpack = os.path.join(prefix, "bin", "animpack")
        if not os.path.exists(animpack):
            print("the package has no animpack: its part is not tried")
            return 0
        # The example leaves comments in.
        for compiler, shared in ((os.path.join(build, "liboutsidecompiler.so"), ["g_World"]),
                                 (os.path.join(work, "examplebuild", "libmycompiler.so"), ["g_World", "nothing"]),
                                 (None, ["g_World"])):
            words = [animpack, "effect", os.path.join(effects, "main.fx"), "--json"]
            words += ["--compiler", compiler] if compiler else []
            line = json.loads(run(*words, cwd=effects, capture_output=True, text=True).stdout)
            found = (line["ok"], line["sharedParameters"], [s["name"] for s in line["samplers"]],
                     [os.path.basename(r) for r in line["references"]],
                     [p["name"] for t in line["techniques"] for p in t["passes"]])
            expected = (True, shared, ["s"], ["outer.fxh", "inner.fxh"], ["P0", "P1"])
            if found != expected:
                print("FAILED:", compiler or "the package's own compiler", found, "instead of", expected)
                return 1
    finally:
        shutil.rmtree(work, ignore_errors=True)
    return 0


if __name__ == "__main__":
    sys.exit(main())
