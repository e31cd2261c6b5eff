/** Native images, frame by frame (PS3.3 section C.7.6.3, PS3.5 section 8). */
import { type Dataset, MendError, type Session, Status } from "dicom-mend";
import { mayIdentify } from "./identity.js";
import type { Frame, ImageFacts, Window } from "./protocol.js";

export interface ImageReader {
    dataset: Dataset;
    session: Session;
    pixels: number;
    width: number;
    height: number;
    frames: number;
    samples: number;
    allocated: number;
    stored: number;
    isSigned: boolean;
    isPlanar: boolean;
    photometric: string;
    slope: number;
    intercept: number;
    window: Window | null;
    mayIdentify: boolean;
    palette: Uint8Array[] | null;
}

const MOST_PIXELS = 1 << 26;
const COLOURS = ["RGB", "YBR_FULL", "PALETTE COLOR"];
const GREYS = ["MONOCHROME1", "MONOCHROME2"];

/** One table of a palette as 8 bits a value (PS3.3 section C.7.6.3.1.5 and 6). */
function tableOf(dataset: Dataset, session: Session, colour: number): Uint8Array | null {
    const path = (element: number) => `0028,${element.toString(16)}`;
    const [descriptor, data] = [
        dataset.find(path(0x1101 + colour)),
        dataset.find(path(0x1201 + colour)),
    ];
    if (descriptor === 0 || data === 0) {
        return null;
    }
    const [count, first, bits] = [0, 1, 2].map((i) => dataset.number(descriptor, i));
    const bytes = dataset.bytes(session, data, 0, 2 * 65536);
    const entries = Math.min(count || 65536, bits === 8 ? bytes.length : bytes.length >> 1);
    const table = new Uint8Array(65536);
    const start = first & 0xffff;
    for (let i = 0; i < table.length && entries > 0; ++i) {
        const entry = Math.min(Math.max(i - start, 0), entries - 1);
        table[i] = bits === 8 ? bytes[entry] : bytes[2 * entry + 1];
    }
    return table;
}

/** Null when there is no image, or one that is compressed or in a form that is not shown. */
export function imageReader(dataset: Dataset, session: Session): ImageReader | null {
    const number = (path: string, otherwise: number) => {
        const element = dataset.find(path);
        const value = element ? dataset.number(element) : NaN;
        return Number.isFinite(value) ? value : otherwise;
    };
    const text = (path: string) => {
        const element = dataset.find(path);
        return element ? dataset.textOf(element, 0).trim() : "";
    };
    const pixels = dataset.find("7fe0,0010");
    if (pixels === 0 || dataset.machine.call("fragment_count", pixels) > 0) {
        return null;
    }
    const reader: ImageReader = {
        dataset,
        session,
        pixels,
        width: number("0028,0011", 0),
        height: number("0028,0010", 0),
        frames: Math.max(number("0028,0008", 1), 1),
        samples: number("0028,0002", 1),
        allocated: number("0028,0100", 0),
        stored: number("0028,0101", 0),
        isSigned: number("0028,0103", 0) === 1,
        isPlanar: number("0028,0006", 0) === 1,
        photometric: text("0028,0004"),
        slope: number("0028,1053", 1),
        intercept: number("0028,1052", 0),
        window: null,
        mayIdentify: mayIdentify(dataset),
        palette: null,
    };
    const width = number("0028,1051", NaN);
    const center = number("0028,1050", NaN);
    reader.window = width >= 1 && Number.isFinite(center) ? { center, width } : null;
    return isShown(reader) ? reader : null;
}

function isShown(reader: ImageReader): boolean {
    const { width, height, allocated, stored, samples, photometric } = reader;
    if (!(width > 0 && height > 0 && width * height <= MOST_PIXELS)) {
        return false;
    }
    if (allocated !== 8 && allocated !== 16) {
        return false;
    }
    if (!(stored > 0 && stored <= allocated)) {
        return false;
    }
    if (photometric === "PALETTE COLOR") {
        const tables = [0, 1, 2].map((colour) => tableOf(reader.dataset, reader.session, colour));
        reader.palette = tables.every((table) => table !== null) ? (tables as Uint8Array[]) : null;
        return samples === 1 && reader.palette !== null;
    }
    return GREYS.includes(photometric)
        ? samples === 1
        : COLOURS.includes(photometric) && samples === 3 && allocated === 8;
}

