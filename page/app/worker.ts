/** The worker: all work on files is done here, so that the page never stops. */
import {
    BlobContent,
    BlobSink,
    Dataset,
    Library,
    load,
    MendError,
    RowKind,
    Session,
    Status,
    type Finding,
    type Table,
} from "dicom-mend";
import { archive } from "./archive.js";
import { factsOfImage, frameOf, type ImageReader, imageReader } from "./pixels.js";
import type {
    Answered,
    Asked,
    Checked,
    MendChoices,
    Mended,
    Opened,
    Questions,
    Row,
    Sides,
    Told,
} from "./protocol.js";

/** Values with more bytes are not read to be shown in a row. */
const LONG_VALUE = 1 << 16;

const scope = self as unknown as DedicatedWorkerGlobalScope;

interface OpenFile {
    file: File;
    dataset: Dataset;
    session: Session;
    table: Table;
    image: ImageReader | null;
}

let library: Library<Uint8Array | ArrayBuffer | Blob>;
let current: OpenFile | null = null;
let sides: Sides[] = [];
const names = new Map<number, { name: string; keyword: string }>();

function closeCurrent(): void {
    current?.dataset.close();
    current?.session.close();
    current = null;
}

function opened(): OpenFile {
    if (current === null) {
        throw new MendError(Status.BAD_ARGUMENT, "no file is open");
    }
    return current;
}

function nameOf(tag: number): { name: string; keyword: string } {
    let known = names.get(tag);
    if (known === undefined) {
        known = { name: library.tagName(tag), keyword: library.keyword(tag) };
        names.set(tag, known);
    }
    return known;
}

/** What is hidden because it may identify a person is not even handed to the page. */
function rowOf({ dataset, table }: OpenFile, index: number, reveal: boolean, most: number): Row {
    const kind = table.kind[index];
    const length = table.length[index];
    if (kind === RowKind.ITEM) {
        return { name: `Item ${length + 1}`, keyword: "", value: "", hidden: false };
    }
    if (kind === RowKind.FRAGMENT) {
        return { name: "Fragment", keyword: "", value: "", hidden: false };
    }
    const names = nameOf(table.tag[index]);
    if (kind !== RowKind.ELEMENT) {
        return { ...names, value: "", hidden: false };
    }
    const element = table.handle[index];
    if (length > LONG_VALUE) {
        return { ...names, value: "", hidden: false };
    }
    const hidden = !reveal && !dataset.isHarmless(element);
    return { ...names, value: hidden ? "" : legible(dataset.text(element, most)), hidden };
}

/** Letters that turn the direction of others are told as what they are. */
function legible(text: string): string {
    return text.replace(
        /[\u061c\u200e\u200f\u202a-\u202e\u2066-\u2069]/g,
        (letter) => `\\u{${letter.charCodeAt(0).toString(16).toUpperCase().padStart(4, "0")}}`,
    );
}

function told(finding: Finding): Told {
    const { harmless, before, after } = finding;
    const isHidden = !harmless && before.length + after.length > 0;
    const none = new Uint8Array(0);
    return isHidden
        ? { ...finding, before: none, after: none, isHidden }
        : { ...finding, isHidden };
}

const DEFLATED = "1.2.840.10008.1.2.1.99";

/** Tells of gzip (RFC 1952), zlib (RFC 1950) and deflated data sets (PS3.5 A.5). */
function isPacked(content: BlobContent, syntax: string): boolean {
    const start = new Uint8Array(2);
    content.read(start, 0);
    const isZlib = start[0] === 0x78 && (start[0] * 256 + start[1]) % 31 === 0;
    return syntax === DEFLATED || (start[0] === 0x1f && start[1] === 0x8b) || isZlib;
}

function tagText(tag: number): string {
    const digits = tag.toString(16).padStart(8, "0");
    return `(${digits.slice(0, 4)},${digits.slice(4)})`;
}

