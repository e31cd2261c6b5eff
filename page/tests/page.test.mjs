/** The page in a browser: what it shows, and that it hands out the bytes of the command line. */
import assert from "node:assert/strict";
import { copyFileSync, mkdirSync, readFileSync, writeFileSync } from "node:fs";
import { basename, join } from "node:path";
import { after, test } from "node:test";
import {
    choose,
    downloaded,
    drop,
    message,
    ready,
    rows,
    settled,
    stop,
    withPage,
} from "./browser.mjs";
import {
    element,
    files,
    nativeBytes,
    nativeReport,
    part10,
    root,
    unzip,
    work,
} from "./support.mjs";

after(stop);

const damaged = join(root, "examples", "damaged.dcm");
const all = files().filter((file) => !/changed-|cut-|empty|text/.test(basename(file)));

/** So large that its pixels are handed on as a part of the file. */
const large = join(work, "pixels.dcm");
writeFileSync(
    large,
    part10(
        element(8, 0x60, "CS", "MR"),
        element(
            0x7fe0,
            0x10,
            "OW",
            Buffer.from(Uint32Array.from({ length: 1_600_000 }, (_, i) => i * 2654435761).buffer),
        ),
    ),
);
all.push(large);

/** The findings of the command line, as objects. */
function findingsOf(file) {
    const { report } = nativeReport("json", file, "auto");
    return report
        .split("\n")
        .filter(Boolean)
        .map((line) => JSON.parse(line));
}

function same(ours, theirs, about) {
    assert.ok(theirs !== null && Buffer.compare(ours, theirs) === 0, `${about}: other bytes`);
}

test("each file shows its faults, and is mended to the bytes of the command line", async () => {
    await withPage({}, async (page) => {
        for (const file of all) {
            await choose(page, [file]);
            const places = await page.locator(".fault-place").allTextContents();
            const theirs = findingsOf(file);
            assert.deepEqual(
                places,
                theirs.slice(0, 300).map(({ path }) => path ?? ""),
                file,
            );
            const { name, bytes } = await downloaded(page, () => page.click("button.main"));
            assert.match(name, /-mended\.dcm$/);
            same(bytes, nativeBytes("mend", "--force", file), file);
        }
    });
});

test("a dropped folder is mended to an archive with its folders", async () => {
    const folder = join(work, "study");
    mkdirSync(join(folder, "inner"), { recursive: true });
    copyFileSync(damaged, join(folder, "a.dcm"));
    copyFileSync(all[0], join(folder, "inner", "Bild ä.dcm"));
    writeFileSync(join(folder, "notes.txt"), "no such file");
    await withPage({}, async (page) => {
        await drop(page, [folder]);
        assert.equal(await page.locator(".file").count(), 3);
        const { name, bytes } = await downloaded(page, () => page.click("text=Mend all"));
        assert.equal(name, "mended.zip");
        assert.equal(
            await message(page),
            "mended.zip is downloaded: 2 of 3 files; not mended, and not in it: study/notes.txt",
        );
        const [archive, out] = [join(work, "mended.zip"), join(work, "unzipped")];
        writeFileSync(archive, bytes);
        unzip(archive, out);
        for (const path of ["study/a.dcm", "study/inner/Bild ä.dcm"]) {
            same(
                readFileSync(join(out, path)),
                nativeBytes("mend", "--force", join(work, path)),
                path,
            );
        }
    });
});

/** What a folder of the browser's own holds, as texts of its bytes. */
function held(page) {
    return page.evaluate(async () => {
        const all = {};
        for await (const [name, handle] of await navigator.storage.getDirectory()) {
            const bytes = new Uint8Array(await (await handle.getFile()).arrayBuffer());
            all[name] = Array.from(bytes, (byte) => String.fromCharCode(byte)).join("");
        }
        return all;
    });
}

/** Clicks on "Mend", and waits for what is told of it. */
async function mendAndTell(page, words) {
    await page.click("button.main");
    await page.waitForFunction(
        (wanted) => document.querySelector(".message").textContent.includes(wanted),
        words,
    );
    return message(page);
}

