/** The page as people and their tools meet it: hostile files, screen readers, widths, images. */
import assert from "node:assert/strict";
import {
    ftruncateSync,
    mkdirSync,
    openSync,
    readFileSync,
    writeFileSync,
    writeSync,
} from "node:fs";
import { connect } from "node:net";
import { join } from "node:path";
import { after, test } from "node:test";
import { address, choose, message, rows, stop, withPage } from "./browser.mjs";
import { element, part10, root, work } from "./support.mjs";

after(stop);

const damaged = join(root, "examples", "damaged.dcm");

const MARKUP = [
    "<img src=x onerror=window.hacked=1>",
    "</title><script>window.hacked=1</script>",
    '"><svg onload=window.hacked=1>',
    "javascript:window.hacked=1",
    "{{constructor.constructor('window.hacked=1')()}}",
    "\u202Ecod.exe\u2066",
    "&lt;b&gt;&amp;",
];

/** A value with markup for each VR that holds text, and private elements whose creator is markup. */
function hostileFile() {
    const texts = "LO SH ST LT UT PN CS AE AS DA TM DT DS IS UI UR UC".split(" ");
    const elements = [element(8, 5, "CS", "ISO_IR 192"), element(8, 0x16, "UI", MARKUP[0])];
    elements.push(element(8, 0x60, "CS", MARKUP[1]));
    elements.push(element(0x10, 0x10, "PN", MARKUP[2]), element(0x10, 0x20, "LO", MARKUP[5]));
    elements.push(element(0x11, 0x10, "LO", MARKUP[0]));
    texts.forEach((vr, i) =>
        elements.push(element(0x11, 0x1000 + i, vr, MARKUP[i % MARKUP.length])),
    );
    elements.push(element(0x28, 4, "CS", MARKUP[1]), element(0x28, 0x10, "US", MARKUP[0]));
    elements.push(element(0x28, 0x301, "CS", MARKUP[3]));
    elements.push(element(0x7fe0, 0x10, "OW", MARKUP[0]));
    return part10(...elements);
}

test("whatever a file holds and is called ends as text", async () => {
    const name = "<img src=x onerror=window.hacked=1>.dcm";
    writeFileSync(join(work, name), hostileFile());
    await withPage({}, async (page) => {
        await choose(page, [join(work, name), damaged]);
        const kinds = () =>
            page.evaluate(() =>
                [
                    ...new Set(
                        [...document.querySelectorAll("#app *")].map((one) => one.localName),
                    ),
                ].sort(),
            );
        await page.locator(".file").first().click();
        await page.waitForSelector(".fault");
        const before = await kinds();
        await page.click("label.reveal");
        await page.waitForFunction((text) => document.body.textContent.includes(text), MARKUP[2]);
        const faults = await page.locator(".fault").count();
        assert.ok(faults > 10);
        for (let i = 0; i < faults; ++i) {
            await page.locator(".fault").nth(i).click();
            await page
                .locator(".detail summary")
                .evaluateAll((all) => all.forEach((one) => one.click()));
        }
        for (const text of MARKUP) {
            await page.fill("input[type=search]", text.slice(0, 12));
            await page.waitForFunction(() =>
                /found/.test(document.querySelector(".message").textContent),
            );
        }
        await page.fill("input[type=search]", "");
        await page.locator("[role=treegrid]").focus();
        for (let i = 0; i < 30; ++i) {
            await page.keyboard.press("ArrowDown");
        }
        const known = ["bdi", "code", "dd", "details", "dl", "dt", "h2", "h3", "mark", "summary"];
        const strangers = (await kinds()).filter(
            (one) => !before.includes(one) && !known.includes(one),
        );
        assert.deepEqual(strangers, []);
        for (const one of ["img", "script", "svg", "a", "b", "iframe", "style"]) {
            assert.equal(await page.locator(`#app ${one}`).count(), 0, one);
        }
        assert.equal(await page.evaluate(() => window.hacked), undefined);
        assert.equal(await page.locator(".file-name").first().textContent(), name);
    });
});

test("the policy forbids scripts, styles and connections of others", async () => {
    const policy = /http-equiv="Content-Security-Policy"\s+content="([^"]*)"/;
    const html = await (await fetch(address)).text();
    const rules = new Map(
        html
            .match(policy)[1]
            .split(";")
            .map((rule) => rule.trim().split(" "))
            .map(([name, ...values]) => [name, values.join(" ")]),
    );
    assert.equal(rules.get("default-src"), "'none'");
    assert.equal(rules.get("script-src"), "'self' 'wasm-unsafe-eval'");
    for (const name of ["style-src", "connect-src", "worker-src", "img-src", "manifest-src"]) {
        assert.equal(rules.get(name), "'self'", name);
    }
    assert.equal(rules.get("require-trusted-types-for"), "'script'");
    assert.doesNotMatch(html, /https?:\/\//);
});