const answers: { [Q in keyof Questions]: (...parameters: Parameters<Questions[Q]>) => unknown } = {
    async start(memory) {
        library = await load({
            wasm: new URL("dicom_mend.wasm.gz", scope.location.href),
            definitions: new URL("definitions.json.gz", scope.location.href),
            memory,
        });
        return { version: library.version };
    },

    check(file, isLookedAt): Checked {
        const { findings, outcome } = library.check(file, { module: "auto" });
        if (isLookedAt) {
            sides = findings.map(({ before, after }) => ({ before, after }));
        }
        return { findings: findings.map(told), outcome };
    },

    sides(finding): Sides {
        return sides[finding];
    },

    open(file): Opened {
        closeCurrent();
        const content = new BlobContent(file);
        const { dataset, session } = library.open(content);
        current = { file, dataset, session, table: dataset.table(), image: null };
        current.image = imageReader(dataset, session);
        return {
            table: current.table,
            syntax: dataset.transferSyntax,
            isPacked: isPacked(content, dataset.transferSyntax),
            image: current.image && factsOfImage(current.image),
        };
    },

    rows(indices, reveal) {
        const file = opened();
        return indices.map((index) => rowOf(file, index, reveal, 200));
    },

    search(text, reveal) {
        const file = opened();
        const wanted = text.toLowerCase();
        const found: number[] = [];
        for (let i = 0; i < file.table.count; ++i) {
            const kind = file.table.kind[i];
            if (kind === RowKind.ITEM || kind === RowKind.FRAGMENT) {
                continue;
            }
            const { name, keyword, value } = rowOf(file, i, reveal, 1024);
            const tag = tagText(file.table.tag[i]);
            const all = `${tag} ${name} ${keyword} ${value}`;
            if (tag.replace(/[(),]/g, "") === wanted || all.toLowerCase().includes(wanted)) {
                found.push(i);
            }
        }
        return Uint32Array.from(found);
    },

    frame(index) {
        const { image } = opened();
        if (image === null) {
            throw new MendError(Status.NOT_FOUND, "there is no image that can be shown");
        }
        return frameOf(image, index);
    },

    mend(file, choices): Mended {
        return mended(file, choices);
    },

    report(file, format, reveal) {
        const report = { format, file: file.name, showValues: reveal };
        return library.check(file, { module: "auto", report }).report;
    },

    archive,
};

function mended(file: File, choices: MendChoices): Mended {
    const sink = new BlobSink();
    const { complete, ...options } = choices;
    const result = complete
        ? library.completeTo(file, sink, options)
        : library.mendTo(file, sink, options);
    const why = result.findings.filter(({ level }) => level === "loss").pop()?.message ?? "";
    return { blob: result.written ? sink.result() : null, why };
}

/** The buffers of an answer that need not be copied. */
function buffersOf(question: string, answer: unknown): Transferable[] {
    if (question === "frame") {
        const frame = answer as ReturnType<Questions["frame"]>;
        return [frame.kind === "grey" ? frame.values.buffer : frame.pixels.buffer];
    }
    return question === "search" ? [(answer as Uint32Array).buffer] : [];
}

/** What happened, with what the browser says of it. */
function wordsOf(error: unknown): string {
    if (!(error instanceof Error)) {
        return String(error);
    }
    return error.cause instanceof Error
        ? `${error.message} (${error.cause.message})`
        : error.message;
}

async function answer({ id, question, parameters }: Asked): Promise<void> {
    try {
        const work = answers[question] as (...parameters: unknown[]) => unknown;
        const result = await work(...parameters);
        scope.postMessage({ id, answer: result } satisfies Answered, buffersOf(question, result));
    } catch (error) {
        const outOfMemory =
            error instanceof RangeError ||
            (error instanceof MendError && error.status === Status.NO_MEMORY);
        const fault = wordsOf(error);
        if (library?.isStopped) {
            current = null;
            await library.restart();
        }
        scope.postMessage({ id, fault, outOfMemory } satisfies Answered);
    }
}

// One question after the other, also where an answer takes several turns.
let last: Promise<void> = Promise.resolve();
scope.addEventListener("message", (event: MessageEvent<Asked>) => {
    last = last.then(() => answer(event.data));
});
