// SPDX-License-Identifier: MIT
const find = id => document.getElementById(id);
const dialog = find("dialog");
const tiles = new Map();      // by picture name: the elements in the list
const knownFrames = {};       // by frame: the numbers of each picture, or what is wrong with the frame
let scene = null;             // what is shown, set by `show`
let pictures = [], shown = [];
let frame = null, frameCount = 1, timer = 0;
let view = null;              // "network", or "" for the list
let chosen = "";              // "node" or "node.output" in the network
let large = null;             // the picture in the dialog
let pixel = null;             // [x, y] in it
let live = null;              // what follows a scene that is edited, if the page is served so

function make(tag, properties, ...children) {
  const element = Object.assign(document.createElement(tag), properties);
  element.append(...children);
  return element;
}
const countText = (count, what) => `${count} ${what}${count === 1 ? "" : "s"}`;
const suffix = number => scene.digits ? "." + String(number).padStart(scene.digits, "0") : "";
const numbersOf = picture => live ? live.numbersOf(picture) : knownFrames[frame]?.numbers?.[pictures.indexOf(picture)];
/// Shows a picture of the frame; until the frame's numbers are loaded the former one stays.
function showIn(image, picture) {
  const file = live ? live.fileOf(picture) : picture.name + suffix(frame) + ".png";
  if (!live && !knownFrames[frame]?.numbers) {
    if (knownFrames[frame]) image.removeAttribute("src");
  } else if (image.getAttribute("src") !== file) {  // or else it would be loaded anew
    image.src = file;
  }
}
/// Plain or with an exponent, whichever is shorter, as `probe` writes it. A number may come as text, since JSON has no
/// infinity.
function numberText(number) {
  if (number === null) return "–";
  if (!isFinite(number)) return number.replace("inf", "∞").replace("nan", "NaN").replace("-", "−");
  const rounded = Number(Number(number).toPrecision(5)), plain = String(rounded);
  const scientific = rounded.toExponential().replace(/[+-](?=\d$)/, "$&0");
  return (plain.includes("e") || plain.length > scientific.length ? scientific : plain).replaceAll("-", "−");
}
const vectorText = numbers => numbers.length === 1 ? numberText(numbers[0]) : `(${numbers.map(numberText).join(", ")})`;
const textureOf = picture => picture.node + (picture.output && "." + picture.output);
const signOf = (kind, more = "") => make("i", {className: `sign ${kind} ${more}`, role: "img", ariaLabel: kind});

function warningsOf(picture) {
  const {nan = 0, plusInfinity = 0, minusInfinity = 0, outsideBounds = 0} = numbersOf(picture) ?? {};
  return [[nan, "NaN"], [plusInfinity, "+infinity"], [minusInfinity, "−infinity"],
          [picture.boundsEnclose ? outsideBounds : 0, "outside bounds"]]
    .filter(([count]) => count > 0).map(([count, what]) => count + " " + what).join(", ");
}

// The list.

function makeTile(picture) {
  const image = make("img", {loading: "lazy", alt: picture.name});
  const text = make("div", {className: "faint"}), warnings = make("div", {className: "warning"});
  const link = make("a", {href: "#" + picture.name}, image,
                    make("div", {className: "text"}, make("b", {}, picture.name), text, warnings));
  return {link, image, text, warnings};
}
function drawList() {
  const former = new Map(tiles);
  tiles.clear();
  for (const picture of pictures) {
    const tile = former.get(picture.name) ?? makeTile(picture);
    Object.assign(tile.image, {width: scene.width, height: scene.height}).style.height = "auto";
    tile.text.textContent = picture.caption || picture.layer;
    tiles.set(picture.name, tile);
  }
  const active = document.activeElement;
  document.querySelector("main").replaceChildren(...Array.from(tiles.values(), tile => tile.link));
  if (active !== document.activeElement) active.focus({preventScroll: true});
}

/// Hides what the search does not find in the list, and lets it fade in the network.
function narrow() {
  const words = find("search").value.toLowerCase().split(/\s+/);
  const node = find("node").value, flawed = find("flawed").checked;
  const fits = texts => words.every(word => texts.join(" ").toLowerCase().includes(word));
  shown = pictures.filter(picture =>
    fits([picture.name, picture.caption, picture.layer, picture.plugin]) &&
    (node === "" || picture.node === node) && (!flawed || warningsOf(picture) !== ""));
  const names = new Set(shown.map(picture => picture.name));
  for (const [name, {link}] of tiles) link.hidden = !names.has(name);
  const pictured = new Set(shown.map(picture => picture.node));
  const like = scene.nodes.filter(({name, plugin}) =>
    pictured.has(name) || (!flawed && (node === "" || name === node) && fits([name, plugin])));
  fadeAllBut(new Set(like.map(({name}) => name)));

  const [count, all, what] = view ? [like.length, scene.nodes.length, "node"] : [shown.length, pictures.length, "picture"];
  find("count").textContent = (count === all ? "" : `${count} of `) + countText(all, what);
  find("nothing").textContent = all === 0 ? `There is no ${what}.` : `No ${what} is like that.`;
  find("nothing").hidden = count > 0 || (view !== "" && all > 0);
}

