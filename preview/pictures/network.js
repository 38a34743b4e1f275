// SPDX-License-Identifier: MIT
// The network: a box a node, in columns by the longest path to it, and a wire from each output to each input it feeds.
const kColumnGap = 72, kBoxGap = 22, kLaneHeight = 14, kMargin = 28;
const kSweeps = 12;
const kZoomStep = 1.25, kLeastZoom = 0.02, kMostZoom = 2, kReadableZoom = 0.7;
const network = find("network");
const thumbs = new Map();    // by picture name: the small picture
const unfolded = new Set();  // nodes that show all their outputs
let boxes = new Map();       // by node name
let wires = [];
let lit = [];                // elements that stand out
let pointed = "", focused = "";  // a node or an output
let zoom = 0;                // none yet
let isLaidOut = false;

const nodeOf = texture => texture.split(".", 1)[0];

// From the scene to elements.

function makeInput({name, kind, help = "", absent}, value) {
  const isAbsent = value === undefined;
  const row = make("li", {title: help});
  if (["float", "vector", "color"].includes(kind)) row.append(signOf(kind, isAbsent ? "absent" : ""));
  const says = typeof value === "string" ? make("a", {href: addressOf(value), className: "faint", title: value}, value)
             : isAbsent ? absent || "not connected" : typeof value === "boolean" ? value : value.text ?? vectorText([value].flat());
  row.append(make("span", {className: isAbsent ? "label faint" : "label"}, name + " ", make("span", {className: "value"}, says)));
  return row;
}
function makeThumb(texture, picture) {
  if (!thumbs.has(picture.name)) thumbs.set(picture.name, make("img", {loading: "lazy"}));
  const image = Object.assign(thumbs.get(picture.name), {alt: picture.name, width: scene.width, height: scene.height});
  return make("a", {href: addressOf(texture, picture.name), title: picture.caption || picture.layer}, image);
}
function makeOutput(texture, {name, kind, help}, pictures) {
  const warnings = make("div", {className: "warning"}), number = make("div", {className: "number"});
  const link = make("a", {href: addressOf(texture)}, name || "itself");
  const row = make("li", {title: help}, make("span", {className: "label"}, link, number, warnings), signOf(kind));
  if (pictures.length > 0) {
    row.prepend(make("div", {className: "thumbs"}, ...pictures.map(picture => makeThumb(texture, picture))));
    row.className = "pictured";
  }
  row.dataset.texture = texture;
  return {texture, kind, row, link, number, pictures, warnings};
}
function makeBox({name, plugin, kind, inputs}, wired) {
  const {inputs: allInputs, outputs} = scene.plugins[plugin] ?? {inputs: Object.keys(inputs).map(input => ({name: input})), outputs: []};
  const rows = allInputs.map(input => [input.name, makeInput(input, inputs[input.name])]);
  const own = pictures.filter(picture => picture.node === name);
  const all = (kind ? [{name: "", kind, help: "The node itself as a texture"}, ...outputs] : outputs).map(output =>
    ({output, texture: name + (output.name && "." + output.name), pictures: own.filter(picture => picture.output === output.name)}));
  const some = find("unfold").checked || unfolded.has(name) ? all
             : all.filter(one => wired.has(one.texture) || one.pictures.length > 0);
  const shownOutputs = some.map(one => makeOutput(one.texture, one.output, one.pictures));
  const list = make("ul", {className: "outputs"}, ...shownOutputs.map(({row}) => row));
  const folded = all.length - some.length;
  if (folded > 0) {
    const button = make("button", {className: "fold", type: "button"}, some.length > 0 ? `${folded} more` : countText(folded, "output"));
    button.addEventListener("click", () => unfoldNode(name));
    list.append(make("li", {}, button));
  }
  const link = make("a", {href: addressOf(name), title: name}, name);
  const element = make("article", {className: "box"}, make("h3", {}, link, make("span", {className: "faint"}, plugin)),
    make("div", {className: "ports"}, make("ul", {className: "inputs"}, ...rows.map(([, row]) => row)), list));
  element.dataset.texture = name;
  return {name, element, link, inputs: new Map(rows), outputs: shownOutputs, allOutputs: new Set(all.map(({texture}) => texture)), sources: [], users: []};
}
function makeWire(from, to, input) {
  const wire = {from, source: boxes.get(nodeOf(from)), to: boxes.get(to), lanes: []};
  wire.output = wire.source.outputs.find(({texture}) => texture === from);
  wire.inputRow = wire.to.inputs.get(input);
  wire.path = document.createElementNS("http://www.w3.org/2000/svg", "path");
  wire.path.classList.add(wire.output.kind);
  wire.source.users.push(wire);
  wire.to.sources.push(wire);
  return wire;
}
function drawNetwork() {
  const address = network.contains(document.activeElement) ? document.activeElement.getAttribute("href") : null;
  const links = scene.nodes.flatMap(({name, inputs}) => Object.entries(inputs)
    .filter(([, value]) => typeof value === "string").map(([input, from]) => [from, name, input]));
  const wired = new Set(links.map(([from]) => from));
  boxes = new Map(scene.nodes.map(node => [node.name, makeBox(node, wired)]));
  wires = links.map(link => makeWire(...link));
  const svg = document.createElementNS("http://www.w3.org/2000/svg", "svg");
  svg.id = "wires";
  svg.setAttribute("aria-hidden", "true");
  svg.append(...wires.map(({path}) => path));
  lit = [];
  isLaidOut = false;
  find("canvas").replaceChildren(svg, ...Array.from(boxes.values(), ({element}) => element));
  if (view) layOut();
  if (address) network.querySelector(`a[href="${CSS.escape(address)}"]`)?.focus({preventScroll: true});
  lightUp();
}
function redraw() {
  drawNetwork();
  refreshNetwork();
  narrow();
}
function unfoldNode(name) {
  unfolded.add(name);
  redraw();
  boxes.get(name).link.focus();
}
function refreshNetwork() {
  for (const picture of pictures) showIn(thumbs.get(picture.name), picture);
  for (const {outputs} of boxes.values()) {
    for (const {warnings, pictures} of outputs) {
      warnings.textContent = warnings.title = pictures.map(warningsOf).filter(Boolean).join("; ");
    }
  }
  live?.writeNumbers();
}