test("the server hands out the files of its folder only", async () => {
    for (const path of [
        "../package/package.json",
        "%2e%2e/package/package.json",
        "%ff",
        "%00",
        "none",
    ]) {
        const request = connect(Number(new URL(address).port), "127.0.0.1");
        request.end(`GET /${path} HTTP/1.0\r\n\r\n`);
        const chunks = [];
        for await (const chunk of request) {
            chunks.push(chunk);
        }
        assert.match(Buffer.concat(chunks).toString(), /^HTTP\/1\.1 404 /, path);
    }
    const { status, headers } = await fetch(`${address}worker.js`);
    assert.equal(status, 200);
    assert.match(headers.get("content-security-policy"), /script-src 'self' 'wasm-unsafe-eval';/);
});

const axe = readFileSync(join(root, "page/node_modules/axe-core/axe.min.js"), "utf8");

/** What axe-core finds against the page as it stands. */
async function violations(page) {
    await page.evaluate(axe);
    const found = await page.evaluate(() =>
        axe
            .run(document, { resultTypes: ["violations"] })
            .then(({ violations }) =>
                violations.map(
                    ({ id, nodes }) => `${id}: ${nodes.map(({ html }) => html).join(" ")}`,
                ),
            ),
    );
    return found;
}

test("nothing stands in the way of screen readers, on any width, light and dark", async () => {
    for (const [width, colorScheme] of [
        [1400, "light"],
        [1400, "dark"],
        [800, "light"],
        [390, "dark"],
    ]) {
        await withPage({ viewport: { width, height: 800 }, colorScheme }, async (page) => {
            assert.deepEqual(await violations(page), [], `${width} ${colorScheme} start`);
            await choose(page, [damaged, join(work, "image.dcm")]);
            await page.locator(".fault").first().click();
            await page.click("label.reveal");
            assert.deepEqual(await violations(page), [], `${width} ${colorScheme} faults`);
            if (width < 1000) {
                await page.click(".panes button:text('Elements')");
            }
            await page.locator("[role=treegrid]").focus();
            await page.keyboard.press("ArrowDown");
            assert.deepEqual(await violations(page), [], `${width} ${colorScheme} elements`);
            if (width < 1000) {
                await page.click(".panes button:text('Files')");
            }
            await page.locator(".file").nth(1).click();
            if (width < 1000) {
                await page.click(".panes button:text('Image')");
            }
            await page.waitForSelector("canvas");
            assert.deepEqual(await violations(page), [], `${width} ${colorScheme} image`);
        });
    }
});

const short = (...values) => Buffer.from(Uint16Array.from(values).buffer);

const MR = [element(8, 0x16, "UI", "1.2.840.10008.5.1.4.1.1.4"), element(8, 0x60, "CS", "MR")];

/** Two frames of 4 by 2 pixels, grey. */
function greyImage(...head) {
    const frames = [0, 100, 200, 300, 400, 500, 600, 700, 700, 600, 500, 400, 300, 200, 100, 0];
    return part10(
        ...(head.length > 0 ? head : MR),
        element(0x28, 2, "US", short(1)),
        element(0x28, 4, "CS", "MONOCHROME2"),
        element(0x28, 8, "IS", "2"),
        element(0x28, 0x10, "US", short(2)),
        element(0x28, 0x11, "US", short(4)),
        element(0x28, 0x100, "US", short(16)),
        element(0x28, 0x101, "US", short(12)),
        element(0x28, 0x102, "US", short(11)),
        element(0x28, 0x103, "US", short(0)),
        element(0x28, 0x1050, "DS", "300"),
        element(0x28, 0x1051, "DS", "401"),
        element(0x28, 0x1052, "DS", "-100"),
        element(0x28, 0x1053, "DS", "2"),
        element(0x7fe0, 0x10, "OW", short(...frames)),
    );
}

function colourImage() {
    return part10(
        ...MR,
        element(0x28, 2, "US", short(3)),
        element(0x28, 4, "CS", "RGB"),
        element(0x28, 6, "US", short(1)),
        element(0x28, 0x10, "US", short(1)),
        element(0x28, 0x11, "US", short(2)),
        element(0x28, 0x100, "US", short(8)),
        element(0x28, 0x101, "US", short(8)),
        element(0x28, 0x102, "US", short(7)),
        element(0x28, 0x103, "US", short(0)),
        element(0x7fe0, 0x10, "OB", Buffer.from([255, 1, 0, 2, 128, 3])),
    );
}

writeFileSync(join(work, "image.dcm"), greyImage());

/** The red, green and blue of all pixels that are drawn. */
function drawn(page) {
    return page.evaluate(() => {
        const canvas = document.querySelector("canvas");
        const { data } = canvas.getContext("2d").getImageData(0, 0, canvas.width, canvas.height);
        return [...data].filter((_, i) => i % 4 !== 3);
    });
}

