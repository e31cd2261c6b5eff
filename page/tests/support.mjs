/** What the tests share: the native tool, and files to try. */
import { execFileSync, spawnSync } from "node:child_process";
import { mkdtempSync, readdirSync, readFileSync, rmSync, writeFileSync } from "node:fs";
import { tmpdir } from "node:os";
import { dirname, join } from "node:path";
import { fileURLToPath } from "node:url";

export const root = join(dirname(fileURLToPath(import.meta.url)), "..", "..");
export const built = process.env.DICOM_MEND_PAGE ?? join(root, "build", "page");
const tool = process.env.DICOM_MEND_TOOL ?? join(root, "build", "release", "bin", "dicom-mend");

/** A folder for the time of the tests. */
export const work = mkdtempSync(join(tmpdir(), "dicom-mend-page-"));
process.on("exit", () => rmSync(work, { recursive: true, force: true }));

/** Where the native tool runs, so that names without folders are those of the examples. */
const examples = join(root, "examples");

/** Runs the native tool; what it prints, and its exit status. */
export function native(...words) {
    const { status, stdout, error } = spawnSync(tool, words, { cwd: examples, maxBuffer: 1 << 28 });
    if (error) {
        throw error;
    }
    return { status, text: stdout.toString("utf8") };
}

/** A report of the native tool, and its exit status. With -v its lines say also which kind a finding is of. */
export function nativeReport(format, file, module) {
    const words = [
        "check",
        "-v",
        "--format",
        format,
        ...(module ? ["--module", module] : []),
        file,
    ];
    const { status, text } = native(...words);
    const report = format === "text" ? text.replaceAll(/ \[[a-z0-9-]+\]$/gm, "") : text;
    return { status, report };
}

/** The bytes that the native tool writes; null when it writes none. */
export function nativeBytes(...words) {
    const out = join(work, "native.dcm");
    rmSync(out, { force: true });
    spawnSync(tool, [...words, out], { maxBuffer: 1 << 28 });
    try {
        return readFileSync(out);
    } catch {
        return null;
    }
}

/** The sample of the tree, cut and overwritten in many places. */
function generated() {
    const whole = readFileSync(join(root, "examples", "damaged.dcm"));
    const names = [];
    const put = (name, bytes) => {
        names.push(join(work, name));
        writeFileSync(join(work, name), bytes);
    };
    put("whole.dcm", whole);
    for (let at = 100; at < whole.length; at += 397) {
        put(`cut-${at}.dcm`, whole.subarray(0, at));
    }
    for (let at = 130; at < Math.min(whole.length, 1200); at += 23) {
        const bytes = Buffer.from(whole);
        bytes[at] ^= 0x41;
        put(`changed-${at}.dcm`, bytes);
    }
    put("empty.dcm", Buffer.alloc(0));
    put("text.dcm", Buffer.from("This is no such file.\n".repeat(20)));
    return names;
}

/** Real files where there are some, generated ones always. */
export function files() {
    const folder = process.env.LIB_DICOM_SAMPLES;
    const samples = folder
        ? readdirSync(folder)
              .filter((name) => name.endsWith(".dcm"))
              .sort()
              .map((name) => join(folder, name))
        : [];
    return [...samples, ...generated()];
}

const EXPLICIT_LITTLE = "1.2.840.10008.1.2.1";

/** An element in explicit VR little endian. */
export function element(group, number, vr, value) {
    const bytes = Buffer.isBuffer(value) ? value : Buffer.from(value);
    const padding = vr === "UI" || vr.startsWith("O") || vr === "UN" ? 0 : 0x20;
    const even = bytes.length % 2 ? Buffer.concat([bytes, Buffer.from([padding])]) : bytes;
    const isLong = ["OB", "OW", "UN", "UT", "SQ", "UC", "UR"].includes(vr);
    const head = Buffer.alloc(isLong ? 12 : 8);
    head.writeUInt16LE(group, 0);
    head.writeUInt16LE(number, 2);
    head.write(vr, 4, "latin1");
    if (isLong) {
        head.writeUInt32LE(even.length, 8);
    } else {
        head.writeUInt16LE(even.length, 6);
    }
    return Buffer.concat([head, even]);
}

/** A Part 10 file of elements that are in order. */
export function part10(...elements) {
    const meta = element(2, 0x10, "UI", EXPLICIT_LITTLE);
    return Buffer.concat([Buffer.alloc(128), Buffer.from("DICM"), meta, ...elements]);
}

export function unzip(archive, folder) {
    execFileSync("python3", ["-m", "zipfile", "-e", archive, folder]);
}