// Where everything is.

/// The boxes that wires join, in the order of the scene; those that stand alone come last.
function groupsOf() {
  const known = new Set(), groups = [];
  for (const box of boxes.values()) {
    if (known.has(box)) continue;
    const group = [box];
    known.add(box);
    for (const {sources, users} of group) {  // grows meanwhile
      for (const next of [...sources.map(({source}) => source), ...users.map(({to}) => to)]) {
        if (!known.has(next)) group.push(next);
        known.add(next);
      }
    }
    groups.push(group);
  }
  return [...groups.filter(group => group.length > 1), ...groups.filter(group => group.length === 1)];
}

/// Columns of items: boxes, and the lanes in which wires pass a column, one for all wires of an output.
function columnsOf(group) {
  const ranks = new Map();
  const rankOf = box => {
    if (!ranks.has(box)) ranks.set(box, 1 + Math.max(-1, ...box.sources.map(({source}) => rankOf(source))));
    return ranks.get(box);
  };
  const ordered = [...group].sort((a, b) => a.order - b.order);
  ordered.forEach(rankOf);
  for (const box of ordered) {  // sources stand beside their first user
    if (box.sources.length === 0 && box.users.length > 0) ranks.set(box, Math.min(...box.users.map(({to}) => ranks.get(to))) - 1);
  }
  const columns = [];
  const add = (rank, item) => {
    (columns[rank] ??= []).push(item);
    return Object.assign(item, {top: 0, before: [], after: []});
  };
  for (const box of ordered) box.item = add(ranks.get(box), {box, height: box.height + kBoxGap, weight: 1});
  const join = (a, aMiddle, b, bMiddle) => {
    a.after.push({item: b, mine: aMiddle, theirs: bMiddle});
    b.before.push({item: a, mine: bMiddle, theirs: aMiddle});
  };
  for (const box of ordered) {
    const lanes = new Map();  // by output: its lanes, from column to column
    for (const wire of box.users) {
      if (!lanes.has(wire.from)) lanes.set(wire.from, []);
      const ofOutput = lanes.get(wire.from);
      const count = ranks.get(wire.to) - ranks.get(box) - 1;
      while (ofOutput.length < count) {
        const lane = add(ranks.get(box) + ofOutput.length + 1, {height: kLaneHeight, weight: 4});
        if (ofOutput.length === 0) join(box.item, wire.output.middle, lane, kLaneHeight / 2);
        else join(ofOutput.at(-1), kLaneHeight / 2, lane, kLaneHeight / 2);
        ofOutput.push(lane);
      }
      wire.lanes = ofOutput.slice(0, count);
      const last = wire.lanes.at(-1);
      join(last ?? box.item, last ? kLaneHeight / 2 : wire.output.middle, wire.to.item, wire.inputMiddle);
    }
  }
  return columns;
}
const mean = numbers => numbers.reduce((sum, number) => sum + number, 0) / numbers.length;

