/** The page by the keyboard: the tree and the menus. */
import assert from "node:assert/strict";
import { writeFileSync } from "node:fs";
import { join } from "node:path";
import { after, test } from "node:test";
import { choose, rows, stop, withPage } from "./browser.mjs";
import { element, part10, root, work } from "./support.mjs";

after(stop);

const damaged = join(root, "examples", "damaged.dcm");

test("the tree is gone through by the keyboard", async () => {
    const inner = element(8, 0x1155, "UI", "1.2.3");
    const head = Buffer.from([0xfe, 0xff, 0, 0xe0, inner.length, 0, 0, 0]);
    const file = join(work, "keys.dcm");
    writeFileSync(
        file,
        part10(
            element(8, 0x60, "CS", "MR"),
            element(8, 0x1140, "SQ", Buffer.concat([head, inner])),
        ),
    );
    await withPage({}, async (page) => {
        await choose(page, [file]);
        const grid = page.locator("[role=treegrid]");
        const active = async () => {
            const id = await grid.getAttribute("aria-activedescendant");
            return page.locator(`#${id} .tag`).innerText();
        };
        await grid.focus();
        assert.equal(await active(), "0002,0010");
        await page.keyboard.press("ArrowDown");
        await page.keyboard.press("ArrowDown");
        assert.match(await active(), /0008,1140/);
        await page.keyboard.press("ArrowLeft");
        assert.equal((await rows(page)).length, 3);
        await page.keyboard.press("ArrowRight");
        await page.keyboard.press("End");
        assert.equal(await active(), "0008,1155");
        await page.keyboard.press("ArrowLeft");
        await page.keyboard.press("ArrowLeft");
        await page.keyboard.press("ArrowLeft");
        assert.match(await active(), /0008,1140/);
        await page.keyboard.press("Home");
        assert.equal(await active(), "0002,0010");
        // A search opens what it finds, which folds as ever; what was folded before is so again.
        await page.getByText("Fold all", { exact: true }).click();
        const search = page.locator("input[type=search]");
        for (const text of ["00081155", "0008,1155", "(0008,1155)"]) {
            await search.fill("none of them");
            await page.waitForFunction(() =>
                /^0 elements/.test(document.querySelector(".message").textContent),
            );
            await search.fill(text);
            await page.waitForFunction(() =>
                /^1 element found/.test(document.querySelector(".message").textContent),
            );
            assert.equal((await rows(page)).length, 3, text);
        }
        await page.locator("[role=row]", { hasText: "0008,1140" }).click();
        await grid.focus();
        await page.keyboard.press("ArrowLeft");
        assert.equal((await rows(page)).length, 1);
        await page.keyboard.press("ArrowRight");
        assert.equal((await rows(page)).length, 3);
        await search.fill("");
        await page.waitForFunction(() => document.querySelectorAll(".rows .row").length === 3);
        assert.equal((await rows(page)).at(-1)[4], "1 item");
    });
});

test("menus close by Escape and by a click elsewhere", async () => {
    await withPage({}, async (page) => {
        await choose(page, [damaged]);
        const open = () =>
            page
                .locator("details.menu[open] summary")
                .evaluateAll((all) => all.map((one) => one.textContent));
        await page.click("summary:text('Options')");
        await page.click("label:has-text('Convert texts to UTF-8')");
        assert.deepEqual(await open(), ["Options"]);
        await page.keyboard.press("Escape");
        assert.deepEqual(await open(), []);
        assert.equal(await page.evaluate(() => document.activeElement.textContent), "Options");
        await page.click("summary:text('Options')");
        await page.click("summary:text('Report')");
        assert.deepEqual(await open(), ["Report"]);
        await page.click("h1");
        assert.deepEqual(await open(), []);
    });
});