// One picture, large.

// The codes of evenly spaced linear values, from black to white, by the formula of sRGB.
const codes = Array.from({length: 65}, (_, i) => 255 * Math.max(1.055 * (i / 64) ** (1 / 2.4) - 0.055, 0));

function barOf(channel, color, picture, number) {
  const bar = make("div", {className: "bar"});
  const colors = make("div", {className: "colors"});
  colors.style.background = `linear-gradient(to right, ${codes.map(code => `rgb(${color.map(part => part * code)})`)})`;
  const {low, high} = picture;
  bar.append(colors, make("div", {className: "ends faint"}, make("span", {}, numberText(low)), channel, make("span", {}, numberText(high))));
  if (number) bar.append(make("div", {}, `from ${numberText(number.min)} to ${numberText(number.max)}`));
  return bar;
}

function fillDialog() {
  const {name, caption, layer, plugin, output, kind, channels, boundsEnclose, lower, upper, coding, low, high} = large;
  const numbers = numbersOf(large);
  showIn(find("large"), large);
  find("large").alt = name;
  find("name").textContent = name;
  find("caption").textContent = caption;
  find("from").textContent = `${layer}, ${kind} of ${plugin}`;
  find("help").textContent = scene.plugins[plugin]?.outputs.find(one => one.name === output)?.help ?? "";
  const facts = [["Kind", signOf(kind), kind],
                 ["Declared bounds", lower ? `${vectorText(lower)} to ${vectorText(upper)}` : "none"],
                 ["Black and white", `${numberText(low)} and ${numberText(high)}`], ["Codes of the PNG", coding]];
  find("facts").replaceChildren(...facts.flatMap(([what, ...fact]) => [make("dt", {}, what), make("dd", {}, ...fact)]));
  find("toNode").href = addressOf(textureOf(large));
  const colors = channels.length === 1 ? [[1, 1, 1]] : [[1, 0, 0], [0, 1, 0], [0, 0, 1]];
  find("bars").replaceChildren(...colors.map((color, i) => barOf(channels.length === 1 ? "" : channels[i].toLowerCase(), color, large, numbers?.channels[i])));
  if (channels.length === 4) {
    const {min, max} = numbers?.channels[3] ?? {min: null, max: null};
    find("bars").append(make("div", {className: "faint"}, `alpha, not shown: from ${numberText(min)} to ${numberText(max)}`));
  }
  const lines = (color, ...angles) => angles.map(angle => `repeating-linear-gradient(${angle}deg, ${color} 0 1px, transparent 1px 6px), `).join("");
  const row = (background, what, count = "", isWarning = false) => {
    const swatch = make("div", {className: background && "swatch"});
    swatch.style.background = background;
    return make("tr", {className: isWarning && count > 0 ? "warning" : ""}, make("td", {}, swatch), make("td", {}, what), make("td", {}, count));
  };
  find("special").replaceChildren(
    row("#f0f", "NaN", numbers?.nan, true),
    row(lines("#000", 45, 135) + "#fff", "+infinity", numbers?.plusInfinity, true),
    row(lines("#fff", 45, 135) + "#000", "−infinity", numbers?.minusInfinity, true),
    row("", "outside declared bounds", numbers?.outsideBounds ?? "–", boundsEnclose),
    row(lines("#000", 135) + "#fff", "clipped, beyond " + numberText(high), numbers?.aboveWhite),
    row(lines("#fff", 135) + "#000", "clipped, beyond " + numberText(low), numbers?.belowBlack),
    row("#3f3f3f", "no object"));
  showPixel();
}

// A pixel of the large picture, and the command that tells more of it.

