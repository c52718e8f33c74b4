// What the graphics processor makes of the vertices: runs in the page before its own script.

export function installCapture() {
  const gl2 = WebGL2RenderingContext.prototype;
  const { linkProgram, drawElements } = gl2;
  const capturing = new WeakSet();

  gl2.linkProgram = function (program) {
    const shaders = this.getAttachedShaders(program).map((shader) => this.getShaderSource(shader));
    if (shaders.some((text) => text.includes('#define STANDARD'))) {
      this.transformFeedbackVaryings(program, ['vViewPosition'], this.SEPARATE_ATTRIBS);
      capturing.add(program);
    }
    linkProgram.call(this, program);
  };

  // Drawn once more as points in the order of the vertices, which is the order they are read back in.
  gl2.drawElements = function (...args) {
    drawElements.apply(this, args);
    const program = this.getParameter(this.CURRENT_PROGRAM);
    if (window.captured === undefined || !capturing.has(program)) {
      return;
    }
    const at = this.getAttribLocation(program, 'position');
    const read = (name) => this.getVertexAttrib(at, this[name]);
    this.bindBuffer(this.ARRAY_BUFFER, read('VERTEX_ATTRIB_ARRAY_BUFFER_BINDING'));
    const size = this.getBufferParameter(this.ARRAY_BUFFER, this.BUFFER_SIZE);
    const component = { [this.FLOAT]: 4, [this.SHORT]: 2, [this.UNSIGNED_SHORT]: 2, [this.BYTE]: 1,
      [this.UNSIGNED_BYTE]: 1 }[read('VERTEX_ATTRIB_ARRAY_TYPE')];
    const stride = read('VERTEX_ATTRIB_ARRAY_STRIDE') || component * read('VERTEX_ATTRIB_ARRAY_SIZE');
    const count = Math.floor(size / stride);

    const buffer = this.createBuffer();
    this.bindBuffer(this.TRANSFORM_FEEDBACK_BUFFER, buffer);
    this.bufferData(this.TRANSFORM_FEEDBACK_BUFFER, 12 * count, this.STREAM_READ);
    this.bindBufferBase(this.TRANSFORM_FEEDBACK_BUFFER, 0, buffer);
    this.enable(this.RASTERIZER_DISCARD);
    this.beginTransformFeedback(this.POINTS);
    this.drawArrays(this.POINTS, 0, count);
    this.endTransformFeedback();
    this.disable(this.RASTERIZER_DISCARD);
    const made = new Float32Array(3 * count);
    this.getBufferSubData(this.TRANSFORM_FEEDBACK_BUFFER, 0, made);
    this.bindBufferBase(this.TRANSFORM_FEEDBACK_BUFFER, 0, null);
    this.deleteBuffer(buffer);
    window.captured.push({ count, error: this.getError(), view: made });
  };
}

// Of each drawn mesh its vertices in metres, three numbers each.
export function captureFrame() {
  const viewer = window.marrowViewer;
  window.captured = [];
  viewer.draw();
  const captured = window.captured;
  window.captured = undefined;
  const m = viewer.camera.matrixWorld.elements;
  return captured.map(({ count, error, view }) => {
    const positions = [];
    for (let i = 0; i < view.length; i += 3) {
      // The shader has the direction to the camera, so the place is its opposite.
      const [x, y, z] = [-view[i], -view[i + 1], -view[i + 2]];
      for (let row = 0; row < 3; ++row) {
        positions.push(m[row] * x + m[row + 4] * y + m[row + 8] * z + m[row + 12]);
      }
    }
    return { count, error, positions };
  });
}
