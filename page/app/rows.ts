/** Which rows of a table are seen: those of open branches, or what a search found with all around it. */
import { type Table } from "dicom-mend";

/** The row around each; -1 on top. */
export function parentsOf(table: Table): Int32Array {
    const parents = new Int32Array(table.count);
    const open: number[] = [];
    for (let i = 0; i < table.count; ++i) {
        while (open.length > 0 && table.end[open[open.length - 1]] <= i) {
            open.pop();
        }
        parents[i] = open.length > 0 ? open[open.length - 1] : -1;
        if (table.end[i] > i + 1) {
            open.push(i);
        }
    }
    return parents;
}

export function visibleRows(
    table: Table,
    parents: Int32Array,
    folded: ReadonlySet<number>,
    found: Uint32Array | null,
): Uint32Array {
    const rows = new Uint32Array(table.count);
    let count = 0;
    if (found !== null) {
        const keep = new Uint8Array(table.count);
        for (const row of found) {
            for (let at: number = row; at >= 0 && keep[at] === 0; at = parents[at]) {
                keep[at] = 1;
            }
        }
        for (let i = 0; i < table.count; i = folded.has(i) ? table.end[i] : i + 1) {
            if (keep[i]) {
                rows[count++] = i;
            }
        }
    } else {
        for (let i = 0; i < table.count; i = folded.has(i) ? table.end[i] : i + 1) {
            rows[count++] = i;
        }
    }
    return rows.slice(0, count);
}

/** Branches of a large table are closed at first: one sees where one is. */
export function foldedAtFirst(table: Table): Set<number> {
    const folded = new Set<number>();
    const most = 500;
    for (let i = 0; i < table.count && table.count > most; ++i) {
        if (table.end[i] > i + 1) {
            folded.add(i);
        }
    }
    return folded;
}

/** The row of a place in the file, -1 when there is none. */
export function rowAt(table: Table, offset: number | null, tag: number | null): number {
    if (offset === null) {
        return tag === null ? -1 : table.tag.indexOf(tag);
    }
    const at = table.offset.indexOf(offset);
    if (at < 0 || tag === null || table.tag[at] === tag) {
        return at;
    }
    // Elements that were added share a place with the first of the file.
    for (let i = at; i < table.count; ++i) {
        if (table.offset[i] === offset && table.tag[i] === tag) {
            return i;
        }
    }
    return at;
}

export function tagText(tag: number): string {
    const digits = tag.toString(16).padStart(8, "0");
    return `${digits.slice(0, 4)},${digits.slice(4)}`;
}

export function vrText(letters: number): string {
    return letters === 0 ? "" : String.fromCharCode(letters >> 8, letters & 0xff);
}
