// Vectors and quaternions in plain arrays: x, y, z and x, y, z, w. A quaternion turns a vector by q v conj(q).

/** Turns (x, y, z) by the quaternion at `q[o]` and writes it to `out[n]`. */
export function rotate(q, o, x, y, z, out, n) {
  const qx = q[o];
  const qy = q[o + 1];
  const qz = q[o + 2];
  const qw = q[o + 3];
  const cx = qy * z - qz * y;
  const cy = qz * x - qx * z;
  const cz = qx * y - qy * x;
  out[n] = x + 2 * (qw * cx + qy * cz - qz * cy);
  out[n + 1] = y + 2 * (qw * cy + qz * cx - qx * cz);
  out[n + 2] = z + 2 * (qw * cz + qx * cy - qy * cx);
}

/** Writes the product of the quaternions at `a[i]` and `b[j]` to `out[n]`; the second acts first. */
export function multiply(a, i, b, j, out, n) {
  const ax = a[i];
  const ay = a[i + 1];
  const az = a[i + 2];
  const aw = a[i + 3];
  const bx = b[j];
  const by = b[j + 1];
  const bz = b[j + 2];
  const bw = b[j + 3];
  out[n] = aw * bx + ax * bw + ay * bz - az * by;
  out[n + 1] = aw * by - ax * bz + ay * bw + az * bx;
  out[n + 2] = aw * bz + ax * by - ay * bx + az * bw;
  out[n + 3] = aw * bw - ax * bx - ay * by - az * bz;
}