/// Moves the items of a column as close to their goals as they come without overlap: where they would, they form a block,
/// which goes to the mean of their goals.
function settle(column) {
  const blocks = [];
  let above = 0;
  for (const item of column) {
    blocks.push({at: item.goal - above, weight: item.weight, items: [item]});
    above += item.height;
    while (blocks.length > 1 && blocks.at(-2).at > blocks.at(-1).at) {
      const b = blocks.pop(), a = blocks.at(-1);
      a.at = (a.at * a.weight + b.at * b.weight) / (a.weight + b.weight);
      a.weight += b.weight;
      a.items.push(...b.items);
    }
  }
  above = 0;
  for (const {at, items} of blocks) {
    for (const item of items) {
      item.top = at + above;
      above += item.height;
    }
  }
}

/// Sweeps of averages to and fro: each item goes to where its neighbours are, in their order. The last three keep the
/// order: two take the neighbours on both sides, and one makes wires go straight.
function sweep(columns) {
  for (const column of columns) {
    column.forEach((item, i) => { item.goal = i; });
    settle(column);
  }
  for (let i = 0; i < kSweeps; ++i) {
    const isForward = i % 2 === 1, isLast = i === kSweeps - 1, isOrdered = i >= kSweeps - 3;
    for (const column of isForward ? columns : [...columns].reverse()) {
      for (const item of column) {
        const links = isLast ? (item.box ? [] : item.before)
                    : isOrdered ? [...item.before, ...item.after] : isForward ? item.before : item.after;
        item.place = links.length > 0 ? mean(links.map(link => link.item.top + link.theirs)) : item.top + item.height / 2;
        item.goal = links.length > 0 ? mean(links.map(link => link.item.top + link.theirs - link.mine)) : item.top;
      }
      if (!isOrdered) column.sort((a, b) => a.place - b.place);
      settle(column);
    }
  }
}

/// Places a group's boxes and wires, from 0,0 on, and says how large it is.
function placeGroup(group) {
  const columns = columnsOf(group);
  sweep(columns);
  const items = columns.flat();
  // A large network has more lanes than a call can have arguments.
  const top = items.reduce((least, item) => Math.min(least, item.top), Infinity);
  let left = 0;
  for (const column of columns) {
    const width = column.reduce((most, {box}) => Math.max(most, box?.width ?? 0), 0);
    for (const item of column) Object.assign(item, {left, width, top: item.top - top});
    left += width + kColumnGap;
  }
  return {group, width: left - kColumnGap, height: items.reduce((most, item) => Math.max(most, item.top + item.height), 0) - kBoxGap};
}

/// The path of a wire from the end of one of its lanes on, or from its output.
function pathOf({source, to, output, inputMiddle, lanes}, left, top, passed) {
  const from = passed > 0 ? lanes[passed - 1] : source.item;
  let x = left + from.left + from.width, y = top + from.top + (from.box ? output.middle : kLaneHeight / 2);
  let path = `M${x - 1} ${y}`;
  for (const item of [...lanes.slice(passed), to.item]) {
    const endX = left + item.left, endY = top + item.top + (item.box ? inputMiddle : kLaneHeight / 2);
    const bend = (endX - x) / 2;
    path += `C${x + bend} ${y} ${endX - bend} ${endY} ${endX} ${endY}`;
    if (!item.box) path += `H${endX + item.width}`;
    x = endX + item.width;
    y = endY;
  }
  return path;
}

