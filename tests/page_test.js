// SPDX-License-Identifier: MIT
// Runs in the page: does what a user does, and leaves its verdict in the page.
const wrong = [];
function expect(what, got, expected) {
  if (String(got) !== String(expected)) wrong.push(`${what}: expected ${expected}, got ${got}`);
}
const names = () => [...document.querySelectorAll("main a:not([hidden]) b")].map(name => name.textContent);
const counts = () => [...document.querySelectorAll("#special tr")].map(row => row.lastChild.textContent);
const warningRows = () => [...document.querySelectorAll("#special .warning")].map(row => row.children[1].textContent);
const press = key => document.activeElement.dispatchEvent(new KeyboardEvent("keydown", {key, bubbles: true, cancelable: true}));
// Virtual time stands still while something is fetched; for decoding it would not wait.
async function widthOf(image) {
  if (!image.complete) await new Promise(resolve => { image.onload = image.onerror = resolve; });
  return image.naturalWidth;
}
const box = name => boxes.get(name).element;
const link = address => network.querySelector(`a[href="${address}"]`);
const rows = (name, side) => [...box(name).querySelectorAll(`.${side} li`)].map(row => row.querySelector(".label, button").textContent.trim().replace(/\s+/g, " "));
const having = (how, of = ".box") => [...network.querySelectorAll(of + "." + how)].map(one => one.dataset.texture);
const aimAt = element => element.dispatchEvent(new MouseEvent("mouseover", {bubbles: true}));
async function follow(element) {
  element.click();
  await new Promise(resolve => addEventListener("hashchange", resolve, {once: true}));
}
async function goTo(address) {
  location.hash = address;
  await new Promise(resolve => addEventListener("hashchange", resolve, {once: true}));
}
function enter(id, value) {
  find(id)[find(id).type === "checkbox" ? "checked" : "value"] = value;
  find(id).dispatchEvent(new Event("input", {bubbles: true}));
}

async function tryList() {
  // As `probe` writes them, with five digits.
  expect("numbers", [0, 1000, 1e5, -123456, 16777216, "1e+18", -1e25, 0.001, 0.00123, -0.0000012345678, 1e-7, 3.4028235e38].map(numberText).join(" "),
         "0 1000 1e+05 \u2212123460 16777000 1e+18 \u22121e+25 0.001 0.00123 \u22121.2346e\u221206 1e\u221207 3.4028e+38");
  expect("no numbers", [null, "inf", "-inf", "nan"].map(numberText), "\u2013,\u221e,\u2212\u221e,NaN");
  while (!knownFrames[frame]) await new Promise(resolve => setTimeout(resolve, 20));
  expect("first frame that is there", find("frameNumber").textContent, "frame 2");
  expect("frames that are there", find("framesThere").textContent, "here: 2, 4");
  expect("pictures", names(), "a,b,i,sum,lower,root");
  press("/");
  expect("focus after /", document.activeElement.id, "search");
  enter("search", "LOW tint");
  expect("found", names(), "lower");
  expect("count", find("count").textContent, "1 of 6 pictures");
  press("Escape");
  expect("after Escape", names().length, 6);
  enter("node", "tint");
  expect("of the node", names(), "sum,lower,root");
  enter("node", "");
  enter("flawed", true);
  expect("with warnings", names(), "root");
  const inverted = pictures[2];
  inverted.boundsEnclose = true;  // no output breaks such a guarantee
  refresh();
  expect("with warnings, if bounds are to enclose", names(), "i,root");
  inverted.boundsEnclose = false;
  enter("flawed", false);

  press("ArrowRight");
  press("ArrowRight");
  await follow(document.activeElement);
  expect("large", !dialog.hidden && find("name").textContent, "b");
  expect("caption", find("caption").textContent, "<\/script> \u2264");
  expect("range", [...document.querySelectorAll("#bars span")].map(end => end.textContent), "−1,3,−1,3,−1,3");
  expect("coding", find("facts").lastChild.textContent, "linear");
  expect("values", document.querySelectorAll("#bars .bar")[1].lastChild.textContent, "from −2 to −2");
  expect("clipped", counts(), "0,0,0,0,192,192,");
  press("ArrowRight");
  expect("outside bounds", counts(), "0,0,0,192,0,0,");
  expect("warnings of what need not enclose", warningRows(), "");
  for (let i = 0; i < 3; ++i) press("ArrowLeft");
  expect("last", find("name").textContent, "root");
  expect("large picture", await widthOf(find("large")), 16);
  expect("counts", counts(), "192,0,0,0,0,0,");
  expect("warnings", warningRows(), "NaN");

  press(".");
  await new Promise(resolve => setTimeout(resolve, 100));
  expect("frame between", find("frameNumber").textContent, "frame 3 is not here");
  press(".");
  await new Promise(resolve => setTimeout(resolve, 100));
  expect("frame", find("frameNumber").textContent + find("large").src.slice(-14), "frame 4/root.0004.png");
  expect("picture of the frame", await widthOf(find("large")), 16);
  find("frame").focus();
  press("Escape");
  expect("closed", dialog.hidden, true);
  expect("focus after closing", document.activeElement.textContent.startsWith("root"), true);
  expect("grid of the frame", await widthOf(document.querySelector("main img[src='a.0004.png']")), 16);
}