test("where the browser writes files, the bytes go to the chosen folder, which loses nothing", async () => {
    await withPage({ keepPicker: true }, async (page) => {
        await page.evaluate(async () => {
            // A file that is chosen is empty from then on, whichever it is.
            window.showSaveFilePicker = () => Promise.reject(new Error("no file may be chosen"));
            window.showDirectoryPicker = () => navigator.storage.getDirectory();
            const folder = await navigator.storage.getDirectory();
            const handle = await folder.getFileHandle("pixels-mended.dcm", { create: true });
            const old = await handle.createWritable();
            await old.write("an old file");
            await old.close();
            await folder.getDirectoryHandle("pixels-mended-2.dcm", { create: true });
        });
        await choose(page, [large]);
        assert.equal(await mendAndTell(page, "saved"), "pixels-mended-3.dcm is saved");
        await page.evaluate(async () => {
            const folder = await navigator.storage.getDirectory();
            await folder.removeEntry("pixels-mended-2.dcm");
        });
        const { "pixels-mended-3.dcm": written, ...others } = await held(page);
        same(Buffer.from(written, "latin1"), nativeBytes("mend", "--force", large), "saved");
        assert.deepEqual(others, { "pixels-mended.dcm": "an old file" });
        // What cannot be mended or written leaves nothing behind.
        const before = Object.keys(await held(page));
        const file = join(work, "gone.dcm");
        copyFileSync(damaged, file);
        await choose(page, [file]);
        writeFileSync(file, "");
        assert.match(await mendAndTell(page, "read"), /cannot be read|could not be read/);
        assert.deepEqual(Object.keys(await held(page)), before);
        await choose(page, [damaged]);
        await page.evaluate(() => {
            FileSystemFileHandle.prototype.createWritable = async () =>
                new WritableStream({
                    write() {
                        throw new Error("the disk is full");
                    },
                });
        });
        assert.equal(await mendAndTell(page, "disk"), "the disk is full");
        assert.deepEqual(Object.keys(await held(page)), before);
        await page.evaluate(() => {
            window.showDirectoryPicker = async () => {
                throw new DOMException("", "AbortError");
            };
        });
        assert.equal(await mendAndTell(page, "not saved"), "damaged-mended.dcm is not saved");
    });
});

test("each file is checked, also where another one is opened meanwhile", async () => {
    await withPage({}, async (page) => {
        const bytes = readFileSync(damaged).toString("latin1");
        // All in one turn: the second choice comes before the first file is seen.
        await page.evaluate((text) => {
            const input = document.querySelector("input.chooser");
            const content = Uint8Array.from(text, (letter) => letter.charCodeAt(0));
            for (const names of [["a.dcm", "b.dcm"], ["c.dcm"]]) {
                const transfer = new DataTransfer();
                names.forEach((name) => transfer.items.add(new File([content], name)));
                input.files = transfer.files;
                input.dispatchEvent(new Event("change", { bubbles: true }));
            }
        }, bytes);
        await page.waitForSelector(".fault");
        await settled(page);
        const states = await page.locator(".file-state").allTextContents();
        assert.equal(states.length, 3);
        for (const state of states) {
            assert.match(state, /sound|error|warning/);
        }
    });
});

test("options and reports are those of the command line", async () => {
    await withPage({}, async (page) => {
        await choose(page, [damaged]);
        await page.click("summary:text('Options')");
        await page.click("label:has-text('Convert texts to UTF-8')");
        const { bytes } = await downloaded(page, () => page.click("button.main"));
        same(bytes, nativeBytes("mend", "--force", "--to-utf8", damaged), "UTF-8");
        await page.click("summary:text('Report')");
        for (const [label, format] of [
            ["As text", "text"],
            ["As JSON", "json"],
            ["As SARIF", "sarif"],
        ]) {
            const report = await downloaded(page, () => page.click(`button:text('${label}')`));
            const theirs = nativeReport(format, "damaged.dcm", "auto").report;
            assert.ok(report.bytes.toString("utf8") === theirs, `${format}: another report`);
        }
    });
});

const NAME = "Nobody^Knows";

