/**
 * Measures the page: what it loads, how soon it is seen, and checks beside those of the native tool.
 *
 *     node page/measure.mjs [BUILD]      default: build; scripts/test_page builds what is measured
 *
 * Times are the best of several runs: of the native tool processor seconds, user and system; of the library in Node.js
 * those of the call, with what
 * other threads do meanwhile: the first one has the module compiled. In the page it is time that passes.
 */
import { execFileSync } from "node:child_process";
import { mkdtempSync, readdirSync, readFileSync, rmSync, statSync, writeFileSync } from "node:fs";
import { tmpdir } from "node:os";
import { join, resolve } from "node:path";
import { gzipSync } from "node:zlib";
import { chromium } from "playwright-core";
import { serve } from "./serve.mjs";
import { element, part10 } from "./tests/support.mjs";

const build = resolve(process.argv[2] ?? "build");
const site = join(build, "page", "site");
const tool = join(build, "release", "bin", "dicom-mend");
const { load } = await import(join(build, "page", "package", "dist", "node.js"));
const folder = mkdtempSync(join(tmpdir(), "dicom-mend-measure-"));
const RUNS = 5;

function print(...cells) {
    console.log(`| ${cells.join(" | ")} |`);
}

function sizes() {
    let all = 0;
    for (const name of readdirSync(site)) {
        const bytes = readFileSync(join(site, name));
        const packed = name.endsWith(".gz") ? bytes.length : gzipSync(bytes, { level: 9 }).length;
        all += packed;
        print(name.padEnd(22), `${String(Math.ceil(packed / 1024)).padStart(5)} KiB packed`);
    }
    print("all".padEnd(22), `${String(Math.ceil(all / 1024)).padStart(5)} KiB packed`);
}

const short = (value) => Buffer.from(Uint16Array.of(value).buffer);

function item(...elements) {
    const inner = Buffer.concat(elements);
    const head = Buffer.from([0xfe, 0xff, 0, 0xe0, 0, 0, 0, 0]);
    head.writeUInt32LE(inner.length, 4);
    return Buffer.concat([head, inner]);
}

const common = [
    element(8, 0x16, "UI", "1.2.840.10008.5.1.4.1.1.4"),
    element(8, 0x18, "UI", "1.2.3.4"),
    element(8, 0x60, "CS", "MR"),
];

/** 100 MB of pixels. */
function image() {
    const side = 7072;
    return part10(
        ...common,
        element(0x28, 2, "US", short(1)),
        element(0x28, 4, "CS", "MONOCHROME2"),
        element(0x28, 0x10, "US", short(side)),
        element(0x28, 0x11, "US", short(side)),
        element(0x28, 0x100, "US", short(16)),
        element(0x28, 0x101, "US", short(16)),
        element(0x28, 0x102, "US", short(15)),
        element(0x28, 0x103, "US", short(0)),
        element(0x7fe0, 0x10, "OW", Buffer.alloc(2 * side * side, 7)),
    );
}

/** 100 MB in items of some small elements and a value of 4 KiB each, half of them with a fault. */
function items() {
    const all = [];
    for (let i = 0; i < 24_000; ++i) {
        all.push(
            item(
                element(8, 0x1150, "UI", "1.2.840.10008.5.1.4.1.1.4"),
                element(8, 0x1155, "UI", `1.2.3.${i}`),
                element(0x20, 0x13, "IS", i % 2 ? String(i) : `${i}.0`),
                element(0x28, 0x30, "DS", "0.5\\0.5"),
                element(0x42, 0x11, "OB", Buffer.alloc(4096, i)),
            ),
        );
    }
    return part10(...common, element(8, 0x1140, "SQ", Buffer.concat(all)));
}

/** Processor seconds of the native tool. */
function native(file) {
    const script = 'TIMEFORMAT="%U %S"; time "$@" >/dev/null 2>&1';
    const all = Array.from({ length: RUNS }, () => {
        const words = ["-c", `{ ${script}; } 2>&1 || true`, "bash", tool, "check", file];
        const [user, system] = execFileSync("bash", words).toString().trim().split(" ");
        return Number(user) + Number(system);
    });
    return Math.min(...all);
}

function reading(file) {
    const all = Array.from({ length: RUNS }, () => {
        const before = process.cpuUsage();
        readFileSync(file);
        const { user, system } = process.cpuUsage(before);
        return (user + system) / 1e6;
    });
    return Math.min(...all);
}

async function checks() {
    for (const [name, make] of [
        ["100 MB of pixels", image],
        ["100 MB in 120,000 elements", items],
    ]) {
        const file = join(folder, "file.dcm");
        writeFileSync(file, make());
        const library = await load();
        const all = Array.from({ length: RUNS }, () => {
            const before = process.cpuUsage();
            library.check(file);
            const { user, system } = process.cpuUsage(before);
            return (user + system) / 1e6;
        });
        const [theirs, read] = [native(file), reading(file)];
        const seconds = (value) => value.toFixed(3);
        const limit = 1.5 * theirs + read;
        const shown = await checkedInPage(file);
        print(
            name.padEnd(28),
            `native ${seconds(theirs)} s`,
            `reading ${seconds(read)} s`,
            `limit ${seconds(limit)} s`,
            `first ${seconds(all[0])} s`,
            `best ${seconds(Math.min(...all))} s`,
            `in the page seen after ${shown.seen} ms, checked after ${shown.checked} ms`,
            `${library.memorySize >> 20} MiB of memory, file of ${statSync(file).size >> 20} MiB`,
        );
    }
}

/** How long it takes from the choice of a file until its elements are seen, and until it is checked. */
async function checkedInPage(file) {
    const page = await browser.newPage();
    await page.goto(address);
    await page.waitForSelector("html[data-ready]");
    const started = performance.now();
    const since = () => Math.round(performance.now() - started);
    await page.locator("input.chooser").first().setInputFiles([file]);
    await page.waitForSelector(".elements [role=row] + [role=row], .elements .rows [role=row]");
    const seen = since();
    await page.waitForFunction(() =>
        /faults$/.test(document.querySelector(".message").textContent),
    );
    const checked = since();
    await page.close();
    return { seen, checked };
}

async function views() {
    const times = [];
    for (let i = 0; i < RUNS; ++i) {
        const context = await browser.newContext();
        const page = await context.newPage();
        await page.addInitScript(() => {
            new MutationObserver(() => {
                window.seen ??= document.querySelector(".invitation")
                    ? performance.now()
                    : undefined;
                window.ready ??= document.querySelector("[data-ready]")
                    ? performance.now()
                    : undefined;
            }).observe(document, { childList: true, subtree: true, attributes: true });
        });
        await page.goto(address);
        await page.waitForSelector("html[data-ready]");
        times.push(await page.evaluate(() => [window.seen, window.ready]));
        await context.close();
    }
    const best = (which) => Math.min(...times.map((one) => one[which])).toFixed(0);
    print("first view", `seen after ${best(0)} ms, ready for files after ${best(1)} ms`);
}

const server = await serve(site);
const address = `http://127.0.0.1:${server.address().port}/`;
const browser = await chromium.launch({
    executablePath: process.env.CHROMIUM ?? "/usr/bin/chromium",
    args: ["--no-sandbox"],
});
try {
    sizes();
    await views();
    await checks();
} finally {
    await browser.close();
    server.close();
    rmSync(folder, { recursive: true, force: true });
}
process.exit(0);
