/** Bytes as people look at them. */
import { useEffect, useState } from "preact/hooks";
import type { Store } from "./store.js";

const IN_A_LINE = 16;
const IN_FRONT = 32;
const BEHIND = 160;

/** Letters of ASCII; what is none is a dot. */
export function letters(bytes: Uint8Array): string {
    return [...bytes]
        .map((byte) => (byte >= 32 && byte < 127 ? String.fromCharCode(byte) : "·"))
        .join("");
}

export function digits(bytes: Uint8Array): string {
    return [...bytes].map((byte) => byte.toString(16).padStart(2, "0")).join(" ");
}

function Line(properties: { bytes: Uint8Array; at: number; from: number; to: number }) {
    const { bytes, at, from, to } = properties;
    const start = Math.min(Math.max(from - at, 0), bytes.length);
    const end = Math.min(Math.max(to - at, start), bytes.length);
    const parts = [bytes.subarray(0, start), bytes.subarray(start, end), bytes.subarray(end)];
    const [front, marked, behind] = parts.map(digits);
    const gap = (left: string, right: string) => (left !== "" && right !== "" ? " " : "");
    return (
        <div class="hex-line">
            <span class="hex-place">{at.toString(16).padStart(8, "0")}</span>
            <span class="hex-bytes">
                {front}
                {gap(front, marked + behind)}
                {marked !== "" && <mark>{marked}</mark>}
                {gap(marked, behind)}
                {behind}
            </span>
            <span class="hex-text">{letters(bytes)}</span>
        </div>
    );
}

const LONG_VRS = ["OB", "OD", "OF", "OL", "OV", "OW", "SQ", "SV", "UC", "UN", "UR", "UT", "UV"];

/** Bytes of the header of an element: 12 with a VR whose lengths take 32 bits (PS3.5 7.1.2), else 8. */
function headerSize(header: Uint8Array): number {
    const vr = String.fromCharCode(header[4], header[5]);
    return LONG_VRS.includes(vr) && header[6] === 0 && header[7] === 0 ? 12 : 8;
}

/** The bytes of a file around a place; those of a header and its value are marked. */
export function HexView(properties: { file: File; offset: number; length: number | null }) {
    const { file, offset, length } = properties;
    const [read, setRead] = useState<{ file: File; start: number; bytes: Uint8Array } | null>(null);
    const start = Math.max(Math.floor(offset / IN_A_LINE) * IN_A_LINE - IN_FRONT, 0);
    useEffect(() => {
        let isWanted = true;
        file.slice(start, start + IN_FRONT + BEHIND)
            .arrayBuffer()
            .then((buffer) => isWanted && setRead({ file, start, bytes: new Uint8Array(buffer) }))
            .catch(() => undefined);
        return () => {
            isWanted = false;
        };
    }, [file, start]);
    const bytes = read?.file === file && read.start === start ? read.bytes : null;
    const header = bytes ? headerSize(bytes.subarray(offset - start)) : 0;
    const lines = [];
    for (let at = 0; bytes && at < bytes.length; at += IN_A_LINE) {
        lines.push(
            <Line
                key={at}
                bytes={bytes.subarray(at, at + IN_A_LINE)}
                at={start + at}
                from={offset}
                to={offset + header + (length ?? 0)}
            />,
        );
    }
    return (
        <div
            class="hex"
            role="group"
            tabIndex={0}
            aria-label={`Bytes of the file around ${offset}`}
        >
            {lines}
        </div>
    );
}

export function Hidden({ store }: { store: Store }) {
    return (
        <p class="none">
            Hidden, for it may identify a person.{" "}
            <button type="button" onClick={() => void store.reveal(true)}>
                Show personal values
            </button>
        </p>
    );
}
