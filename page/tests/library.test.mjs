/** The package against the native command line: what both find and write is the same. */
import assert from "node:assert/strict";
import { execFileSync } from "node:child_process";
import { mkdirSync, readFileSync, symlinkSync, writeFileSync } from "node:fs";
import { join } from "node:path";
import { test } from "node:test";
import {
    built,
    element,
    files,
    native,
    nativeBytes,
    nativeReport,
    part10,
    root,
    work,
} from "./support.mjs";

const { BytesContent, load, Status } = await import(join(built, "package", "dist", "node.js"));
const library = await load();
const all = files();

/** Tells which file it was, and not its bytes. */
function sameBytes(ours, theirs, about) {
    const same =
        ours === null || theirs === null ? ours === theirs : Buffer.compare(ours, theirs) === 0;
    assert.ok(same, `${about}: other bytes than the command line writes`);
}

test("findings are those of the command line", () => {
    for (const file of all) {
        for (const module of [undefined, "auto"]) {
            for (const format of ["text", "json", "sarif"]) {
                const { status, report } = nativeReport(format, file, module);
                const result = library.check(file, { module, report: { format, file } });
                assert.ok(result.report === report, `${file} ${module} ${format}: another report`);
                assert.equal(result.outcome, status, file);
            }
        }
    }
});

test("findings as objects say what the report says", () => {
    for (const file of all) {
        const report = { format: "json", file, showValues: true };
        const result = library.check(file, { report });
        const lines = result.report
            .split("\n")
            .filter(Boolean)
            .map((line) => JSON.parse(line));
        assert.equal(result.findings.length, lines.length);
        result.findings.forEach((finding, i) => {
            const line = lines[i];
            const { kind, severity, path, rule, clause, offset, length } = finding;
            assert.deepEqual(
                { kind, severity, path, rule, clause, offset, length },
                {
                    kind: line.kind,
                    severity: line.severity,
                    path: line.path ?? "",
                    rule: line.rule,
                    clause: line.clause,
                    offset: line.offset ?? null,
                    length: line.length ?? null,
                },
            );
            assert.equal(finding.tag === null, line.tag === undefined);
        });
    }
});

const WRITING = [
    [{}, []],
    [{ strict: true }, ["--strict"]],
    [{ replaceUids: true, padPixels: true }, ["--replace-uids", "--pad-pixels"]],
    [{ toUtf8: true }, ["--to-utf8"]],
    [{ charset: "ISO_IR 100" }, ["--charset", "ISO_IR 100"]],
    [{ dropPrivate: true, groupLengths: true }, ["--drop-private", "--group-lengths"]],
    [{ definedLengths: true }, ["--defined-lengths"]],
    [{ syntax: "implicit-little" }, ["--syntax", "implicit-little"]],
    [{ syntax: "explicit-big" }, ["--syntax", "explicit-big"]],
];

test("mended bytes are those of the command line, from a path and from memory", () => {
    for (const file of all) {
        for (const [options, words] of WRITING) {
            const theirs = nativeBytes("mend", "--force", ...words, file);
            sameBytes(library.mend(file, options).data, theirs, `${file} ${words}`);
        }
        const theirs = nativeBytes("mend", "--force", file);
        sameBytes(library.mend(readFileSync(file)).data, theirs, file);
    }
});

test("completed bytes are those of the command line", () => {
    for (const file of all) {
        const theirs = nativeBytes("complete", "--force", "--module", "auto", file);
        sameBytes(library.complete(file).data, theirs, file);
    }
});

test("the JSON model is that of the command line", () => {
    for (const file of all) {
        const { text } = native("list", "--format", "json", file);
        const theirs = text === "" ? [] : JSON.parse(text);
        if (library.check(file).findings.some(({ kind }) => kind === "not-dicom")) {
            const refused = { name: "MendError", status: Status.NOT_DICOM };
            assert.throws(() => library.list(file), refused, file);
        } else {
            assert.deepEqual(library.list(file), Array.isArray(theirs) ? theirs[0] : theirs, file);
        }
    }
});

test("what cannot be read is told in words", () => {
    assert.throws(() => library.check(join(work, "none.dcm")), { code: "ENOENT" });
    const refused = library.mend(Buffer.from("no such file"));
    assert.equal(refused.data, null);
    assert.equal(refused.outcome, 2);
    assert.throws(() => library.check(all[0], { charset: "none of them" }), {
        name: "MendError",
        status: Status.BAD_ARGUMENT,
        message: "no defined term of a character set",
    });
});

