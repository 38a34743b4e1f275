// SPDX-License-Identifier: MIT
// What a page does that is served while its scene is edited: it follows the pictures and has pixels probed.
const versions = new Map(), numbersOfPictures = new Map();  // by "FRAME/NAME"
const mistakes = {};          // by what found them: lines
const warnings = new Map();   // by frame: lines
let answers = new Map();      // by texture: what it answers at the chosen pixel
let asked = "";               // what they are the answers to
let tableOf = null;           // the picture beside which they stand
let pointedAt = null;         // a pixel of a picture
let isAsking = false, isToRefresh = false;
let stream = null;            // of what the viewer says

/// Null if there is no answer, or not yet.
async function ask([x, y]) {
  try {
    const response = await fetch(`probe?x=${x}&y=${y}&frame=${frame}`);
    return response.ok ? await response.json() : null;
  } catch {
    return null;  // the viewer has ended
  }
}
const textOf = numbers => numbers === undefined ? "" : vectorText([numbers].flat());

find("bars").previousElementSibling.before(find("pixel"), find("answers"), find("probe"));

// The chosen pixel: a table beside the picture, and numbers at the outputs in the network.

function rowOf({name, value, bounds, gradient, columns, offset, marks, notes}) {
  const faint = text => make("div", {className: "faint"}, text);
  const lines = [textOf(value)];
  if (bounds) lines.push(faint(`${textOf(bounds[0])} to ${textOf(bounds[1])}`), faint(`gradient ${textOf(gradient)}`));
  if (columns) lines.push(...columns.map(column => make("div", {}, textOf(column))), `offset ${textOf(offset)}`);
  lines.push(...marks.map(mark => make("div", {className: "warning"}, mark)), ...notes.map(note => faint(`(${note})`)));
  return make("tr", {}, make("td", {}, make("b", {}, name), ...lines));
}
function showAnswers() {
  tableOf = large;
  const own = large && answers.get(textureOf(large));
  const rows = [...answers.values()].sort((a, b) => (b === own) - (a === own));
  find("answers").replaceChildren(...rows.map(rowOf));
  if (pixel && answers.size === 0) find("answers").append(make("tr", {}, make("td", {className: "faint"}, "nothing is seen there")));
  const canvas = find("canvas");
  if (canvas.classList.contains("probed") !== (pixel !== null)) {  // boxes are higher with numbers
    canvas.classList.toggle("probed", pixel !== null);
    isLaidOut = false;
    if (view) layOut();
  }
  find("probed").hidden = pixel === null;
  find("probed").textContent = pixel && `Pixel ${pixel}`;
  live.writeNumbers();
}

live = {
  showReport,
  fileOf: ({name}) => `${name}.png?frame=${frame}&v=${versions.get(`${frame}/${name}`) ?? ""}`,
  numbersOf: ({name}) => numbersOfPictures.get(`${frame}/${name}`),
  writeNumbers() {
    for (const {outputs} of boxes.values()) {
      for (const {texture, number} of outputs) {
        const {value, columns, marks = []} = answers.get(texture) ?? {};
        number.textContent = columns ? "" : textOf(value);
        number.title = [number.textContent, ...marks].join("; ");
        number.classList.toggle("warning", marks.length > 0);
      }
    }
  },
  async probe() {
    const question = pixel ? [pixel, frame, scene.version].join() : "";
    if (question === asked) {
      if (large !== tableOf) showAnswers();
      return;
    }
    asked = question;
    const found = pixel && await ask(pixel);
    if (question !== asked) return;
    if (pixel && !found) {
      asked = null;
      if (stream?.readyState === EventSource.OPEN) setTimeout(live.probe, 1000);
      return;
    }
    answers = new Map((found?.textures ?? []).map(one => [one.name, one]));
    showAnswers();
  },
  /// Moves the chosen pixel, or forgets it.
  takeKey({key, target}) {
    if (pixel === null || target.matches("input, select")) return false;
    const step = {ArrowLeft: [-1, 0], ArrowRight: [1, 0], ArrowUp: [0, -1], ArrowDown: [0, 1]}[key];
    if (key === "Escape") {
      pixel = null;
    } else if (large && step) {
      pixel = [Math.min(Math.max(pixel[0] + step[0], 0), scene.width - 1), Math.min(Math.max(pixel[1] + step[1], 0), scene.height - 1)];
    } else {
      return false;
    }
    showPixel();
    return true;
  },
};

