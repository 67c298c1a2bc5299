"""Small rotation arithmetic in double precision.

Quaternions are tuples x, y, z, w and turn column vectors by q v conj(q); a parent stands left of its child.
Euler angles are degrees; an order such as "XYZ" names the axes in the order in which they act.
"""

import math

IDENTITY = (0.0, 0.0, 0.0, 1.0)
AXES = {"X": (1.0, 0.0, 0.0), "Y": (0.0, 1.0, 0.0), "Z": (0.0, 0.0, 1.0)}


def mul(a, b):
    ax, ay, az, aw = a
    bx, by, bz, bw = b
    return (
        aw * bx + ax * bw + ay * bz - az * by,
        aw * by - ax * bz + ay * bw + az * bx,
        aw * bz + ax * by - ay * bx + az * bw,
        aw * bw - ax * bx - ay * by - az * bz,
    )


def conj(q):
    return (-q[0], -q[1], -q[2], q[3])


def unit(v):
    length = math.sqrt(sum(c * c for c in v))
    return tuple(c / length for c in v)


def turn(q, v):
    """The vector v turned by the unit quaternion q."""
    return mul(mul(q, (v[0], v[1], v[2], 0.0)), conj(q))[:3]


def add(a, b):
    return tuple(x + y for x, y in zip(a, b))


def sub(a, b):
    return tuple(x - y for x, y in zip(a, b))


def scale(v, s):
    return tuple(c * s for c in v)


def about(axis, degrees):
    """Quaternion of a turn about an axis, given as a letter or a vector."""
    x, y, z = AXES[axis] if isinstance(axis, str) else unit(axis)
    half = math.radians(degrees) / 2
    s = math.sin(half)
    return (x * s, y * s, z * s, math.cos(half))


def from_euler(angles, order="XYZ"):
    q = IDENTITY
    for letter in order:
        q = mul(about(letter, angles["XYZ".index(letter)]), q)
    return q


def to_euler(q, order="XYZ", near=None):
    """Euler angles of a unit quaternion; of the equal triples the one nearest to `near`."""
    i, j, k = ("XYZ".index(letter) for letter in order)
    sign = 1.0 if (j - i) % 3 == 1 else -1.0
    # Columns of the matrix are the turned axes; the orders differ by which axes stand where.
    columns = [turn(q, AXES[letter]) for letter in "XYZ"]

    def m(row, column):
        return columns[column][row]

    middle = math.asin(max(-1.0, min(1.0, -sign * m(k, i))))
    if abs(m(k, i)) < 1.0 - 1e-13:
        first = math.atan2(sign * m(k, j), m(k, k))
        last = math.atan2(sign * m(j, i), m(i, i))
    else:
        first = math.atan2(-sign * m(j, k), m(j, j))
        last = 0.0
    out = [0.0, 0.0, 0.0]
    out[i], out[j], out[k] = math.degrees(first), math.degrees(middle), math.degrees(last)
    if near is None:
        return tuple(out)
    other = list(out)
    other[i], other[j], other[k] = out[i] + 180.0, 180.0 - out[j], out[k] + 180.0
    best = None
    for triple in (out, other):
        triple = tuple(a - 360.0 * round((a - n) / 360.0) for a, n in zip(triple, near))
        apart = sum(abs(a - n) for a, n in zip(triple, near))
        if best is None or apart < best[0] - 1e-9:
            best = (apart, triple)
    return best[1]


def from_columns(x, y, z):
    """Quaternion of the rotation whose turned axes are x, y, z (orthonormal, right-handed)."""
    trace = x[0] + y[1] + z[2]
    if trace > 0:
        s = math.sqrt(trace + 1.0) * 2
        return unit(((y[2] - z[1]) / s, (z[0] - x[2]) / s, (x[1] - y[0]) / s, s / 4))
    if x[0] >= y[1] and x[0] >= z[2]:
        s = math.sqrt(1.0 + x[0] - y[1] - z[2]) * 2
        return unit((s / 4, (y[0] + x[1]) / s, (z[0] + x[2]) / s, (y[2] - z[1]) / s))
    if y[1] >= z[2]:
        s = math.sqrt(1.0 + y[1] - x[0] - z[2]) * 2
        return unit(((y[0] + x[1]) / s, s / 4, (z[1] + y[2]) / s, (z[0] - x[2]) / s))
    s = math.sqrt(1.0 + z[2] - x[0] - y[1]) * 2
    return unit(((z[0] + x[2]) / s, (z[1] + y[2]) / s, s / 4, (x[1] - y[0]) / s))


def cross(a, b):
    return (a[1] * b[2] - a[2] * b[1], a[2] * b[0] - a[0] * b[2], a[0] * b[1] - a[1] * b[0])


def look(aim, hint):
    """Rotation that lays X along `aim` and Z as near to `hint` as can be."""
    x = unit(aim)
    y = unit(cross(hint, x))
    return from_columns(x, y, cross(x, y))
