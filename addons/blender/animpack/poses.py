"""Transforms: of nodes without their scale, of packed bones, and of armatures that follow them."""

from __future__ import annotations

from typing import Any, Sequence

from mathutils import Matrix, Quaternion, Vector

UP = Vector((0.0, 0.0, 1.0))


def rigid(matrix: Matrix, scale: float = 1.0) -> Matrix:
    """A matrix without its scale and shear, its place multiplied by `scale`."""
    where, turn, _ = matrix.decompose()
    return Matrix.Translation(where * scale) @ turn.to_matrix().to_4x4()


def upright(rest: Matrix) -> Matrix:
    """What a ground at `rest` is turned by, on its own side, to stand upright: identity for one that does.

    A game moves grounds about Z. An armature that an importer has laid on its back, or a root bone that points up, is
    exported unturned at rest, and what it does is kept: its bones stand where they stood.
    """
    turn = rest.to_quaternion()
    if (turn @ UP).angle(UP, 0.0) < 1e-3:
        return Matrix.Identity(4)
    return turn.inverted().to_matrix().to_4x4()


def packed_transform(transform: dict[str, Sequence[float]]) -> Matrix:
    """A transform as animpack prints it: in metres, its rotation of the runtime's sense, which is the conjugate."""
    x, y, z, w = transform.get("r") or transform["rotation"]
    where = transform.get("t") or transform["translation"]
    return Matrix.Translation(where[:3]) @ Quaternion((w, -x, -y, -z)).to_matrix().to_4x4()


def origin_matrix(values: Sequence[float]) -> Matrix:
    """The mark TakeSequenceOrigin, row vectors in centimetres, as a matrix in metres."""
    matrix = Matrix([values[at : at + 4] for at in (0, 4, 8, 12)]).transposed()
    return rigid(matrix, 0.01)


def basis_of(rest: Matrix, pose: Matrix, parent_rest: Matrix, parent_pose: Matrix) -> Matrix:
    """The matrix_basis of a bone that shall stand at `pose`; all four in the space of its armature."""
    return (parent_pose @ parent_rest.inverted() @ rest).inverted() @ pose


class Keys:
    """Keys of places and turns, gathered frame by frame, turns without a jump between frames."""

    def __init__(self) -> None:
        self.frames: list[float] = []
        self.places: list[Vector] = []
        self.turns: list[Quaternion] = []

    def add(self, frame: float, matrix: Matrix) -> None:
        """The matrix of a frame, which has no scale."""
        where, turn, _ = matrix.decompose()
        if self.turns and self.turns[-1].dot(turn) < 0:
            turn.negate()
        self.frames.append(frame)
        self.places.append(where)
        self.turns.append(turn)

    def curves(self) -> list[tuple[str, int, list[float]]]:
        """Property, index and values of each curve."""
        result: list[tuple[str, int, list[float]]] = []
        for index in range(3):
            result.append(("location", index, [where[index] for where in self.places]))
        for index in range(4):
            result.append(("rotation_quaternion", index, [turn[index] for turn in self.turns]))
        return result


def write_keys(curves: Any, prefix: str, group: str, keys: Keys) -> None:
    """Puts keys into an action's curves, linear between frames."""
    for name, index, values in keys.curves():
        write_curve(curves, prefix + name, index, group, keys.frames, values)


def write_curve(curves: Any, path: str, index: int, group: str, frames: list[float], values: list[float]) -> None:
    """One curve, linear between frames."""
    curve = new_curve(curves, path, index, group)
    curve.keyframe_points.add(len(frames))
    flat = [number for pair in zip(frames, values) for number in pair]
    curve.keyframe_points.foreach_set("co", flat)
    curve.keyframe_points.foreach_set("interpolation", [1] * len(frames))  # LINEAR
    curve.update()


def new_curve(curves: Any, path: str, index: int, group: str) -> Any:
    """A new curve; later versions of Blender call the group otherwise."""
    try:
        return curves.new(path, index=index, action_group=group)
    except TypeError:
        return curves.new(path, index=index, group_name=group)
