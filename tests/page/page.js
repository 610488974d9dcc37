// What the test asks of a page, from within. Each function gives a list of what is wrong, or facts in plain values.

const boxOf = (element) => element.getBoundingClientRect();
const nameOf = (element) => `${element.tagName} ${element.getAttribute("class") || ""} "${element.textContent.trim().slice(0, 40)}"`;
const all = (selector, top = document) => [...top.querySelectorAll(selector)];
// Pieces of a map are at least a pixel high.
const meet = (a, b) => Math.min(a.right, b.right) - Math.max(a.left, b.left) > 1.2 &&
    Math.min(a.bottom, b.bottom) - Math.max(a.top, b.top) > 1.2;

/** Tables as texts, by their captions. */
const tables = () => Object.fromEntries(all("table").map((table) => [table.caption.textContent,
    [...table.rows].map((row) => [...row.cells].map((cell) => cell.textContent.trim()))]));

/** Elements with the names of their attributes and their classes, but for those that whole names and findings add. */
const structure = () => all("body *").filter((element) => !element.matches("title, .findings *")).map((element) =>
    element.tagName + [...element.attributes].map((each) => each.name).filter((name) => name !== "title").join() +
    element.getAttribute("class"));

/** What sticks out of the page, and with `scrollsToo` what scrolls by itself. */
const overflows = (scrollsToo) => [document.documentElement, ...(scrollsToo ? all(".scroll") : [])]
    .filter((element) => element.scrollWidth > element.clientWidth).map(nameOf);

/** Of pictures: texts that meet each other, an edge of a shape, or the border of the picture. */
const collisions = () => all("svg.picture").flatMap((picture) => {
    const texts = all("text", picture), solid = all(".pin, .head, .control, .value, .pointer, .gap", picture), found = [];
    const check = (one, others, kind) => others.filter((other) => other !== one && meet(boxOf(one), boxOf(other)))
        .forEach((other) => found.push(`${nameOf(one)} ${kind} ${nameOf(other)}`));
    for (const text of texts) {
        check(text, [...texts, ...solid], "meets");
        const inner = boxOf(text), outer = boxOf(picture);
        if (inner.left < outer.left - 1 || inner.right > outer.right + 1 || inner.top < outer.top - 1 || inner.bottom > outer.bottom + 1)
            found.push(`${nameOf(text)} leaves the picture`);
        const block = picture.querySelector(".box");
        if (block && meet(inner, boxOf(block)) && (inner.left < boxOf(block).left || inner.right > boxOf(block).right))
            found.push(`${nameOf(text)} crosses the block`);
    }
    for (const shape of all(".control, .value, .pointer, .gap", picture)) check(shape, solid, "meets");
    return found;
});

/** What is not laid out for who does not see it, or uses the keyboard. */
const barriers = () => {
    const found = [], ids = all("[id]").map((element) => element.id);
    let level = 0;
    for (const heading of all("h1, h2, h3, h4, h5, h6")) {
        const next = Number(heading.tagName[1]);
        if (next > level + 1) found.push(`after level ${level}: ${nameOf(heading)}`);
        level = next;
    }
    if (all("h1").length !== 1 || all("main").length !== 1 || !document.documentElement.lang || !document.title) found.push("frame");
    const style = document.querySelector("style").textContent;
    for (const [used, name] of style.matchAll(/var\(([^)]*)\)/g)) if (!style.includes(` ${name}: #`)) found.push(used);
    if (new Set(ids).size !== ids.length) found.push("an id twice");
    for (const link of all("a")) if (!ids.includes(link.getAttribute("href").slice(1))) found.push(`nowhere: ${nameOf(link)}`);
    for (const table of all("table")) {
        const titles = all("thead th[scope=col]", table).length;
        const isSound = table.caption && titles > 0 && [...table.tBodies[0].rows].every((row) =>
            row.cells.length === titles && row.cells[0].matches("th[scope=row]"));
        if (!isSound) found.push(nameOf(table));
    }
    for (const picture of all("svg"))
        if (picture.getAttribute("role") === "img" ? !picture.getAttribute("aria-label") : picture.getAttribute("aria-hidden") !== "true")
            found.push(nameOf(picture.parentElement));
    return found;
};

const channels = (colour) => colour.match(/[\d.]+/g).map(Number);
const brightness = (colour) => channels(colour).slice(0, 3).map((value) => value / 255)
    .map((value) => value <= 0.04045 ? value / 12.92 : ((value + 0.055) / 1.055) ** 2.4)
    .reduce((sum, value, at) => sum + value * [0.2126, 0.7152, 0.0722][at], 0);
const contrast = (a, b) => {
    const [dark, light] = [brightness(a), brightness(b)].sort((x, y) => x - y);
    return (light + 0.05) / (dark + 0.05);
};
const isClear = (colour) => colour === "none" || channels(colour)[3] === 0;
const paint = (element) => getComputedStyle(element)[element.closest("svg") ? "fill" : "backgroundColor"];

/** The colour that is painted below an element: of what holds it, or of the shapes of its picture. */
const ground = (element) => {
    const picture = element.closest("svg");
    if (picture && element !== picture) {
        const {left, top, width, height} = boxOf(element), x = left + width / 2, y = top + height / 2;
        const below = all("rect", picture).filter((shape) => shape !== element && !isClear(paint(shape)) &&
            boxOf(shape).left <= x && x <= boxOf(shape).right && boxOf(shape).top <= y && y <= boxOf(shape).bottom);
        return below.length ? paint(below.at(-1)) : ground(picture);
    }
    for (let holder = element; holder; holder = holder.parentElement)
        if (!holder.closest("svg") && !isClear(getComputedStyle(holder).backgroundColor)) return getComputedStyle(holder).backgroundColor;
    return "rgb(255, 255, 255)";
};

/** The lowest contrast of a text, and of a bar, with what is below. */
const contrasts = () => {
    const texts = all("body *").filter((element) => element.tagName !== "title" &&
        [...element.childNodes].some((node) => node.nodeType === Node.TEXT_NODE && node.data.trim()));
    const ofText = (element) => contrast(getComputedStyle(element)[element.closest("svg") ? "fill" : "color"], ground(element));
    const bars = all(".filled, .over").map((bar) => contrast(paint(bar), getComputedStyle(document.documentElement).backgroundColor));
    return [Math.min(...texts.map(ofText)), Math.min(...bars), getComputedStyle(document.documentElement).backgroundColor];
};