/** Bytes of which only the first ones are not 0, as many as wanted; counts what is read. */
class Sparse {
    taken = 0;

    constructor(head, size) {
        this.head = head;
        this.size = size;
    }

    read(target, position) {
        const count = Math.max(Math.min(target.length, this.size - position), 0);
        target.fill(0, 0, count);
        if (position < this.head.length) {
            target.set(this.head.subarray(position, position + count));
        }
        this.taken += count;
        return count;
    }
}

/** The address of a file of the package that holds all of it. */
function dataAddress(name) {
    const bytes = readFileSync(join(built, "package", "dist", name));
    return `data:application/octet-stream;base64,${bytes.toString("base64")}`;
}

/** A head whose pixel data have a length of their own. */
function withPixels(length) {
    const pixels = Buffer.alloc(12);
    pixels.writeUInt16LE(0x7fe0, 0);
    pixels.writeUInt16LE(0x0010, 2);
    pixels.write("OW", 4, "latin1");
    pixels.writeUInt32LE(length, 8);
    return Buffer.concat([part10(element(0x10, 0x20, "LO", "4711")), pixels]);
}

test("a file of 3 GB is listed without its bytes", async () => {
    const length = 3_000_000_000;
    const head = withPixels(length);
    const content = new Sparse(head, head.length + length);
    const small = await load({ memory: 48 << 20 });
    const { dataset, session } = small.open(content);
    const table = dataset.table();
    const last = table.count - 1;
    assert.equal(table.tag[last], 0x7fe00010);
    assert.equal(table.length[last], length);
    assert.equal(table.offset[last], head.length - 12);
    assert.equal(dataset.text(dataset.find("PatientID")), "4711");
    assert.ok(content.taken < 16 << 20, `${content.taken} bytes were read`);
    // The end of the value is beyond 2 GiB.
    assert.equal(dataset.bytes(session, dataset.find("PixelData"), length - 2, 2).length, 2);
    const element = dataset.find("0008,0060");
    dataset.close();
    // What is closed is told as such, and costs nothing else.
    for (const use of [
        () => dataset.table(),
        () => dataset.text(element),
        () => dataset.bytes(session, element, 0, 1),
    ]) {
        assert.throws(use, { message: "the data set is closed", status: Status.BAD_ARGUMENT });
    }
});

test("mending hands on parts of what is read without reading them", () => {
    const length = 1 << 28;
    const head = withPixels(length);
    const content = new Sparse(head, head.length + length);
    const sink = {
        taken: 0,
        copied: 0,
        take(bytes) {
            this.taken += bytes.length;
        },
        copy(source, offset, size) {
            assert.equal(source, content);
            assert.equal(offset, head.length);
            this.copied += size;
            return true;
        },
    };
    const { dataset, session } = library.open(content);
    dataset.write(session, sink);
    dataset.close();
    assert.equal(sink.copied, length);
    assert.ok(sink.taken > 132 && sink.taken < 4096, String(sink.taken));
});

test("running out of memory is a message, and the library goes on", async () => {
    const small = await load({ memory: 24 << 20 });
    const elements = [];
    for (let i = 0; i < 120_000; ++i) {
        elements.push(
            element(
                0x11 + 2 * (i >> 12),
                0x1000 + (i & 0xfff),
                "LO",
                "a value of a private element",
            ),
        );
    }
    const large = part10(...elements);
    assert.throws(() => small.mend(large), {
        name: "MendError",
        status: Status.NO_MEMORY,
        message: /memory/,
    });
    if (small.isStopped) {
        await small.restart();
    }
    const file = join(work, "whole.dcm");
    sameBytes(small.mend(file).data, nativeBytes("mend", "--force", file), "after it");
    assert.ok(small.memorySize <= 24 << 20);
});

test("a failure to read is told, and costs nothing else", () => {
    const head = withPixels(1 << 24);
    const broken = new Sparse(head, head.length + (1 << 24));
    broken.read = () => {
        throw new Error("the disk is gone");
    };
    assert.throws(
        () => library.open(broken),
        ({ name, status, cause }) =>
            name === "MendError" &&
            status === Status.CANNOT_READ &&
            cause.message === "the disk is gone",
    );
    assert.equal(
        library.check(join(work, "whole.dcm")).outcome,
        native("check", join(work, "whole.dcm")).status,
    );
});