function layOut() {
  if (isLaidOut) return;
  isLaidOut = true;
  const middle = row => row.offsetTop + row.offsetHeight / 2 + 1;
  let order = 0;
  for (const box of boxes.values()) {
    Object.assign(box, {order: order++, width: box.element.offsetWidth, height: box.element.offsetHeight});
    for (const output of box.outputs) output.middle = middle(output.row);
  }
  for (const wire of wires) wire.inputMiddle = middle(wire.inputRow);

  // Groups stand beside and below each other, as in a text.
  const placed = groupsOf().map(placeGroup);
  const area = placed.reduce((sum, {width, height}) => sum + (width + kColumnGap) * (height + 2 * kBoxGap), 0);
  const lineWidth = Math.max(1.6 * Math.sqrt(area), ...placed.map(({width}) => width));
  let left = 0, top = 0, lineHeight = 0, right = 0;
  for (const {group, width, height} of placed) {
    if (left > 0 && left + width > lineWidth) [left, top, lineHeight] = [0, top + lineHeight + 2 * kBoxGap, 0];
    for (const box of group) {
      Object.assign(box, {left: kMargin + left + box.item.left, top: kMargin + top + box.item.top});
      Object.assign(box.element.style, {left: box.left + "px", top: box.top + "px", width: box.item.width + "px"});
      const drawn = new Map();  // by output: how many of its lanes; a lane is drawn once
      for (const wire of box.users) {
        const passed = Math.min(drawn.get(wire.from) ?? 0, wire.lanes.length);
        drawn.set(wire.from, Math.max(drawn.get(wire.from) ?? 0, wire.lanes.length));
        wire.path.whole = pathOf(wire, kMargin + left, kMargin + top, 0);
        wire.path.own = pathOf(wire, kMargin + left, kMargin + top, passed);
        wire.path.setAttribute("d", wire.path.own);
      }
    }
    right = Math.max(right, left + width);
    lineHeight = Math.max(lineHeight, height);
    left += width + kColumnGap;
  }
  const canvas = find("canvas");
  Object.assign(canvas.style, {width: right + 2 * kMargin + "px", height: top + lineHeight + 2 * kMargin + "px"});
  if (zoom === 0) zoomTo(Math.max(fittingZoom(), kReadableZoom));
  else zoomTo(zoom);
}

// Zoom.

function fittingZoom() {
  const {offsetWidth, offsetHeight} = find("canvas");
  return Math.min(1, network.clientWidth / offsetWidth, network.clientHeight / offsetHeight);
}
/// What is at a point of the window stays there.
function zoomTo(newZoom, x = network.clientWidth / 2, y = network.clientHeight / 2 + network.offsetTop) {
  const canvas = find("canvas"), sheet = find("sheet");
  const before = sheet.getBoundingClientRect();
  const scale = Math.min(Math.max(newZoom, kLeastZoom), kMostZoom);
  const factor = zoom === 0 ? 1 : scale / zoom;
  zoom = scale;
  canvas.style.transform = `scale(${zoom})`;
  Object.assign(sheet.style, {width: canvas.offsetWidth * zoom + "px", height: canvas.offsetHeight * zoom + "px"});
  const after = sheet.getBoundingClientRect();
  network.scrollBy(after.left + (x - before.left) * factor - x, after.top + (y - before.top) * factor - y);
}

// What stands out.

function fadeAllBut(names) {
  for (const {name, element} of boxes.values()) element.classList.toggle("unlike", !names.has(name));
  for (const {source, to, path} of wires) {
    const isLike = names.has(source.name) && names.has(to.name);
    path.classList.toggle("unlike", !isLike);
    path.isWhole = isLike && names.size < boxes.size;
    showPath(path, path.isWhole);
  }
  lightUp();
}
/// As a whole above those that fade; or else without the lanes that others of its output show.
function showPath(path, isWhole) {
  if (isLaidOut) path.setAttribute("d", isWhole ? path.whole : path.own);
  if (isWhole) path.parentNode.append(path);
}
function lightUp() {
  for (const element of lit) {
    element.classList.remove("feeds", "fed", "chosen");
    if (element.own) showPath(element, element.isWhole);
  }
  lit = [];
  const texture = pointed || focused || chosen;
  const box = boxes.get(nodeOf(texture));
  network.classList.toggle("lit", box !== undefined);
  if (!box) return;
  const mark = (element, how) => {
    element.classList.add(how);
    lit.push(element);
  };
  const follow = (first, end, on, how) => {
    const found = new Set(), rest = [...first];
    for (const wire of rest) {  // grows meanwhile
      mark(wire.path, how);
      showPath(wire.path, true);
      if (found.has(wire[end])) continue;
      found.add(wire[end]);
      mark(wire[end].element, how);
      rest.push(...wire[end][on]);
    }
  };
  follow(box.sources, "source", "sources", "feeds");
  follow(texture === box.name ? box.users : box.users.filter(({from}) => from === texture), "to", "users", "fed");
  mark(box.element, "chosen");
  const output = box.outputs.find(one => one.texture === texture);
  if (output) mark(output.row, "chosen");
}

