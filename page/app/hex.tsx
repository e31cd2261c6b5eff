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
    return (
        <div class="hex-line">
            <span class="hex-place">{at.toString(16).padStart(8, "0")}</span>
            <span class="hex-bytes">
                {front} {marked !== "" && <mark>{marked}</mark>} {behind}
            </span>
            <span class="hex-text">{letters(bytes)}</span>
        </div>
    );
}

/** The bytes of a file around a place; those of a header and its value are marked. */
export function HexView(properties: { file: File; offset: number; length: number | null }) {
    const { file, offset, length } = properties;
    const [bytes, setBytes] = useState<Uint8Array | null>(null);
    const start = Math.max(Math.floor(offset / IN_A_LINE) * IN_A_LINE - IN_FRONT, 0);
    useEffect(() => {
        let isWanted = true;
        setBytes(null);
        file.slice(start, start + IN_FRONT + BEHIND)
            .arrayBuffer()
            .then((buffer) => isWanted && setBytes(new Uint8Array(buffer)))
            .catch(() => undefined);
        return () => {
            isWanted = false;
        };
    }, [file, start]);
    const lines = [];
    for (let at = 0; bytes && at < bytes.length; at += IN_A_LINE) {
        lines.push(
            <Line
                key={at}
                bytes={bytes.subarray(at, at + IN_A_LINE)}
                at={start + at}
                from={offset}
                to={offset + 8 + (length ?? 0)}
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
            <button type="button" onClick={() => store.set({ reveal: true })}>
                Show personal values
            </button>
        </p>
    );
}
