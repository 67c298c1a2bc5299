// The floor's grid: lines of one width at any distance, which fade out around the character.

const VERTEX = `
varying vec2 vAt;
void main() {
  vec4 world = modelMatrix * vec4(position, 1.0);
  vAt = world.xz;
  gl_Position = projectionMatrix * viewMatrix * world;
}`;
const FRAGMENT = `
varying vec2 vAt;
uniform vec2 middle;
uniform float cell;
uniform float reach;
uniform vec3 colour;
float lines(float apart) {
  vec2 at = vAt / apart;
  vec2 near = abs(fract(at - 0.5) - 0.5) / fwidth(at);
  return 1.0 - min(min(near.x, near.y), 1.0);
}
void main() {
  float fade = 1.0 - smoothstep(0.25, 1.0, distance(vAt, middle) / reach);
  float strength = max(0.5 * lines(cell), lines(10.0 * cell));
  gl_FragColor = vec4(colour, 0.8 * strength * fade);
}`;

export class FloorGrid {
  constructor() {
    this.material = new THREE.ShaderMaterial({
      vertexShader: VERTEX,
      fragmentShader: FRAGMENT,
      uniforms: {
        middle: { value: new THREE.Vector2() },
        cell: { value: 1 },
        reach: { value: 1 },
        colour: { value: new THREE.Color() },
      },
      transparent: true,
      depthWrite: false,
      side: THREE.DoubleSide,
      extensions: { derivatives: true },
    });
    this.mesh = new THREE.Mesh(new THREE.PlaneBufferGeometry(2, 2), this.material);
    this.mesh.rotation.x = -Math.PI / 2;
    this.mesh.renderOrder = -1;
  }

  /** Lines so far apart, seen so far, in a colour of the style sheet's kind. */
  set(cell, reach, colour) {
    const { uniforms } = this.material;
    uniforms.cell.value = cell;
    uniforms.reach.value = reach;
    uniforms.colour.value.set(colour);
    this.mesh.scale.set(reach, reach, 1);
  }

  place(x, z) {
    this.mesh.position.set(x, 0, z);
    this.material.uniforms.middle.value.set(x, z);
  }
}