/// How many pixels of the window one of the picture takes, and where the picture begins.
function placeOfLarge() {
  const {offsetLeft, offsetTop, clientWidth, clientHeight} = find("large");
  const scale = Math.min(clientWidth / scene.width, clientHeight / scene.height);
  return {scale, left: offsetLeft + (clientWidth - scale * scene.width) / 2,
          top: offsetTop + (clientHeight - scale * scene.height) / 2};
}
function showPixel() {
  live?.probe();
  find("mark").hidden = find("probe").hidden = pixel === null;
  find("pixel").textContent = pixel ? `Pixel ${pixel}` : "Click on a pixel to probe it";
  if (pixel === null) return;
  const {scale, left, top} = placeOfLarge();
  find("mark").style.left = left + (pixel[0] + 0.5) * scale + "px";
  find("mark").style.top = top + (pixel[1] + 0.5) * scale + "px";
  const words = ["samplerinfo-preview", "probe", scene.file, "--pixel", pixel, "--size", `${scene.width}x${scene.height}`,
                 ...scene.options, ...scene.digits ? ["--frame", frame] : [], textureOf(large)];
  const quoted = word => /^[\w.,=\/-]+$/.test(word) ? word : `'${String(word).replaceAll("'", "'\\''")}'`;
  find("probe").firstChild.textContent = words.map(quoted).join(" ");
}
function choosePixel(event) {
  const {scale, left, top} = placeOfLarge();
  const x = Math.floor((event.offsetX + find("large").offsetLeft - left) / scale);
  const y = Math.floor((event.offsetY + find("large").offsetTop - top) / scale);
  if (x < 0 || y < 0 || x >= scene.width || y >= scene.height) return;
  pixel = [x, y];
  showPixel();
}

// Where one is: #PICTURE in the list, #/network/NODE.OUTPUT/PICTURE in the network.

const addressOf = (...parts) => ["#", "network", ...parts].map((part, i) => i === 0 ? part : encodeURIComponent(part)).join("/");

function writeAddress() {
  const parts = large ? [chosen, large.name] : chosen ? [chosen] : [];
  history.replaceState(null, "", view ? addressOf(...parts) : "#" + (large?.name ?? ""));
}
/// A part that is no code stays as it is.
function decoded(part) {
  try {
    return decodeURIComponent(part);
  } catch {
    return part;
  }
}
function followAddress() {
  const parts = location.hash.slice(1).split("/").map(decoded);
  const isNetwork = parts[0] === "" && parts[1] === "network";
  const picture = tiles.has(isNetwork ? parts[3] : parts[0]) && pictures.find(({name}) => name === (isNetwork ? parts[3] : parts[0]));
  if (!picture && large) hideDialog();
  go(isNetwork ? "network" : "");
  if (isNetwork) choose(parts[2] ?? "");
  if (picture) enlarge(picture);
}
function go(to) {
  if (view === to) return;
  view = to;
  document.body.className = view;
  const [list, network] = find("views").children;
  for (const [link, isShown] of [[list, !view], [network, Boolean(view)]]) {
    if (isShown) link.setAttribute("aria-current", "page");
    else link.removeAttribute("aria-current");
  }
  if (view) layOut();
  narrow();
}

function enlarge(picture) {
  large = picture;
  if (!live) pixel = null;
  if (view) chosen = textureOf(picture);
  writeAddress();
  if (dialog.hidden) {
    find("framesHere").append(find("frames"));
    dialog.hidden = false;
    find("name").focus();
  }
  fillDialog();
}
function enlargeNext(step) {
  const index = shown.indexOf(large);
  if (shown.length > 0) enlarge(shown[(Math.max(index, 0) + step + shown.length) % shown.length]);
}
function hideDialog() {
  dialog.hidden = true;
  document.querySelector("header").append(find("frames"));
  large = null;
}
function closeDialog() {
  const {name} = large;
  hideDialog();
  writeAddress();
  if (view) choose(chosen);
  (view ? thumbs.get(name).parentElement : tiles.get(name).link).focus();
}

// Frames: each brings its numbers in a file of its own, as they may be rendered one by one.

function refresh() {
  for (const picture of pictures) {
    const {image, warnings} = tiles.get(picture.name);
    showIn(image, picture);
    warnings.textContent = warningsOf(picture);
  }
  refreshNetwork();
  find("frame").value = frame;
  const {fault = ""} = knownFrames[frame] ?? {};
  find("frames").hidden = !scene.digits && fault === "";
  find("frameNumber").textContent = `frame ${frame}${fault && " " + fault}`;
  narrow();
  if (large) fillDialog();
  else live?.probe();
}
function showFrame(number) {
  frame = number;
  refresh();
  live?.showReport();
  if (!live && !knownFrames[number]?.numbers) load(number);  // again, as it may have come
}
async function load(number) {
  const script = make("script", {src: "index" + suffix(number) + ".js"});
  const isHere = await new Promise(done => {
    Object.assign(script, {onload: () => done(true), onerror: () => done(false)});
    document.head.append(script);
  });
  script.remove();
  if (!knownFrames[number]?.numbers) knownFrames[number] = {fault: isHere ? "is of another render" : "is not here"};
  if (number === frame) refresh();
}
function takeNumbers(render, number, numbers) {
  if (render === scene.render) knownFrames[number] = {numbers};
}
/// As far as the page knows.
function isThere(number) {
  return knownFrames[number] ? "numbers" in knownFrames[number] : scene.frames?.some(([first, last]) => first <= number && number <= last) ?? true;
}
function goToFrame(step, fits = () => true) {
  let next = frame;
  do {
    next = scene.first + (next - scene.first + step + frameCount) % frameCount;
  } while (next !== frame && !fits(next));
  if (next !== frame) showFrame(next);
}
function play() {
  const framesPerSecond = 12;
  clearInterval(timer);
  timer = timer ? 0 : setInterval(goToFrame, 1000 / framesPerSecond, 1, isThere);
  find("play").textContent = timer ? "Stop" : "Play";
}

