"""Projects outside the tree build effect compilers and a pipeline host against the installed package and run them.

    run.py --build BUILD-FOLDER --cxx COMPILER [--flags FLAGS]

Installs the build into a temporary prefix, configures and builds tests/package/ and the example of docs/effects.md with
find_package(orvel), runs the first one's programs, and drives both compilers with the installed animpack, when there is
one; what the host packs has the bytes that animpack gives.
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
MOVES = "assembly:/characters/scout/moves.fbx?/"
RIG = "assembly:/characters/scout/scout.rig.fbx?/scout.rig"
SET = """<AnimationDatabase><Character name="scout" rig="%s">
<Animation name="walk" take="%swalk.take"/><Animation name="wave" take="%swave.take"/>
</Character></AnimationDatabase>""" % (
    RIG,
    MOVES,
    MOVES,
)
PACKS = (
    (MOVES + "run.take", "animation"),
    (RIG, "animationrig"),
    ("assembly:/set.xml?/scout.chartype", "animationdatabase"),
)
PLATFORMS = ("pc", "ps3")


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


def foreign_packs(program, prefix, work):
    """What the foreign host packed, by identifier; it packs everything twice."""
    assets = os.path.join(work, "assets")
    shutil.copytree(os.path.join(HERE, "..", "..", "samples", "assembly"), assets)
    write(assets, {"set.xml": SET})
    module = os.path.join(prefix, "lib", "libresource.animation.so")
    words = [word for pack in PACKS for word in pack]
    said = subprocess.run(
        [program, module, assets, os.path.join(work, "foreign"), *PLATFORMS, "--", *words],
        capture_output=True,
        text=True,
        check=False,
    )
    print(said.stdout, said.stderr)
    lines = said.stdout.splitlines()
    if said.returncode != 0 or len(lines) != 2 * len(set(lines)):
        raise SystemExit("FAILED: the foreign host")
    return assets, dict(line.split("\t") for line in lines)


def compare_packs(animpack, assets, packed, work):
    found = {}
    for platform in PLATFORMS:
        for source, extension in PACKS:
            out = run(
                animpack,
                "pack",
                source,
                extension,
                "--assets",
                assets,
                "--out",
                os.path.join(work, "packed"),
                "-t:" + platform,
                "--json",
                capture_output=True,
                text=True,
            ).stdout
            found.update((job["id"], job["file"]) for job in map(json.loads, out.splitlines()))
    wrong = [
        i
        for i in {**found, **packed}
        if i not in found or i not in packed or open(found[i], "rb").read() != open(packed[i], "rb").read()
    ]
    if wrong or len(found) != len(PLATFORMS) * 5:
        raise SystemExit("FAILED: animpack and the foreign host differ: %s" % wrong)


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
            run(
                "cmake",
                "-G",
                "Ninja",
                "-S",
                folder,
                "-B",
                os.path.join(work, name),
                "-DCMAKE_PREFIX_PATH=" + prefix,
                "-DINCLUDE=" + os.path.join(prefix, "include", "orvel"),
                "-DCMAKE_CXX_COMPILER=" + options.cxx,
                "-DCMAKE_CXX_FLAGS=" + options.flags,
                "-DCMAKE_BUILD_TYPE=RelWithDebInfo",
            )
            run("cmake", "--build", os.path.join(work, name))
        run(os.path.join(build, "outside"), effects)
        assets, packed = foreign_packs(os.path.join(build, "foreignhost"), prefix, work)

        animpack = os.path.join(prefix, "bin", "animpack")
        if not os.path.exists(animpack):
            print("the package has no animpack: its part is not tried")
            return 0
        compare_packs(animpack, assets, packed, work)
        # The example leaves comments in.
        for compiler, shared in (
            (os.path.join(build, "liboutsidecompiler.so"), ["g_World"]),
            (os.path.join(work, "examplebuild", "libmycompiler.so"), ["g_World", "nothing"]),
            (None, ["g_World"]),
        ):
            words = [animpack, "effect", os.path.join(effects, "main.fx"), "--json"]
            words += ["--compiler", compiler] if compiler else []
            line = json.loads(run(*words, cwd=effects, capture_output=True, text=True).stdout)
            found = (
                line["ok"],
                line["sharedParameters"],
                [s["name"] for s in line["samplers"]],
                [os.path.basename(r) for r in line["references"]],
                [p["name"] for t in line["techniques"] for p in t["passes"]],
            )
            expected = (True, shared, ["s"], ["outer.fxh", "inner.fxh"], ["P0", "P1"])
            if found != expected:
                print("FAILED:", compiler or "the package's own compiler", found, "instead of", expected)
                return 1
    finally:
        shutil.rmtree(work, ignore_errors=True)
    return 0


if __name__ == "__main__":
    sys.exit(main())
