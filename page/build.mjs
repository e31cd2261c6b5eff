/**
 * Makes the npm package in OUT/package and the page in OUT/site: node build.mjs MODULE OUT
 *
 * MODULE is the folder with dicom_mend.mjs and dicom_mend.wasm, as the preset wasm makes them.
 */
import { execFileSync } from "node:child_process";
import { createHash } from "node:crypto";
import { cpSync, mkdirSync, readdirSync, readFileSync, rmSync, writeFileSync } from "node:fs";
import { dirname, join, relative, resolve } from "node:path";
import { fileURLToPath } from "node:url";
import { gzipSync } from "node:zlib";
import { build } from "esbuild";

const here = dirname(fileURLToPath(import.meta.url));
const [module, out] = process.argv.slice(2).map((path) => resolve(path));
const [pack, site] = [join(out, "package"), join(out, "site")];

/** All definition files as one packed text of JSON: together they are small, apart they are many. */
function definitions() {
    const root = join(here, "..", "definitions");
    const texts = {};
    const walk = (folder) => {
        for (const entry of readdirSync(folder, { withFileTypes: true })) {
            const path = join(folder, entry.name);
            if (entry.isDirectory()) {
                walk(path);
            } else {
                texts[relative(root, path)] = readFileSync(path, "utf8");
            }
        }
    };
    walk(root);
    const sorted = Object.fromEntries(Object.entries(texts).sort(([a], [b]) => (a < b ? -1 : 1)));
    return gzipSync(JSON.stringify(sorted), { level: 9 });
}

function makePackage() {
    rmSync(pack, { recursive: true, force: true });
    const dist = join(pack, "dist");
    mkdirSync(dist, { recursive: true });
    cpSync(join(here, "library", "package.json"), join(pack, "package.json"));
    cpSync(join(here, "library", "README.md"), join(pack, "README.md"));
    cpSync(join(here, "..", "LICENSE"), join(pack, "LICENSE"));
    const compiler = join(here, "node_modules", "typescript", "bin", "tsc");
    const project = join(here, "library", "tsconfig.json");
    execFileSync(process.execPath, [compiler, "-p", project, "--outDir", dist], {
        stdio: "inherit",
    });
    cpSync(join(here, "library", "src", "dicom_mend.d.mts"), join(dist, "dicom_mend.d.mts"));
    for (const name of ["dicom_mend.mjs", "dicom_mend.wasm"]) {
        cpSync(join(module, name), join(dist, name));
    }
    writeFileSync(join(dist, "definitions.json.gz"), definitions());
}

/** The files of the page but the service worker, which keeps them all. */
async function makePage() {
    rmSync(site, { recursive: true, force: true });
    mkdirSync(site, { recursive: true });
    const dist = join(pack, "dist");
    const common = {
        bundle: true,
        minify: true,
        format: "esm",
        target: "es2022",
        jsx: "automatic",
        jsxImportSource: "preact",
        alias: { "dicom-mend": join(dist, "browser.js") },
        legalComments: "none",
        logLevel: "warning",
    };
    await build({
        ...common,
        entryPoints: [join(here, "app", "main.tsx"), join(here, "app", "worker.ts")],
        outdir: site,
    });
    for (const name of [
        "index.html",
        "style.css",
        "elements.css",
        "manifest.webmanifest",
        "icon.svg",
    ]) {
        cpSync(join(here, "app", name), join(site, name));
    }
    cpSync(join(dist, "definitions.json.gz"), join(site, "definitions.json.gz"));
    const wasm = readFileSync(join(dist, "dicom_mend.wasm"));
    writeFileSync(join(site, "dicom_mend.wasm.gz"), gzipSync(wasm, { level: 9 }));
    const names = readdirSync(site).sort();
    const sum = createHash("sha256");
    names.forEach((name) => sum.update(name).update(readFileSync(join(site, name))));
    await build({
        ...common,
        // Not all browsers take service workers that are modules.
        format: "iife",
        entryPoints: [join(here, "app", "service_worker.ts")],
        outdir: site,
        define: {
            FILES: JSON.stringify(["./", ...names]),
            SUM: JSON.stringify(sum.digest("hex").slice(0, 16)),
        },
    });
}

makePackage();
await makePage();
