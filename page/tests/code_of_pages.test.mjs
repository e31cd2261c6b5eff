/** The code in JavaScript on pages of the documentation, as it stands there. */
import assert from "node:assert/strict";
import { execFileSync } from "node:child_process";
import {
    copyFileSync,
    mkdirSync,
    readFileSync,
    readdirSync,
    symlinkSync,
    writeFileSync,
} from "node:fs";
import { join } from "node:path";
import { test } from "node:test";
import { built, root, work } from "./support.mjs";

const pages = [
    "README.md",
    "page/library/README.md",
    ...readdirSync(join(root, "docs")).map((name) => join("docs", name)),
];

test("code of pages runs", () => {
    const folder = join(work, "code");
    mkdirSync(join(folder, "node_modules"), { recursive: true });
    symlinkSync(join(built, "package"), join(folder, "node_modules", "dicom-mend"));
    copyFileSync(join(root, "examples", "damaged.dcm"), join(folder, "old.dcm"));
    let blocks = 0;
    for (const page of pages.filter((name) => name.endsWith(".md"))) {
        for (const [, code] of readFileSync(join(root, page), "utf8").matchAll(
            /^```js\n(.*?)^```$/gms,
        )) {
            const script = join(folder, `${++blocks}.mjs`);
            const check =
                "if (!(findings.length > 0 && data.length > 0 && model)) process.exit(3);";
            writeFileSync(script, `${code}\n${check}\n`);
            execFileSync(process.execPath, [script], {
                cwd: folder,
                stdio: ["ignore", "pipe", "inherit"],
            });
        }
    }
    assert.ok(blocks >= 2, "no page has code");
});