async function tryNetwork() {
  await follow(document.querySelector("#views a:last-child"));
  expect("view", location.hash + find("count").textContent, "#/network6 nodes");
  expect("boxes", [...network.querySelectorAll(".box h3")].map(title => title.innerText.replace(/\s+/g, " ")).join(),
         "n constant,v constant,inverted Float3ToAColor,tint TexFloatOp,side TexVectorOp,shade TexAColorOp");
  expect("wires", network.querySelectorAll("path").length, 6);
  expect("kinds of wires", ["float", "vector", "color"].map(kind => network.querySelectorAll("path." + kind).length), "4,1,1");
  const heights = () => [network, find("legend"), document.querySelector("main")].map(({offsetHeight}) => offsetHeight > 0);
  expect("the network alone", heights(), "true,true,false");
  await goTo("#");
  expect("the pictures alone", heights(), "false,false,true");
  await goTo("#/network");
  const columns = [["n"], ["tint", "v"], ["side", "inverted"], ["shade"]];
  const lefts = columns.map(names => new Set(names.map(name => boxes.get(name).left)));
  expect("boxes of a column", lefts.map(({size}) => size), "1,1,1,1");
  expect("columns", lefts.flatMap(left => [...left]).every((left, i, all) => i === 0 || left > all[i - 1]), true);

  // Set, connected, absent.
  expect("inputs of the host's", rows("v", "inputs"), "value (4, −2, 0)");
  expect("inputs", rows("side", "inputs").join("; "), "vector_a v; vector_b (0, 0, 0); mult_a tint.sum; mult_b 1");
  expect("hollow", [...box("side").querySelectorAll(".inputs .absent")].length, 2);
  expect("inputs with words", rows("shade", "inputs").slice(-2).join("; "), "result_alpha by the output; mode 0");
  expect("inputs that are set", rows("inverted", "inputs").join("; "), "float1 3; float2 1; float3 1; alpha 1; invert true");

  // Folding.
  expect("folded", rows("tint", "outputs"), "sum,power192 NaN,7 more");
  box("tint").querySelector("button").click();
  expect("unfolded", rows("tint", "outputs").length + rows("side", "outputs").length, 9 + 2);
  expect("focus after unfolding", document.activeElement.textContent, "tint");
  find("unfold").click();
  expect("all unfolded", rows("shade", "outputs").length, 15);
  find("unfold").click();
  expect("folded again", rows("shade", "outputs"), "15 outputs");

  // What feeds, and what is fed.
  document.activeElement.blur();
  aimAt(box("side"));
  expect("feed a node", having("feeds"), "n,v,tint");
  expect("fed by a node", having("fed"), "shade");
  expect("wires that stand out", ["feeds", "fed"].map(how => network.querySelectorAll("path." + how).length), "3,1");
  aimAt(network.querySelector("[data-texture='tint.sum']"));
  expect("feed an output", having("feeds"), "n");
  expect("fed by an output", having("fed"), "side,shade");
  expect("pointed at", having("chosen", ""), "tint,tint.sum");
  aimAt(network.querySelector("[data-texture='tint.power']"));
  expect("fed by an output without wires", having("fed"), "");
  network.dispatchEvent(new MouseEvent("mouseleave"));
  expect("nothing pointed at", having("chosen", "") + network.className.includes("lit"), "false");

  // Search.
  enter("search", "tint");
  expect("found", having("unlike") + ";" + find("count").textContent, "n,v,inverted,side,shade;1 of 6 nodes");
  enter("search", "constant");
  expect("found by plugin", having("unlike"), "inverted,tint,side,shade");
  find("search").focus();
  press("ArrowDown");
  expect("focus after the search", document.activeElement.textContent, "n");
  enter("search", "");
  enter("flawed", true);
  expect("with warnings", having("unlike"), "n,v,inverted,side,shade");
  enter("flawed", false);
  enter("node", "inverted");
  expect("of the node", having("unlike"), "n,v,tint,side,shade");
  enter("node", "");

  // Along the wires.
  const way = [];
  for (const key of ["ArrowRight", "ArrowRight", "ArrowRight", "ArrowRight", "ArrowLeft", "ArrowUp", "ArrowDown"]) {
    press(key);
    way.push(document.activeElement.textContent);
  }
  expect("way", way, "tint,side,shade,shade,side,inverted,side");

  // Zoom.
  const width = () => Math.round(box("side").getBoundingClientRect().width / box("side").offsetWidth * 100);
  zoomTo(1);
  expect("whole size", width(), 100);
  find("larger").click();
  expect("larger", width(), 125);
  find("smaller").click();
  find("smaller").click();
  expect("smaller", width(), 80);
  const at = box("side").getBoundingClientRect();
  find("larger").click();
  network.scrollTo(40, 0);
  const before = box("shade").getBoundingClientRect();
  network.dispatchEvent(new WheelEvent("wheel", {deltaY: -200, clientX: before.left, clientY: before.top, cancelable: true}));
  const after = box("shade").getBoundingClientRect();
  expect("by the wheel", width(), 156);
  expect("what is under the wheel stays", Math.abs(after.left - before.left) < 2, true);
  find("fit").click();
  const {width: canvasWidth} = find("canvas").getBoundingClientRect();
  expect("fit", canvasWidth <= network.clientWidth + 1 && zoom <= 1 && zoom > 0.3, true);

  // By the mouse.
  zoomTo(2);
  network.scrollTo(50, 0);
  const mouse = (type, more) => box("side").dispatchEvent(new PointerEvent(type, {bubbles: true, pointerType: "mouse", buttons: 1, ...more}));
  mouse("pointerdown");
  mouse("pointermove", {movementX: -30});
  mouse("pointerup");
  mouse("pointermove", {movementX: -30});
  box("side").click();
  expect("dragged, not chosen", network.scrollLeft + location.hash, "80#/network");
  find("fit").click();

  // The frame that is chosen, and its warnings, which move nothing.
  expect("frame of the small pictures", thumbs.get("sum").src.slice(-13), "/sum.0004.png");
  expect("height with warnings", boxes.get("tint").element.offsetHeight, boxes.get("tint").height);

  // To a picture and back.
  await follow(link("#/network/tint.sum/sum"));
  expect("address of a picture", location.hash + find("name").textContent, "#/network/tint.sum/sumsum");
  expect("facts", find("facts").innerText.split("\n").filter(Boolean), "Kind,float,Declared bounds,−0.5 to −0.5,Black and white,0 and 1,Codes of the PNG,sRGB");
  expect("help", find("help").textContent, "float_a+float_b");
  const large = find("large"), {left, top, width: w, height: h} = large.getBoundingClientRect();
  const side = Math.min(w / 16, h / 12);
  const click = (x, y) => large.dispatchEvent(new MouseEvent("click", {clientX: left + w / 2 + (x - 8) * side, clientY: top + h / 2 + (y - 6) * side}));
  click(15.5, 2.5);
  expect("pixel", find("pixel").textContent, "Pixel 15,2");
  expect("command", find("probe").firstChild.textContent, "samplerinfo-preview probe scene.json --pixel 15,2 --size 16x12 --set tint.float_b=0.5 --frame 4 tint.sum");
  click(16.5, 2.5);
  expect("no pixel", find("pixel").textContent, "Pixel 15,2");
  await follow(find("toNode"));
  expect("back at the node", [location.hash, dialog.hidden, document.activeElement.textContent, having("chosen", "")].join(), "#/network/tint.sum,true,sum,tint,tint.sum");
  await follow(link("#/network/tint.power/root"));
  press("Escape");
  expect("back at the small picture", location.hash + document.activeElement.getAttribute("href"), "#/network/tint.power#/network/tint.power/root");
  press("Escape");
  expect("nothing chosen", location.hash + having("chosen"), "#/network");
  await goTo("#/network/side.dot_product");
  expect("a folded output by its address", having("chosen", ""), "side,side.dot_product");
  box("n").click();
  expect("by a click", location.hash, "#/network/n");

  // Another scene in its place.
  network.scrollTo(5, 0);
  zoomTo(1.5);
  network.scrollTo(60, 20);
  const state = () => [location.hash, network.scrollLeft, network.scrollTop, zoom, having("chosen")].join();
  const former = state();
  show({...scene, nodes: [...scene.nodes]});
  expect("kept", state(), former);
  location.hash = "#/network/n%";
  followAddress();
  expect("an address that is no code", chosen, "");
  const one = {...scene, nodes: [{name: "s", plugin: "none", kind: "float", inputs: {}}], pictures: []};
  show(one);
  expect("one node", rows("s", "outputs") + network.querySelectorAll("path").length, "1 output0");
  show({...one, nodes: []});
  expect("no node", find("nothing").textContent + find("nothing").hidden, "There is no node.false");

  // Many nodes: no box upon another.
  const nodes = Array.from({length: 1000}, (_, i) => ({name: "n" + i, plugin: "TexFloatOp", kind: null, inputs: {}}));
  nodes.forEach(({inputs}, i) => {
    if (i % 50 > 0) inputs.float_a = `n${i - 1}.sum`;
    if (i > 7 && i % 3 === 0) inputs.float_b = `n${i * 7 % i}.ratio`;
  });
  show({...scene, nodes, pictures: []});
  expect("many nodes", network.querySelectorAll(".box").length + " " + network.querySelectorAll("path").length, "1000 1311");
  // Long wires have more lanes than a call can have arguments.
  const chain = nodes.map(({name}, i) => ({name, plugin: "TexFloatOp", kind: null, inputs:
    {...(i > 0 && {float_a: `n${i - 1}.sum`}), ...(i >= 300 && {float_b: `n${i - 300}.sum`})}}));
  show({...scene, nodes: chain, pictures: []});
  expect("long wires", boxes.get("n999").left > boxes.get("n998").left, true);
  show({...scene, nodes, pictures: []});
  const places = [...boxes.values()].sort((a, b) => a.left - b.left || a.top - b.top);
  expect("overlaps", places.filter((a, i) => i > 0 && places[i - 1].left + places[i - 1].item.width > a.left && places[i - 1].top + places[i - 1].height > a.top).length, 0);
}

addEventListener("load", async () => {
  try {
    await tryList();
    await tryNetwork();
  } catch (error) {
    wrong.push(error.stack);
  }
  document.title = wrong.length === 0 ? "All is as expected" : wrong.join("; ");
});
