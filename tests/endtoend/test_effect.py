"""`animpack effect`: what it prints for an effect, and for one that is wrong."""

import os
import signal
import subprocess
import time

import host

MAIN = """// lit
#include "shared/common.fxh"
#include <lighting.fxh>
shared float g_Time;
#if QUALITY > 1
shared float g_Fine;
#endif
SamplerState Linear : register(s0)
{
    Filter = FILTER;
    AddressU = CLAMP;
    BorderColor = float4(1, 0, 0, 1);
    MipLODBias = -0.5;
};
technique11 Lit
{
    pass P0 { SetVertexShader( CompileShader( vs_5_0, Main() ) ); }
}
"""
FILES = {
    "fx/main.fx": MAIN,
    "fx/shared/common.fxh": '#pragma once\n#include "deep/macros.fxh"\nshared float4x4 g_World;\n',
    "fx/shared/deep/macros.fxh": "#define FILTER ANISOTROPIC\r\n",
    "lib/lighting.fxh": '# include "near.fxh"\nfloat3 light;\n',  # not flattened, but found and told
    "lib/near.fxh": "shared float g_Near;\n",
}


class EffectTest(host.HostTest):
    def setUp(self):
        super().setUp()
        self.work = os.path.realpath(self.work)
        self.write(FILES)

    def write(self, files):
        for name, text in files.items():
            path = os.path.join(self.work, name)
            os.makedirs(os.path.dirname(path), exist_ok=True)
            with open(path, "w", encoding="utf-8", newline="") as f:
                f.write(text)

    def path(self, name):
        return os.path.join(self.work, name)

    def effect(self, name, *words, code=0, **options):
        result = host.execute("effect", self.path(name), "--json", *words, **options)
        self.assertEqual(result.code, code, result)
        self.assertEqual(len(result.lines), 1, result)
        line = result.lines[0]
        self.assertEqual(line["ok"], code == 0)
        self.assertEqual(line["error"] is None, code == 0)
        return line, result

    def test_everything_collected(self):
        line, result = self.effect("fx/main.fx", "-I", self.path("nothing"), "-I" + self.path("lib"), "-D", "QUALITY=2")
        common, macros = self.path("fx/shared/common.fxh"), self.path("fx/shared/deep/macros.fxh")
        light, near = self.path("lib/lighting.fxh"), self.path("lib/near.fxh")
        head = (
            '// lit\n#line 1 "%s"\n#pragma once\n#line 1 "%s"\n#define FILTER ANISOTROPIC\r\n#line 2 "%s"\n\n'
            'shared float4x4 g_World;\n#line 2 "sourcefile"\n\n#line 1 "%s"\n# include "near.fxh"\nfloat3 light;\n'
            '#line 3 "sourcefile"\n\n' % (common, macros, common, light)
        )
        self.assertEqual(line["flat"], head + MAIN[MAIN.index("shared float g_Time") :])
        self.assertEqual(line["references"], [p.lower() for p in (common, macros, light, near)])
        self.assertEqual(line["sharedParameters"], ["g_World", "g_Near", "g_Time", "g_Fine"])
        self.assertEqual(
            line["samplers"],
            [
                {
                    "name": "Linear",
                    "borderColor": 0xFF0000FF,
                    "flags": 0x01 | 0x04 | 0x20 | 0x80,
                    "addressU": 1,
                    "addressV": 0,
                    "addressW": 0,
                    "filter": 85,
                    "maxAnisotropy": 1,
                    "mipLODBias": -0.5,
                }
            ],
        )
        self.assertEqual(
            line["techniques"],
            [
                {
                    "name": "Lit",
                    "passes": [
                        {
                            "name": "P0",
                            "states": [{"name": "SetVertexShader", "value": "CompileShader( vs_5_0, Main() )"}],
                        }
                    ],
                }
            ],
        )

        text = host.execute("effect", self.path("fx/main.fx"), "-I", self.path("lib"))
        self.assertEqual(text.code, 0, text)
        for part in (light, "g_World", "borderColor 0xff0000ff", "technique", 'float3 light;\n#line 3 "sourcefile"'):
            self.assertIn(part, text.stdout)
        self.assertNotIn("g_Fine\n  ", text.stdout, "the macro was not set")

    def test_faults_name_their_place(self):
        self.addCleanup(os.chdir, os.getcwd())
        os.chdir(self.work)
        self.write(
            {
                "fx/bad.fxh": "float x;\nSamplerState s\n{\n    AddressU = Wrap;\n};\n",
                "fx/uses.fx": 'float y;\n#include "bad.fxh"\n',
                "fx/loop.fx": '#include "loop.fx"\n',
                "fx/odd.fx": "\n#include oops\n",
                "fx/stop.fx": "\n\n#error enough\n",
                "fx/skip.fx": '#if 0\n#include "bad.fxh"\n#endif\nSamplerState t { Filter = NO; };\n',
                "fx/open.fx": "\n#if 1\nfloat x;\n",
                "bad.fxh": "// the working directory comes second\n",
                "fx/near.fx": '#include "bad.fxh"\n# include "none.fxh"\n',
            }
        )
        for name, error in (
            ("uses", "%s:4: sampler 's': 'Wrap' is no address mode" % self.path("fx/bad.fxh")),
            ("odd", "%s:2: expected a name in quotes" % self.path("fx/odd.fx")),
            ("skip", "%s:4: sampler 't': 'NO' is no filter" % self.path("fx/skip.fx")),
            (
                "near",
                "%s:2: Could not find file 'none.fxh' while looking into following directories: "
                % self.path("fx/near.fx"),
            ),
            ("stop", "%s:3: #error enough" % self.path("fx/stop.fx")),
            ("open", "%s:2: unterminated #if" % self.path("fx/open.fx")),
            ("loop", "%s:1: '%s' stands inside 1024 includes" % ((self.path("fx/loop.fx"),) * 2)),
            ("main", "%s:3: Could not find file 'lighting.fxh'" % self.path("fx/main.fx")),
            ("none", "there is no such file"),
        ):
            line, result = self.effect("fx/%s.fx" % name, code=1)
            self.assertTrue(line["error"].startswith(error), line["error"])
            self.assertIn(": error: " + error, result.stderr)

    def test_wrong_usage_and_compilers(self):
        for words in ([], [self.path("fx/main.fx"), "--no-such"]):
            self.assertEqual(host.execute("effect", *words).code, 2)
        for compiler in ("no.such.compiler", self.path("fx/main.fx")):
            result = host.execute("effect", self.path("fx/main.fx"), "--compiler", compiler)
            self.assertEqual(result.code, 3, result)
            self.assertIn("--compiler" if "/" not in compiler else "loaded", result.stderr)
        result = host.execute("effect", self.path("fx/main.fx"), "-I", self.path("lib"), env={"PATH": "/nowhere"})
        self.assertEqual(result.code, 1)
        self.assertIn("'cpp' is not installed", result.stderr)

    def test_macros_that_explode_are_stopped(self):
        """Sixty-four doublings: the preprocessor meets its limits and goes, with its children."""
        bomb = "#define A0 x x\n" + "".join("#define A%d A%d A%d\n" % (n, n - 1, n - 1) for n in range(1, 64)) + "A63\n"
        self.write({"fx/bomb.fx": bomb})
        temp = self.path("temp")
        os.makedirs(temp)
        line, result = self.effect("fx/bomb.fx", code=1, env={"TMPDIR": temp})
        self.assertRegex(line["error"], "do macros multiply\\?|took too long")  # what a busy machine meets first
        running = subprocess.run(["ps", "-eo", "args"], capture_output=True, text=True, check=False).stdout
        self.assertNotIn(temp, running)

    def test_a_signal_leaves_nothing(self):
        temp = self.path("temp")
        os.makedirs(temp)
        self.write({"bin/cpp": "#!/bin/sh\nsleep 31.5 & wait\n", "plain.fx": "float a;\n"})
        os.chmod(self.path("bin/cpp"), 0o755)
        process = subprocess.Popen(
            [host.PROGRAM, "effect", self.path("plain.fx")],
            stdout=subprocess.DEVNULL,
            stderr=subprocess.DEVNULL,
            env={**os.environ, "TMPDIR": temp, "PATH": self.path("bin") + ":/usr/bin:/bin"},
        )

        def running():
            return subprocess.run(["pgrep", "-f", "sleep 31.5"], capture_output=True, check=False).stdout

        for _ in range(200):
            if running():
                break
            time.sleep(0.05)
        process.send_signal(signal.SIGINT)
        self.assertEqual(process.wait(20), 130)
        self.assertEqual((os.listdir(temp), running()), ([], b""))