// What the user does.

function focusTile(key) {
  const links = shown.map(picture => tiles.get(picture.name).link);
  const index = links.indexOf(document.activeElement);
  const columns = links.filter(link => link.offsetTop === links[0].offsetTop).length;
  const step = {ArrowLeft: -1, ArrowRight: 1, ArrowUp: -columns, ArrowDown: columns}[key];
  links[index < 0 ? 0 : index + step]?.focus();
}
document.addEventListener("keydown", event => {
  const {key, target} = event;
  if (event.ctrlKey || event.altKey || event.metaKey) return;
  const focusNext = view ? focusBox : focusTile;
  if (live?.takeKey(event)) {
    // is done
  } else if (large && key === "Escape") {
    closeDialog();
  } else if (target === find("search") && key === "Escape") {
    target.value = "";
    target.blur();
    narrow();
  } else if (target === find("search") && (key === "ArrowDown" || (view && key === "Enter"))) {
    focusNext(key);
  } else if (target.matches("input, select") && key !== "/") {
    return;
  } else if (key === "/" && !large && target !== find("search")) {
    find("search").select();
  } else if (key.startsWith("Arrow") && !large) {
    focusNext(key);
  } else if (key === "ArrowLeft" || key === "ArrowRight") {
    enlargeNext(key === "ArrowLeft" ? -1 : 1);
  } else if (view && !large && key === "Escape") {
    choose("");
    writeAddress();
  } else if (view && !large && (key === "+" || key === "-")) {
    zoomTo(zoom * (key === "+" ? kZoomStep : 1 / kZoomStep));
  } else if (scene.digits && (key === "," || key === ".")) {
    goToFrame(key === "," ? -1 : 1);
  } else if (scene.digits && key === " " && !target.matches("button")) {
    play();
  } else {
    return;
  }
  event.preventDefault();
});
for (const id of ["search", "node", "flawed"]) find(id).addEventListener("input", narrow);
find("frame").addEventListener("input", () => showFrame(Number(find("frame").value)));
find("play").addEventListener("click", play);
find("before").addEventListener("click", () => enlargeNext(-1));
find("after").addEventListener("click", () => enlargeNext(1));
find("close").addEventListener("click", closeDialog);
find("large").addEventListener("load", ({target}) => {
  target.style.imageRendering = target.naturalWidth < target.clientWidth ? "pixelated" : "";
});
find("large").addEventListener("click", choosePixel);
find("probe").lastChild.addEventListener("click", () => navigator.clipboard.writeText(find("probe").firstChild.textContent));
addEventListener("resize", () => large && showPixel());
addEventListener("hashchange", followAddress);

/// Shows a scene; another one, later, in the place of the first, with what is open, chosen, searched and scrolled to kept.
function show(data) {
  const isFirst = scene === null;
  scene = data;
  pictures = scene.pictures;
  frameCount = scene.last - scene.first + 1;
  if (pixel && !(pixel[0] < scene.width && pixel[1] < scene.height)) pixel = null;
  frame = isFirst ? scene.frames?.[0]?.[0] ?? scene.first : Math.min(Math.max(frame, scene.first), scene.last);
  document.title = find("title").textContent = scene.name;
  find("size").textContent = `${scene.width} × ${scene.height}, ${countText(scene.samples, "sample")} a pixel`;
  const node = find("node").value;
  find("node").replaceChildren(new Option("every node", ""));
  for (const name of new Set(pictures.map(picture => picture.node))) {
    const list = pictures.filter(picture => picture.node === name);
    find("node").append(new Option(`${name}, ${list[0].plugin} (${list.length})`, name, false, name === node));
  }
  find("frameKeys").hidden = !scene.digits;
  const ranges = scene.frames?.map(range => [...new Set(range)].join("–")).join(", ");
  find("framesThere").textContent = ranges === undefined ? "" : "here: " + ranges;
  Object.assign(find("frame"), {min: scene.first, max: scene.last});
  drawList();
  drawNetwork();
  if (large) {
    large = pictures.find(({name}) => name === large.name) ?? null;
    if (!large) hideDialog();
  }
  refresh();
  if (!isFirst) return;
  followAddress();
  showFrame(frame);
}
