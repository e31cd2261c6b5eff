/** A browser without a window, and what tests do with the page in it. */
import assert from "node:assert/strict";
import { readFileSync } from "node:fs";
import { join } from "node:path";
import { chromium } from "playwright-core";
import { serve } from "../serve.mjs";
import { built } from "./support.mjs";

const server = await serve(join(built, "site"));
export const address = `http://127.0.0.1:${server.address().port}/`;
const browser = await chromium.launch({
    executablePath: process.env.CHROMIUM ?? "/usr/bin/chromium",
    args: ["--no-sandbox", "--disable-dev-shm-usage"],
});

export async function stop() {
    await browser.close();
    server.close();
    server.closeAllConnections();
}

/** Downloads go where tests find them: without a window nobody could choose a place. */
const withoutPicker = () => {
    window.showDirectoryPicker = undefined;
};

/**
 * A page of its own for a test. What the browser refuses or complains of fails the test at the end.
 *
 * @param settings  options of the browser's context, `query` of the address, `keepPicker`
 */
export async function withPage(settings, work) {
    const { query = "", keepPicker = false, ...options } = settings;
    const context = await browser.newContext({
        viewport: { width: 1400, height: 900 },
        acceptDownloads: true,
        ...options,
    });
    const complaints = [];
    try {
        const page = await context.newPage();
        page.on("console", (message) => {
            // Tests look at what is drawn, which pages do not.
            const isOurs = /^Canvas2D: .*getImageData/.test(message.text());
            if (["error", "warning"].includes(message.type()) && !isOurs) {
                complaints.push(message.text());
            }
        });
        page.on("pageerror", (error) => complaints.push(String(error)));
        page.on("dialog", (dialog) => {
            complaints.push(dialog.message());
            void dialog.dismiss();
        });
        if (!keepPicker) {
            await page.addInitScript(withoutPicker);
        }
        await page.goto(address + query);
        await ready(page);
        await work(page, context);
        assert.deepEqual(complaints, []);
    } finally {
        await context.close();
    }
}

export async function ready(page) {
    await page.waitForSelector("html[data-ready]");
}

/** Chooses files, and waits until the first one is seen and the others are checked. */
export async function choose(page, files) {
    await page.locator("input.chooser").first().setInputFiles(files);
    await settled(page);
}

/** Waits until nothing is read any more. */
export async function settled(page) {
    await page.waitForFunction(() => {
        const states = [...document.querySelectorAll(".file-state")].map(
            (state) => state.textContent,
        );
        const busy = states.some((state) => ["waits", "is read"].includes(state));
        return states.length > 0 && !busy && document.querySelector(".reading") === null;
    });
}

/** Lets go of files or folders over the page, as a mouse does. */
export async function drop(page, paths) {
    const session = await page.context().newCDPSession(page);
    const data = { items: [], files: paths, dragOperationsMask: 1 };
    for (const type of ["dragEnter", "dragOver", "drop"]) {
        await session.send("Input.dispatchDragEvent", { type, x: 300, y: 300, data });
    }
    await settled(page);
}

/** The bytes that a click downloads. */
export async function downloaded(page, click) {
    const [download] = await Promise.all([page.waitForEvent("download"), click()]);
    return { name: download.suggestedFilename(), bytes: readFileSync(await download.path()) };
}

export function message(page) {
    return page.locator(".message").textContent();
}

/** The rows of the tree that exist, as texts of their cells. */
export function rows(page) {
    return page
        .locator("[role=treegrid] .rows [role=row]")
        .evaluateAll((all) => all.map((row) => [...row.children].map((cell) => cell.textContent)));
}