test("what is no file is refused, and the library goes on", async () => {
    const bytes = readFileSync(join(work, "whole.dcm"));
    const view = new DataView(bytes.buffer, bytes.byteOffset, bytes.length);
    const { load: loadInBrowsers } = await import(join(built, "package", "dist", "browser.js"));
    const inBrowsers = await loadInBrowsers({
        wasm: dataAddress("dicom_mend.wasm"),
        definitions: dataAddress("definitions.json.gz"),
    });
    const others = [undefined, null, 5, [1, 2], view, new SharedArrayBuffer(200), { length: 1 }];
    const blob = new Blob([bytes]);
    const refused = { name: "TypeError", message: /none of the kinds|contents have a size/ };
    for (const [one, wrong] of [
        [library, [...others, blob, new URL("file:///none.dcm")]],
        [inBrowsers, [...others, "none.dcm"]],
    ]) {
        for (const input of wrong) {
            for (const verb of ["check", "mend", "complete", "list", "listText"]) {
                assert.throws(() => one[verb](input), refused, `${verb} ${String(input)}`);
            }
            assert.throws(() => one.open(input), refused, `open ${String(input)}`);
        }
        for (const size of [undefined, -1, 0.5, NaN, 2 ** 53]) {
            assert.throws(() => one.open({ size, read: () => 0 }), refused, String(size));
        }
        for (const input of [bytes, Uint8Array.from(bytes), Uint8Array.from(bytes).buffer]) {
            sameBytes(one.mend(input).data, library.mend(bytes).data, "bytes");
        }
        assert.ok(!one.isStopped);
    }
});

test("what files of one's own throw or tell wrongly is a failed read or write of that call", () => {
    const bytes = readFileSync(join(work, "whole.dcm"));
    const failed = (status) => ({ name: "MendError", status });
    for (const [name, words] of [
        ["scan.dcm", "scan.dcm: I/O error"],
        [undefined, "the file: I/O error"],
    ]) {
        const read = () => {
            throw new Error("the disk is gone");
        };
        assert.throws(() => library.open({ name, size: 500, read }), { message: words });
    }
    for (const count of [undefined, NaN, -1, 0.5, 1e9]) {
        const content = { size: bytes.length, read: () => count };
        assert.throws(() => library.open(content), failed(Status.CANNOT_READ), String(count));
    }
    let asked = 0;
    const changing = {
        get size() {
            if (++asked > 1) {
                throw new Error("the disk is gone");
            }
            return bytes.length;
        },
        read: () => 0,
    };
    assert.throws(() => library.open(changing), failed(Status.CANNOT_READ));
    const full = {
        take() {
            throw new Error("the disk is full");
        },
    };
    assert.throws(() => library.mendTo(bytes, full), failed(Status.CANNOT_WRITE));
    assert.ok(!library.isStopped);
});

test("names of attributes and values are texts, whatever they hold", () => {
    const file = join(work, "letters.dcm");
    writeFileSync(
        file,
        part10(element(8, 5, "CS", "ISO_IR 192"), element(0x10, 0x10, "PN", "Müller^Jörg")),
    );
    const { dataset } = library.open({
        size: readFileSync(file).length,
        read: (target, position) => {
            const part = readFileSync(file).subarray(position, position + target.length);
            target.set(part);
            return part.length;
        },
    });
    assert.equal(dataset.text(dataset.find("PatientName")), "Müller^Jörg");
    assert.equal(library.tagName(0x00100010), "Patient's Name");
    assert.equal(library.keyword(0x00100010), "PatientName");
    dataset.close();
});

test("no depth of nesting stops the library", () => {
    const sequence = [8, 0, 0x40, 0x11, 0x53, 0x51, 0, 0, 0xff, 0xff, 0xff, 0xff];
    const open = Buffer.from([...sequence, 0xfe, 0xff, 0, 0xe0, 0xff, 0xff, 0xff, 0xff]);
    const depth = 20_000;
    const file = join(work, "deep.dcm");
    writeFileSync(file, part10(element(8, 0x60, "CS", "MR"), ...Array(depth).fill(open)));
    const { data } = library.mend(file);
    sameBytes(data, nativeBytes("mend", "--force", file), file);
    const { dataset } = library.open(new BytesContent(data));
    const table = dataset.table();
    assert.equal(table.count, 2 * depth + 7);
    assert.equal(table.depth[table.count - 1], 2 * depth - 1);
    assert.equal(table.end[table.count - 2 * depth], table.count);
    dataset.close();
});