test("images are drawn through their window, frame by frame", async () => {
    // Twice the value less 100, through a window of 100 to 500 (PS3.3 C.11.2.1.2.1).
    const grey = (value) =>
        Math.min(Math.max(((2 * value - 100 - 299.5) / 400 + 0.5) * 255, 0), 255);
    await withPage({}, async (page) => {
        await choose(page, [join(work, "image.dcm")]);
        await page.waitForFunction(() => document.querySelector("canvas")?.width === 4);
        for (const name of ["Frame of 2", "Window centre", "Window width"]) {
            assert.equal(await page.getByRole("slider", { name, exact: true }).count(), 1, name);
        }
        const first = await drawn(page);
        const expected = [0, 100, 200, 300, 400, 500, 600, 700].map(grey);
        expected.forEach((value, i) => assert.ok(Math.abs(first[3 * i] - value) <= 1, `${i}`));
        await page.locator(".slider input").first().fill("2");
        await page.waitForFunction(() =>
            /^Frame 2 of 2/.test(document.querySelector("canvas").ariaLabel),
        );
        await page.waitForTimeout(200);
        const second = await drawn(page);
        expected
            .reverse()
            .forEach((value, i) => assert.ok(Math.abs(second[3 * i] - value) <= 1, `${i}`));
        const file = join(work, "colour.dcm");
        writeFileSync(file, colourImage());
        await choose(page, [file]);
        await page.waitForFunction(() => document.querySelector("canvas")?.width === 2);
        assert.deepEqual(await drawn(page), [255, 0, 128, 1, 2, 3]);
    });
});

test("images that may show who somebody is are hidden until they are asked for", async () => {
    const [mr, us, sc] = ["4", "6.1", "7"].map((end) => `1.2.840.10008.5.1.4.1.1.${end}`);
    // SOP class, modality, image type, burned in annotation, recognizable features, hidden
    const rows = [
        [mr, "MR", "ORIGINAL\\PRIMARY", "", "", false],
        [mr, "mr", "", "no", "", false],
        [us, "US", "", "NO", "NO", false],
        [mr, "MR", "", "YES", "", true],
        [mr, "MR", "", "yes", "", true],
        [mr, "MR", "", "N", "", true],
        [mr, "MR", "", "NO", "YES", true],
        [mr, "MR", "DERIVED\\SECONDARY", "", "", true],
        [mr, "MR", "ORIGINAL\\PRIMARY\\SCREEN SAVE", "", "", true],
        [mr, "US", "", "", "", true],
        [mr, "", "", "", "", true],
        [us, "us", "", "", "", true],
        [sc, "MR", "", "", "", true],
        ["1.2.3", "MR", "", "", "", true],
        ["", "MR", "", "", "", true],
    ];
    await withPage({}, async (page) => {
        for (const [i, row] of rows.entries()) {
            const [sopClass, modality, type, burned, features, hidden] = row;
            const file = join(work, `identity${i}.dcm`);
            const head = [
                [8, 8, "CS", type],
                [8, 0x16, "UI", sopClass],
                [8, 0x60, "CS", modality],
                [0x28, 0x301, "CS", burned],
                [0x28, 0x302, "CS", features],
            ];
            const elements = head.filter(([, , , value]) => value).map((one) => element(...one));
            writeFileSync(file, greyImage(...elements));
            await choose(page, [file]);
            await page.locator(".file.selected", { hasText: `identity${i}.dcm` }).waitFor();
            await page
                .locator(hidden ? ".image .none" : ".image canvas")
                .first()
                .waitFor();
            assert.equal(await page.locator("canvas").count(), hidden ? 0 : 1, row.join());
        }
    });
});

/** The lines of bytes that are shown, and what is marked of them. */
function bytesShown(page, inside) {
    return page.locator(`${inside} .hex-bytes`).evaluateAll((all) =>
        all.map((line) => ({
            text: line.textContent,
            marked: [...line.querySelectorAll("mark")].map((mark) => mark.textContent).join(),
        })),
    );
}

