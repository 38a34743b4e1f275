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
function enter(id, value) {
  find(id)[find(id).type === "checkbox" ? "checked" : "value"] = value;
  find(id).dispatchEvent(new Event("input", {bubbles: true}));
}

addEventListener("load", async () => {
  while (!numbersOfFrames[frame]) await new Promise(resolve => setTimeout(resolve, 20));
  expect("first frame that is there", find("frameNumber").textContent, "frame 2");
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
  inverted.boundsEnclose = true;  // no output breaks such a promise
  refresh();
  expect("with warnings, if bounds are to enclose", names(), "i,root");
  inverted.boundsEnclose = false;
  enter("flawed", false);

  press("ArrowRight");
  press("ArrowRight");
  document.activeElement.click();
  await new Promise(resolve => addEventListener("hashchange", resolve, {once: true}));
  expect("large", !dialog.hidden && find("name").textContent, "b");
  expect("caption", find("caption").textContent, "<\/script> \u2264");
  expect("range", [...document.querySelectorAll("#bars span")].map(end => end.textContent), "−1,3,−1,3,−1,3");
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
  document.title = wrong.length === 0 ? "All is as expected" : wrong.join("; ");
});