export function factsOfImage(reader: ImageReader): ImageFacts {
    const { width, height, frames, mayIdentify, window, photometric } = reader;
    const isColour = COLOURS.includes(photometric);
    return { width, height, frames, isColour, mayIdentify, window };
}

/** The samples of a frame, as numbers; what the file lacks stays 0. */
function samplesOf(reader: ImageReader, frame: number): Int32Array {
    const { width, height, samples, allocated, stored, isSigned } = reader;
    const count = width * height * samples;
    const size = count * (allocated / 8);
    const bytes = reader.dataset.bytes(reader.session, reader.pixels, frame * size, size);
    const view = new DataView(bytes.buffer, bytes.byteOffset, bytes.byteLength);
    const values = new Int32Array(count);
    const there = Math.min(count, Math.floor(bytes.length / (allocated / 8)));
    const unused = 32 - stored;
    for (let i = 0; i < there; ++i) {
        const value = allocated === 8 ? bytes[i] : view.getUint16(2 * i, true);
        values[i] = isSigned ? (value << unused) >> unused : (value << unused) >>> unused;
    }
    return values;
}

function colours(reader: ImageReader, values: Int32Array): Uint8ClampedArray {
    const { width, height, isPlanar, photometric, palette } = reader;
    const count = width * height;
    const pixels = new Uint8ClampedArray(4 * count);
    for (let i = 0; i < count; ++i) {
        let [red, green, blue] = [0, 0, 0];
        if (palette !== null) {
            const value = values[i] & 0xffff;
            [red, green, blue] = [palette[0][value], palette[1][value], palette[2][value]];
        } else if (isPlanar) {
            [red, green, blue] = [values[i], values[count + i], values[2 * count + i]];
        } else {
            [red, green, blue] = [values[3 * i], values[3 * i + 1], values[3 * i + 2]];
        }
        if (photometric === "YBR_FULL") {
            const [y, cb, cr] = [red, green - 128, blue - 128];
            [red, green, blue] = [
                y + 1.402 * cr,
                y - 0.344136 * cb - 0.714136 * cr,
                y + 1.772 * cb,
            ];
        }
        pixels.set([red, green, blue, 255], 4 * i);
    }
    return pixels;
}

export function frameOf(reader: ImageReader, frame: number): Frame {
    if (!(frame >= 0 && frame < reader.frames)) {
        throw new MendError(Status.NOT_FOUND, "there is no such frame");
    }
    const samples = samplesOf(reader, frame);
    if (!GREYS.includes(reader.photometric)) {
        return { kind: "colour", pixels: colours(reader, samples) };
    }
    const values = new Float32Array(samples.length);
    let [least, most] = [Infinity, -Infinity];
    for (let i = 0; i < values.length; ++i) {
        const value = samples[i] * reader.slope + reader.intercept;
        values[i] = value;
        least = Math.min(least, value);
        most = Math.max(most, value);
    }
    return { kind: "grey", values, inverted: reader.photometric === "MONOCHROME1", least, most };
}

/** Grey values through a window (PS3.3 section C.11.2.1.2.1). */
export function windowed(
    frame: Extract<Frame, { kind: "grey" }>,
    { center, width }: Window,
): Uint8ClampedArray {
    const { values, inverted } = frame;
    const pixels = new Uint8ClampedArray(4 * values.length);
    const steps = Math.max(width - 1, 1e-6);
    for (let i = 0; i < values.length; ++i) {
        const grey = ((values[i] - (center - 0.5)) / steps + 0.5) * 255;
        const shown = inverted ? 255 - grey : grey;
        pixels[4 * i] = pixels[4 * i + 1] = pixels[4 * i + 2] = shown;
        pixels[4 * i + 3] = 255;
    }
    return pixels;
}