// What one points at.

function pixelAt(image, {clientX, clientY}) {
  const {left, top, width, height} = image.getBoundingClientRect();
  const scale = Math.min(width / scene.width, height / scene.height);
  const x = Math.floor((clientX - left - (width - scale * scene.width) / 2) / scale);
  const y = Math.floor((clientY - top - (height - scale * scene.height) / 2) / scale);
  return x >= 0 && y >= 0 && x < scene.width && y < scene.height ? [x, y] : null;
}
/// What a picture shows of an answer.
function shownOf(picture, {value, bounds, gradient, columns, offset}) {
  const show = picture.layer.slice(textureOf(picture).length + 1);
  return {lower: bounds?.[0], upper: bounds?.[1], gradient, column0: columns?.[0], column1: columns?.[1], column2: columns?.[2], offset}[show] ?? value;
}
async function showValue() {
  find("value").hidden = !pointedAt;
  if (isAsking) return;
  isAsking = true;
  try {
    for (let last = null; pointedAt && pointedAt !== last;) {
      last = pointedAt;
      const found = await ask(last.at);
      const answer = found?.textures?.find(({name}) => name === textureOf(last.picture));
      find("value").textContent = `${last.at}: ${answer ? textOf(shownOf(last.picture, answer)) : found ? "nothing is seen there" : "…"}`;
    }
  } finally {
    isAsking = false;
  }
}
function pointAt(event) {
  const image = event.target.closest?.("#large, main img, .thumbs img");
  const picture = image && pictures.find(({name}) => name === image.alt);
  const at = picture && pixelAt(image, event);
  pointedAt = at && {at, picture};
  Object.assign(find("value").style, {left: event.clientX + 14 + "px", top: event.clientY + 18 + "px"});
  showValue();
}
document.addEventListener("pointermove", pointAt);
document.addEventListener("pointerover", pointAt);  // what is under a resting pointer can change
document.documentElement.addEventListener("pointerleave", () => {
  pointedAt = null;
  showValue();
});

// What the viewer says.

function showReport() {
  const lines = Object.values(mistakes).flat(), warned = warnings.get(frame) ?? [];
  document.documentElement.classList.toggle("old", lines.length > 0);
  find("mistakes").replaceChildren(...lines.map(line => make("div", {}, line)));
  find("warnings").hidden = warned.length === 0 || lines.length > 0;
  find("warnings").firstChild.textContent = countText(warned.length, "warning");
  find("warnings").lastChild.replaceChildren(...warned.map(line => make("div", {}, line)));
  find("report").hidden = lines.length === 0 && warned.length === 0;
}
function refreshSoon() {
  if (isToRefresh) return;
  isToRefresh = true;
  requestAnimationFrame(() => {
    isToRefresh = false;
    refresh();
  });
}
function report(of, lines) {
  mistakes[of] = lines;
  showReport();
}
const uses = {
  scene(data) {
    if (data.version === scene.version) return;
    warnings.clear();
    show(data);
    showReport();
    // Unasked the viewer renders the frames anew that were asked for last.
    if (pictures.length > 0) fetch(live.fileOf(pictures[0])).catch(() => {});
    pointedAt = pointedAt && {...pointedAt};
    showValue();
  },
  picture({frame: number, name, version, numbers}) {
    versions.set(`${number}/${name}`, version);
    if (numbers) numbersOfPictures.set(`${number}/${name}`, numbers);
    if (number === frame) refreshSoon();
  },
  errors: ({of, lines}) => report(of, lines),
  done({frame: number, warnings: lines}) {
    warnings.set(number, lines);
    showReport();
  },
};
/// A browser tries again by itself, but not where it was refused.
/// It has six connections for all pages, so the hidden ones give theirs up.
function listen() {
  stream?.close();
  if (document.hidden) return;
  stream = new EventSource("events");
  for (const [event, use] of Object.entries(uses)) stream.addEventListener(event, ({data}) => use(JSON.parse(data)));
  stream.onopen = () => report("stream", []);
  stream.onerror = () => {
    const isRefused = stream.readyState === EventSource.CLOSED;
    if (isRefused) setTimeout(listen, 3000);
    report("stream", [isRefused ? "Waiting: as many pages are open as the viewer serves." : "The viewer has ended, or cannot be reached."]);
  };
}
document.addEventListener("visibilitychange", listen);
listen();