test("bytes of an element are those of its header and value, each in its column", async () => {
    const item = Buffer.from([0xfe, 0xff, 0, 0xe0, 0, 0, 0, 0]);
    const elements = [
        element(8, 0x60, "CS", "MR"),
        element(8, 0x1140, "SQ", Buffer.concat([item, item, item])),
        element(0x10, 0x4000, "LT", "some words that go beyond one line"),
        element(0x18, 0x9810, "UT", "words of a long header"),
    ];
    const bytes = Buffer.concat(elements);
    const file = join(work, "bytes.dcm");
    writeFileSync(file, bytes);
    const marked = [elements[0], elements[1].subarray(0, 12), elements[2], elements[3]];
    await withPage({}, async (page) => {
        await choose(page, [file]);
        await page.click("label.reveal");
        let offset = 0;
        for (const [i, tag] of ["0008,0060", "0008,1140", "0010,4000", "0018,9810"].entries()) {
            await page.locator("[role=row]", { hasText: tag }).click();
            const summary = page.getByText(`Bytes of the file, at ${offset}`, { exact: true });
            await summary.waitFor();
            await page.locator(".chosen details").evaluate((details) => (details.open = true));
            await page.waitForSelector(".chosen .hex mark");
            const lines = await bytesShown(page, ".chosen");
            const start = Math.max(Math.floor(offset / 16) * 16 - 32, 0);
            const hex = (part) => part.toString("hex").replace(/(..)(?=.)/g, "$1 ");
            lines.forEach(({ text, marked: mark }, line) => {
                const at = start + 16 * line;
                assert.equal(text, hex(bytes.subarray(at, at + 16)), `${tag} ${line}`);
                const from = Math.min(Math.max(offset, at), at + 16);
                const to = Math.max(Math.min(offset + marked[i].length, at + 16), from);
                assert.equal(mark, hex(bytes.subarray(from, to)), `${tag} ${line} marked`);
            });
            offset += elements[i].length;
        }
    });
});

test("the active row is in sight whatever becomes of the room", async () => {
    const long = Array.from({ length: 200 }, (_, i) =>
        element(0x11, 0x1000 + i, "LT", "words ".repeat(1 + i)),
    );
    const file = join(work, "rows.dcm");
    writeFileSync(file, part10(element(0x11, 0x10, "LO", "SOME CREATOR"), ...long));
    await withPage({}, async (page) => {
        await choose(page, [file]);
        await page.click("label.reveal");
        const grid = page.locator("[role=treegrid]");
        await grid.focus();
        for (const key of ["ArrowDown", "PageDown", "ArrowUp", "PageUp", "End", "ArrowUp"]) {
            for (let i = 0; i < (key.startsWith("Arrow") ? 40 : 2); ++i) {
                await page.keyboard.press(key);
                await page.waitForFunction(() => {
                    const list = document.querySelector("[role=treegrid]");
                    const row = list.querySelector("[aria-selected=true]");
                    const head = list.querySelector(".head").getBoundingClientRect().bottom;
                    const { top, bottom } = row?.getBoundingClientRect() ?? { top: -1, bottom: 0 };
                    const end = list.getBoundingClientRect().top + list.clientHeight;
                    return top >= head - 1 && bottom <= end + 1;
                });
            }
        }
        // Who looks elsewhere is not taken back.
        await grid.evaluate((list) => (list.scrollTop = 0));
        await page.setViewportSize({ width: 1400, height: 700 });
        await page.waitForTimeout(300);
        assert.equal(await grid.evaluate((list) => list.scrollTop), 0);
    });
});

test("a file of 2.2 GB is listed within 64 MiB", async () => {
    const length = 2_200_000_000;
    const uid = "1.2.840.10008.5.1.4.1.1.4";
    const head = part10(
        element(8, 0x16, "UI", uid),
        element(8, 0x18, "UI", "1.2.3.4"),
        element(8, 0x60, "CS", "MR"),
        element(0x10, 0x20, "LO", "4711"),
    );
    const pixels = Buffer.from([0xe0, 0x7f, 0x10, 0, 0x4f, 0x57, 0, 0, 0, 0, 0, 0]);
    pixels.writeUInt32LE(length, 8);
    const file = join(work, "huge.dcm");
    const descriptor = openSync(file, "w");
    writeSync(descriptor, head);
    writeSync(descriptor, pixels);
    ftruncateSync(descriptor, head.length + pixels.length + length);
    await withPage({ query: "?memory=64" }, async (page) => {
        await choose(page, [file]);
        const all = await rows(page);
        assert.equal(all.at(-1)[4], `${length} B`);
        assert.match(await message(page), /^huge\.dcm: 6 elements/);
    });
});

test("the page looks as it should", { skip: process.env.SCREENSHOTS === undefined }, async () => {
    const folder = process.env.SCREENSHOTS;
    mkdirSync(folder, { recursive: true });
    for (const [width, height, colorScheme] of [
        [1440, 900, "light"],
        [820, 1100, "dark"],
        [390, 844, "light"],
    ]) {
        await withPage({ viewport: { width, height }, colorScheme }, async (page) => {
            const take = (name) => page.screenshot({ path: join(folder, `${width}-${name}.png`) });
            await take("start");
            await choose(page, [damaged, join(work, "image.dcm")]);
            await page.locator(".fault").nth(4).click();
            await take("faults");
            if (width < 1000) {
                await page.click(".panes button:text('Elements')");
                await page.locator("[role=treegrid]").focus();
                await page.waitForTimeout(300);
                await take("elements");
            }
        });
    }
});
