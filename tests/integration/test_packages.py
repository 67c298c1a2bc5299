"""The Debian packages install on a system that has nothing else, and work there; their manuals load."""

import os
import shutil
import subprocess
import tempfile
import unittest
from pathlib import Path

import integration
import trees

SMOKE = """
set -eu
export DEBIAN_FRONTEND=noninteractive
apt-get update -qq
apt-get install -y -qq --no-install-recommends /debs/*.deb >/dev/null
animpack --version
animpack build -q --assets /assembly --out /packed || [ $? = 1 ]
test -s /usr/share/doc/animpack/marks.schema.json
test -s /usr/include/orvel/base/misc/zstring.h
dpkg --verify animpack liborvel-animation liborvel-animation-dev
apt-get remove -y -qq animpack liborvel-animation liborvel-animation-dev >/dev/null
! test -e /usr/bin/animpack
"""
COMPLETE = (
    'source "$1"; COMP_WORDS=(animpack build --dry); COMP_CWORD=2; _animpack; '
    'echo "${COMPREPLY[@]}"; complete -p animpack'
)


class PackagesTest(unittest.TestCase):
    @classmethod
    def setUpClass(cls):
        cls.work = Path(tempfile.mkdtemp(prefix="packages-", dir=integration.TOP / "build"))
        cls.addClassCleanup(shutil.rmtree, cls.work, True)
        cls.debs = cls.work / "debs"
        integration.run("cpack", "-G", "DEB", "-B", cls.debs, cwd=integration.ANIMPACK.parent.parent)
        for package in cls.debs.glob("*.deb"):
            integration.run("dpkg-deb", "-x", package, cls.work / "files")

    def test_three_without_faults(self):
        packages = sorted(self.debs.glob("*.deb"), key=lambda p: p.name.split("_"))
        self.assertEqual(
            [p.name.split("_")[0] for p in packages], ["animpack", "liborvel-animation", "liborvel-animation-dev"]
        )
        words = [integration.program("lintian"), "--allow-root", "--fail-on", "error", "--tag-display-limit", "0"]
        done = subprocess.run([*words, *packages], capture_output=True, text=True, timeout=120)
        self.assertEqual(done.returncode, 0, done.stdout)

    def test_manuals_load(self):
        share = self.work / "files" / "usr" / "share"
        page = share / "man" / "man1" / "animpack.1.gz"
        env = {**os.environ, "LC_ALL": "C.UTF-8", "MANWIDTH": "80"}
        told = integration.run("man", "--warnings", "-l", page, env=env)
        self.assertEqual(told.stderr, "")
        for text in ("animpack build", "--dry-run", "--format ninja|slurm", "assembly:/characters/hero/moves.fbx"):
            self.assertIn(text, told.stdout)
        self.assertIn("animpack - pack", integration.run("lexgrog", page).stdout)

        bash = share / "bash-completion" / "completions" / "animpack"
        told = integration.run("bash", "-c", COMPLETE, "bash", bash).stdout.splitlines()
        self.assertEqual(told, ["--dry-run", "complete -o filenames -F _animpack animpack"])
        zsh = share / "zsh" / "vendor-completions"
        said = integration.run(
            "zsh",
            "-fc",
            f"fpath=('{zsh}' $fpath); autoload -Uz compinit; "
            f"compinit -u -d '{self.work}/dump'; echo $_comps[animpack]; autoload +X _animpack",
        )
        self.assertEqual((said.stdout.strip(), said.stderr), ("_animpack", ""))
        fish = share / "fish" / "vendor_completions.d" / "animpack.fish"
        said = integration.run("fish", "-N", "-c", f"source '{fish}'; complete -C 'animpack plan --form'")
        self.assertTrue(said.stdout.startswith("--format\t"), said)

    def test_bare_system(self):
        root = self.work / "root"
        mirror = os.environ.get("MIRROR", "http://deb.debian.org/debian")
        integration.run("debootstrap", "--variant=minbase", "bookworm", root, mirror, seconds=240)
        shutil.copytree(self.debs, root / "debs", ignore=shutil.ignore_patterns("_CPack*"))
        shutil.copytree(trees.SAMPLES, root / "assembly")
        shutil.copy("/etc/resolv.conf", root / "etc")
        env = {"PATH": "/usr/sbin:/usr/bin:/sbin:/bin", "HOME": "/root", "LANG": "C.UTF-8"}
        integration.run("chroot", root, "sh", "-c", SMOKE, env=env)
        integration.animpack("build", "-q", "--assets", trees.SAMPLES, "--out", self.work / "built", status=1)
        self.assertEqual(trees.packed(root / "packed"), trees.packed(self.work / "built"))