/// Makes a node or an output the chosen one, and brings it into view.
function choose(texture) {
  const box = boxes.get(nodeOf(texture));
  const isThere = box && (texture === box.name || box.allOutputs.has(texture));
  chosen = isThere ? texture : box?.name ?? "";
  if (isThere && texture !== box.name && !box.outputs.some(one => one.texture === texture)) {
    unfolded.add(box.name);
    redraw();
  }
  if (box) focusOn(chosen);
  else if (network.contains(document.activeElement)) document.activeElement.blur();
  lightUp();
}
function focusOn(texture) {
  const box = boxes.get(nodeOf(texture));
  const {link} = box.outputs.find(one => one.texture === texture && texture !== box.name) ?? box;
  link.focus({preventScroll: true});
  box.element.scrollIntoView({block: "nearest", inline: "nearest"});
  link.scrollIntoView({block: "nearest", inline: "nearest"});
}
/// By a key, from box to box: along the wires, or within the column.
function focusBox(key) {
  const texture = focused || chosen;
  const box = boxes.get(nodeOf(texture));
  if (!box || document.activeElement === find("search")) {
    const first = [...boxes.values()].find(({element}) => !element.classList.contains("unlike"));
    if (first) focusOn(first.name);
    return;
  }
  const isOutput = texture !== box.name && box.users.some(({from}) => from === texture);
  const others = {
    ArrowLeft: box.sources.map(({source}) => source),
    ArrowRight: box.users.filter(({from}) => !isOutput || from === texture).map(({to}) => to),
    ArrowUp: [...boxes.values()].filter(({left, top}) => left === box.left && top < box.top),
    ArrowDown: [...boxes.values()].filter(({left, top}) => left === box.left && top > box.top),
  }[key];
  const nearest = others.sort((a, b) => Math.abs(a.top - box.top) - Math.abs(b.top - box.top))[0];
  if (nearest) focusOn(nearest.name);
}

// What the user does.

const textureAt = element => element.closest?.("[data-texture]")?.dataset.texture ?? "";
function point(texture) {
  if (texture === pointed) return;
  pointed = texture;
  lightUp();
}
network.addEventListener("mouseover", ({target}) => point(textureAt(target)));
network.addEventListener("mouseleave", () => point(""));
network.addEventListener("focusin", ({target}) => { focused = textureAt(target); lightUp(); });
network.addEventListener("focusout", () => { focused = ""; lightUp(); });
network.addEventListener("wheel", event => {
  if (event.shiftKey || Math.abs(event.deltaX) > Math.abs(event.deltaY)) return;  // scrolls sideways
  event.preventDefault();
  zoomTo(zoom * kZoomStep ** (-event.deltaY * (event.deltaMode === 0 ? 1 : 20) / 100), event.clientX, event.clientY);
}, {passive: false});

// Drags the whole with the mouse; a finger scrolls anyway.
let dragged = 0;
network.addEventListener("pointerdown", event => {
  dragged = 0;
  if (event.button !== 0 || event.pointerType !== "mouse" || event.target.closest("a, button")) return;
  const stop = new AbortController(), {signal} = stop;
  const end = () => { network.classList.remove("dragged"); stop.abort(); };
  addEventListener("pointermove", ({movementX, movementY, buttons}) => {
    if (buttons === 0) return end();  // was let go where nobody is told of it
    dragged += Math.abs(movementX) + Math.abs(movementY);
    network.classList.add("dragged");
    network.scrollBy(-movementX, -movementY);
  }, {signal});
  for (const event of ["pointerup", "pointercancel"]) addEventListener(event, end, {signal});
});
network.addEventListener("click", ({target}) => {
  const wasDragged = dragged > 4;
  dragged = 0;
  if (wasDragged || target.closest("a, button")) return;
  choose(textureAt(target));
  writeAddress();
});
find("unfold").addEventListener("input", redraw);
find("smaller").addEventListener("click", () => zoomTo(zoom / kZoomStep));
find("larger").addEventListener("click", () => zoomTo(zoom * kZoomStep));
find("fit").addEventListener("click", () => zoomTo(fittingZoom()));