test("personal values are hidden until they are asked for", async () => {
    const file = join(work, "person.dcm");
    writeFileSync(
        file,
        part10(
            element(8, 0x60, "CS", "MR"),
            element(0x10, 0x10, "PN", NAME),
            element(0x10, 0x30, "DA", "1970.01.02"),
            element(0x18, 0x50, "DS", "2.5"),
        ),
    );
    await withPage({}, async (page) => {
        await page.addInitScript(() => {
            window.told = [];
            window.Worker = class extends Worker {
                constructor(...parameters) {
                    super(...parameters);
                    this.addEventListener("message", ({ data }) => window.told.push(data));
                }
            };
        });
        await page.reload();
        await ready(page);
        await choose(page, [file]);
        const shown = () => page.evaluate(() => document.documentElement.outerHTML);
        await page.locator(".fault", { hasText: "0010,0030" }).first().click();
        await page.locator("[role=row]", { hasText: "0010,0010" }).click();
        await page.waitForFunction(() => document.querySelectorAll(".hidden-value").length > 1);
        assert.ok(!(await shown()).includes(NAME));
        assert.ok(!(await shown()).includes("1970.01.02"));
        const told = await page.evaluate(() =>
            JSON.stringify(window.told, (_, value) =>
                ArrayBuffer.isView(value)
                    ? String.fromCharCode(...new Uint8Array(value.buffer))
                    : value,
            ),
        );
        assert.match(told, /PatientBirthDate|0010,0030/);
        for (const text of [NAME, "1970.01.02", "19700102"]) {
            assert.ok(!told.includes(text), text);
        }
        assert.match(
            await page.locator("[role=row]", { hasText: "0018,0050" }).textContent(),
            /2\.5 mm/,
        );
        await page.fill("input[type=search]", "nobody");
        await page.waitForFunction(() =>
            /elements found/.test(document.querySelector(".message").textContent),
        );
        assert.equal(await message(page), "0 elements found");
        // What may be looked at is searched anew.
        await page.click("label.reveal");
        await page.waitForFunction(() =>
            /1 element found/.test(document.querySelector(".message").textContent),
        );
        await page.click("label.reveal");
        await page.waitForFunction(() =>
            /0 elements found/.test(document.querySelector(".message").textContent),
        );
        await page.fill("input[type=search]", "");
        await page.click("label.reveal");
        await page.waitForFunction((name) => document.body.textContent.includes(name), NAME);
        assert.ok((await page.locator(".side").first().textContent()).includes("1970.01.02"));
        assert.equal(await page.locator(".side .letters").nth(1).textContent(), "19700102");
        await page.locator(".detail summary").click();
        await page.waitForSelector(".detail .hex mark");
        const marked = await page.locator(".detail .hex mark").allTextContents();
        const header = Buffer.concat([
            Buffer.from([0x10, 0, 0x30, 0]),
            Buffer.from("DA\n\0" + "1970.01.02"),
        ]);
        assert.equal(marked.join("").replaceAll(" ", ""), header.toString("hex"));
        await page.fill("input[type=search]", "nobody");
        await page.waitForFunction(() =>
            /1 element found/.test(document.querySelector(".message").textContent),
        );
    });
});

test("a file that the page has no memory for is told of, and the page goes on", async () => {
    const elements = [];
    for (let i = 0; i < 120_000; ++i) {
        elements.push(
            element(0x11 + 2 * (i >> 12), 0x1000 + (i & 0xfff), "LO", "a private element"),
        );
    }
    const file = join(work, "large.dcm");
    writeFileSync(file, part10(...elements));
    await withPage({ query: "?memory=24" }, async (page) => {
        await page.locator("input.chooser").first().setInputFiles([file]);
        await page.waitForSelector(".fault-message");
        assert.match(await message(page), /memory .* is not enough/);
        await page.locator("input.chooser").first().setInputFiles([damaged]);
        await page.waitForSelector(".fault-list .fault");
        const { bytes } = await downloaded(page, () => page.click("button.main"));
        same(bytes, nativeBytes("mend", "--force", damaged), "afterwards");
    });
});

