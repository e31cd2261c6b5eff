/** Archives of files as they are, without compression (.ZIP File Format Specification 6.3.10). */

const TABLE = Uint32Array.from({ length: 256 }, (_, i) => {
    let value = i;
    for (let bit = 0; bit < 8; ++bit) {
        value = value & 1 ? (value >>> 1) ^ 0xedb88320 : value >>> 1;
    }
    return value;
});

export function crc32(bytes: Uint8Array, before = 0): number {
    let value = ~before;
    for (const byte of bytes) {
        value = (value >>> 8) ^ TABLE[(value ^ byte) & 0xff];
    }
    return ~value >>> 0;
}

async function sumOf(blob: Blob): Promise<number> {
    const piece = 1 << 22;
    let sum = 0;
    for (let at = 0; at < blob.size; at += piece) {
        sum = crc32(new Uint8Array(await blob.slice(at, at + piece).arrayBuffer()), sum);
    }
    return sum;
}

const LOCAL = 0x04034b50;
const CENTRAL = 0x02014b50;
const END_64 = 0x06064b50;
const LOCATOR_64 = 0x07064b50;
const END = 0x06054b50;
const VERSION = 45;
/** Names are UTF-8. */
const FLAGS = 0x0800;
/** 1 January 1980: what is mended is told apart by its bytes. */
const DATE = 0x0021;
const FULL = 0xffffffff;

/** Fields of 2, 4 and 8 bytes, one after the other. */
function fields(...all: [width: 2 | 4 | 8, value: number][]): Uint8Array {
    const bytes = new Uint8Array(all.reduce((size, [width]) => size + width, 0));
    const view = new DataView(bytes.buffer);
    let at = 0;
    for (const [width, value] of all) {
        if (width === 2) {
            view.setUint16(at, value, true);
        } else if (width === 4) {
            view.setUint32(at, value, true);
        } else {
            view.setBigUint64(at, BigInt(value), true);
        }
        at += width;
    }
    return bytes;
}

interface Entry {
    name: Uint8Array;
    sum: number;
    size: number;
    at: number;
}

function local({ name, sum, size }: Entry): Uint8Array[] {
    const extra = fields([2, 1], [2, 16], [8, size], [8, size]);
    return [
        fields(
            [4, LOCAL],
            [2, VERSION],
            [2, FLAGS],
            [2, 0],
            [2, 0],
            [2, DATE],
            [4, sum],
            [4, FULL],
            [4, FULL],
            [2, name.length],
            [2, extra.length],
        ),
        name,
        extra,
    ];
}

function central({ name, sum, size, at }: Entry): Uint8Array[] {
    const extra = fields([2, 1], [2, 24], [8, size], [8, size], [8, at]);
    return [
        fields(
            [4, CENTRAL],
            [2, VERSION],
            [2, VERSION],
            [2, FLAGS],
            [2, 0],
            [2, 0],
            [2, DATE],
            [4, sum],
            [4, FULL],
            [4, FULL],
            [2, name.length],
            [2, extra.length],
            [2, 0],
            [2, 0],
            [2, 0],
            [4, 0],
            [4, FULL],
        ),
        name,
        extra,
    ];
}

function end(count: number, size: number, at: number): Uint8Array[] {
    return [
        fields(
            [4, END_64],
            [8, 44],
            [2, VERSION],
            [2, VERSION],
            [4, 0],
            [4, 0],
            [8, count],
            [8, count],
            [8, size],
            [8, at],
        ),
        fields([4, LOCATOR_64], [4, 0], [8, at + size], [4, 1]),
        fields(
            [4, END],
            [2, 0],
            [2, 0],
            [2, Math.min(count, 0xffff)],
            [2, Math.min(count, 0xffff)],
            [4, FULL],
            [4, FULL],
            [2, 0],
        ),
    ];
}

/** No entry may lead out of the folder that an archive is unpacked in. */
export function entryName(name: string): string {
    const parts = name
        .split(/[/\\]/)
        .filter((part) => part !== "" && part !== "." && part !== "..");
    return parts.join("/").replaceAll(":", "_") || "file";
}

/** One archive of files, whose bytes stay where they are. */
export async function archive(entries: { name: string; blob: Blob }[]): Promise<Blob> {
    const parts: BlobPart[] = [];
    let at = 0;
    const put = (...more: (Uint8Array | Blob)[]) => {
        for (const part of more) {
            parts.push(part as BlobPart);
            at += part instanceof Blob ? part.size : part.length;
        }
    };
    const taken = new Set<string>();
    const encoder = new TextEncoder();
    const list: Entry[] = [];
    for (const { name, blob } of entries) {
        let unique = entryName(name);
        for (let i = 2; taken.has(unique); ++i) {
            unique = `${i}-${entryName(name)}`;
        }
        taken.add(unique);
        const entry = { name: encoder.encode(unique), sum: await sumOf(blob), size: blob.size, at };
        list.push(entry);
        put(...local(entry), blob);
    }
    const start = at;
    list.forEach((entry) => put(...central(entry)));
    put(...end(list.length, at - start, start));
    return new Blob(parts, { type: "application/zip" });
}
