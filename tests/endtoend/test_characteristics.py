"""The thirteen numbers of a take's motion, worked out again from the evaluated scene."""

import math
import os
import struct

import host
from rotation import conj, mul, scale, sub, turn

NAMES = (
    "AverageLinearVelocity",
    "LinearStartVelocity",
    "LinearEndVelocity",
    "TotalLinearDelta",
    "TotalLinearXDelta",
    "TotalLinearYDelta",
    "AverageAngularVelocity",
    "TotalAngularDelta",
    "StartDirectionAngle",
    "AimingYaw",
    "AimingPitch",
    "HeadYaw",
    "HeadPitch",
)


def single(value):
    return struct.unpack("f", struct.pack("f", value))[0]


def rotation_angle(q):
    """In radians, its sign by the side of the axis."""
    angle = 2 * math.acos(max(-1.0, min(1.0, q[3])))
    return -angle if q[2] < 0 else angle


def shortest(a, b):
    d = math.fmod(b - a, 2 * math.pi)
    return d - 2 * math.pi if d > math.pi else d + 2 * math.pi if d < -math.pi else d


def characteristics(times, positions, rotations):
    """Of a trajectory in seconds, metres and quaternions."""
    out = dict.fromkeys(NAMES, 0.0)
    count, last = len(times), len(times) - 1
    span = max(1, int(single(count * single(0.05))))
    angles = [rotation_angle(q) for q in rotations]
    steps = [math.dist(a, b) for a, b in zip(positions, positions[1:])]
    out["TotalLinearDelta"] = sum(steps)
    out["TotalAngularDelta"] = sum(shortest(a, b) for a, b in zip(angles, angles[1:]))
    duration = times[last] - times[0]
    if duration > 0:
        out["AverageLinearVelocity"] = out["TotalLinearDelta"] / duration
        out["AverageAngularVelocity"] = out["TotalAngularDelta"] / duration
        out["LinearStartVelocity"] = sum(steps[:span]) / (times[span] - times[0])
        out["LinearEndVelocity"] = sum(d for k, d in enumerate(steps, 1) if k >= count - span) / (
            times[last] - times[last - span]
        )
    x, y, _ = sub(positions[last], positions[0])
    out["TotalLinearXDelta"], out["TotalLinearYDelta"] = x, y
    if max(abs(x), abs(y)) > 2**-23:
        qx, qy, qz, qw = rotations[0]
        facing = (-(2 * qx * qy + 2 * qw * qz), -(1 - 2 * qx * qx - 2 * qz * qz))
        way = math.atan2(y, x) - math.atan2(facing[1], facing[0])
        # Positive where the way lies to the left of the front.
        out["StartDirectionAngle"] = math.atan2(math.sin(way), math.cos(way))
    return out


class CharacteristicsTest(host.HostTest):
    def trajectory(self, name, node, first, last, fps):
        frames = range(first, last + 1)
        times = [single(single(f) / single(fps)) for f in frames]
        words = ",".join(repr(t) for t in [0.0, *times])
        shown = self.run_host("scene", os.path.join(host.TREE, name), "--at", words, platform=None).lines[0]
        index = [n["name"] for n in shown["nodes"]].index(node)
        start, *rest = [moment["nodes"][index]["local"] for moment in shown["at"]]
        back = conj(start["r"])
        positions = [scale(turn(back, sub(m["t"], start["t"])), 0.01) for m in rest]
        return times, positions, [mul(back, m["r"]) for m in rest]

    def test_against_the_scene(self):
        scanned = {e["id"]: e["properties"] for line in self.run_host("scan").lines for e in line["subResources"]}
        nonzero = set()
        compared = 0
        for stem in ("moves", "moves_yup", "rider", "drift", "lever"):
            expected = host.load(os.path.join(host.EXPECTED, stem + ".json"))
            name = expected["file"].split("assembly/", 1)[1]
            for take in expected["takes"]:
                got = scanned["assembly:/%s?/%s.take" % (name, take["name"])]
                want = characteristics(
                    *self.trajectory(name, take["ground"], take["startFrame"], take["endFrame"], expected["fps"])
                )
                for key in NAMES:
                    self.assertAlmostEqual(
                        float(got["ACD_" + key]),
                        want[key],
                        delta=2e-4 * max(1, abs(want[key])),
                        msg="%s %s %s" % (name, take["name"], key),
                    )
                    nonzero |= {key} if abs(want[key]) > 0.01 else set()
                compared += 1
        self.assertGreaterEqual(compared, 10)
        self.assertEqual(nonzero, set(NAMES[:9]), "each of the numbers that are computed was put to the test")