test("of 200,000 elements only those in sight exist, and all are reached", async () => {
    const item = (i) => {
        const inner = element(8, 0x1155, "UI", `1.2.3.${i}`);
        const head = Buffer.from([0xfe, 0xff, 0, 0xe0, 0, 0, 0, 0]);
        head.writeUInt32LE(inner.length, 4);
        return Buffer.concat([head, inner]);
    };
    const count = 100_000;
    const items = Buffer.concat(Array.from({ length: count }, (_, i) => item(i)));
    const file = join(work, "many.dcm");
    writeFileSync(file, part10(element(8, 0x60, "CS", "MR"), element(8, 0x1140, "SQ", items)));
    await withPage({}, async (page) => {
        await choose(page, [file]);
        const grid = page.locator("[role=treegrid]");
        assert.equal(await grid.getAttribute("aria-rowcount"), "4");
        await page.click("text=Unfold all");
        const rowCount = String(2 * count + 4);
        await page.waitForFunction(
            (wanted) => document.querySelector("[role=treegrid]").ariaRowCount === wanted,
            rowCount,
        );
        assert.ok((await rows(page)).length < 80);
        await grid.focus();
        await page.keyboard.press("End");
        await page.waitForFunction(
            () => document.querySelector(".row.selected .value")?.textContent !== undefined,
        );
        const last = page.locator("[role=row][aria-selected=true]");
        await page.waitForFunction(() =>
            document.querySelector("[aria-selected=true] .tag")?.textContent.endsWith("0008,1155"),
        );
        assert.equal(await last.getAttribute("aria-rowindex"), rowCount);
        assert.ok((await rows(page)).length < 80);
        await page.click("label.reveal");
        await page.fill("input[type=search]", `1.2.3.${count - 7}`);
        await page.waitForFunction(() =>
            /1 element found/.test(document.querySelector(".message").textContent),
        );
        assert.equal((await rows(page)).length, 3);
    });
});

test("all faults are counted, also those that are not told one by one", async () => {
    const item = (i) => {
        const inner = element(8, 0x20, "DA", `2020.01.${i % 2 ? "01" : "02"}`);
        const head = Buffer.from([0xfe, 0xff, 0, 0xe0, 0, 0, 0, 0]);
        head.writeUInt32LE(inner.length, 4);
        return Buffer.concat([head, inner]);
    };
    const items = Buffer.concat(Array.from({ length: 150 }, (_, i) => item(i)));
    const file = join(work, "counted.dcm");
    writeFileSync(file, part10(element(8, 0x60, "CS", "MR"), element(8, 0x1140, "SQ", items)));
    const others = findingsOf(file).filter(
        ({ kind, severity }) => kind !== "old-syntax" && severity === "warning",
    ).length;
    await withPage({}, async (page) => {
        await choose(page, [file]);
        await page.locator(".file-state", { hasText: "warnings" }).waitFor();
        const state = await page.locator(".file-state").textContent();
        assert.match(state, new RegExp(`(^|, )${150 + others} warnings$`));
    });
});

test("the page works without a network once it was opened", async () => {
    await withPage({}, async (page, context) => {
        await page.evaluate(() => navigator.serviceWorker.ready);
        await page.waitForFunction(() => navigator.serviceWorker.controller !== null);
        await context.setOffline(true);
        await page.reload();
        await ready(page);
        await choose(page, [damaged]);
        const { bytes } = await downloaded(page, () => page.click("button.main"));
        same(bytes, nativeBytes("mend", "--force", damaged), "offline");
    });
});

test("a file that changes while it is open is told of, and the page goes on", async () => {
    const file = join(work, "changing.dcm");
    copyFileSync(damaged, file);
    await withPage({}, async (page) => {
        await choose(page, [file]);
        writeFileSync(file, Buffer.concat([readFileSync(damaged), Buffer.alloc(64)]));
        await page.click("button.main");
        await page.waitForSelector(".fault-message");
        assert.match(await message(page), /cannot be read|could not be read/);
        await choose(page, [damaged]);
        const { bytes } = await downloaded(page, () => page.click("button.main"));
        same(bytes, nativeBytes("mend", "--force", damaged), "afterwards");
    });
});