test("the package is found by its name, with its types", () => {
    const folder = join(work, "user");
    mkdirSync(join(folder, "node_modules"), { recursive: true });
    symlinkSync(join(built, "package"), join(folder, "node_modules", "dicom-mend"));
    writeFileSync(
        join(folder, "use.mts"),
        `import { load, type Finding } from "dicom-mend";
        const library = await load();
        const findings: Finding[] = library.check(process.argv[2], { module: "auto" }).findings;
        const bytes: Uint8Array | null = library.mend(process.argv[2]).data;
        console.log(findings.length, bytes?.length);
        `,
    );
    const compiler = join(root, "page", "node_modules", "typescript", "bin", "tsc");
    const types = join(root, "page", "node_modules", "@types");
    const words = ["--strict", "--target", "es2022", "--module", "nodenext", "--typeRoots", types];
    const options = { cwd: folder, encoding: "utf8", stdio: ["ignore", "pipe", "pipe"] };
    execFileSync(process.execPath, [compiler, ...words, "--types", "node", "use.mts"], options);
    const damaged = join(root, "examples", "damaged.dcm");
    const { findings } = library.check(damaged, { module: "auto" });
    const printed = execFileSync(process.execPath, ["use.mjs", damaged], options);
    assert.equal(printed, `${findings.length} ${library.mend(damaged).data.length}\n`);
});

/** All characters of an encoding, as far as two bytes tell them, in a line for each first byte. */
function characters(first, last, least, most, escape = "") {
    const lines = [];
    for (let lead = first; lead <= last; ++lead) {
        const line = [...Buffer.from(escape, "latin1")];
        for (let trail = least; trail <= most; ++trail) {
            if (trail !== 0x7f && trail !== 0x5c) {
                line.push(lead, trail);
            }
        }
        lines.push(Buffer.from([...line, ...(escape ? [0x1b, 0x28, 0x42] : [])]));
    }
    return lines;
}

const single = () => [
    Buffer.from(Array.from({ length: 96 }, (_, i) => 0xa0 + i)),
    Buffer.from("\\~Latin"),
];

/** Each character set with what its bytes may be (PS3.3 C.12.1.1.2). */
const SETS = [
    ..."13 100 101 109 110 144 127 126 138 148 203 166"
        .split(" ")
        .map((n) => [`ISO_IR ${n}`, single]),
    ["\\ISO 2022 IR 87", () => characters(0x21, 0x7e, 0x21, 0x7e, "\x1b$B")],
    ["\\ISO 2022 IR 159", () => characters(0x21, 0x7e, 0x21, 0x7e, "\x1b$(D")],
    ["\\ISO 2022 IR 149", () => characters(0xa1, 0xfe, 0xa1, 0xfe, "\x1b$)C")],
    ["\\ISO 2022 IR 58", () => characters(0xa1, 0xfe, 0xa1, 0xfe, "\x1b$)A")],
    ["GBK", () => characters(0x81, 0xfe, 0x40, 0xfe)],
    ["GB18030", () => characters(0x81, 0xfe, 0x40, 0xfe)],
    [
        "GB18030",
        () =>
            [0x30, 0x31, 0x35, 0x39].map((b) =>
                Buffer.from([0x81, b, 0x81, 0x30, 0x90, b, 0x81, 0x31]),
            ),
    ],
];

test("characters of all sets become those that the command line makes of them", () => {
    for (const [terms, make] of SETS) {
        const values = make().map((value, i) => element(0x11, 0x1000 + i, "UT", value));
        const creator = element(0x11, 0x10, "LO", "SOME CREATOR");
        const bytes = part10(element(8, 5, "CS", terms), creator, ...values);
        const file = join(work, "characters.dcm");
        writeFileSync(file, bytes);
        for (const words of [["--to-utf8"], ["--strict"], []]) {
            const options = { toUtf8: words[0] === "--to-utf8", strict: words[0] === "--strict" };
            const theirs = nativeBytes("mend", "--force", ...words, file);
            sameBytes(library.mend(file, options).data, theirs, `${terms} ${words}`);
        }
        const { text } = native("list", "--format", "json", file);
        const model = library.list(file);
        assert.deepEqual(model, JSON.parse(text), terms);
    }
});
