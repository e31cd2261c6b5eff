/** Data sets and their elements. */
import { Machine, MendError, Status } from "./calls.js";
import type { Content, Sink } from "./contents.js";
import { Session } from "./session.js";

/** The elements of a data set in the order of the file, one row each; items have rows of their own. */
export interface Table {
    count: number;
    /** Of an item 0xFFFEE000, as for fragments. */
    tag: Uint32Array;
    depth: Uint16Array;
    /** The two letters of the VR, 0 without one. */
    vr: Uint16Array;
    kind: Uint8Array;
    /** Of the value in bytes; of a sequence the number of items, of an item its number from 0. */
    length: Float64Array;
    /** Place of the tag in the file; -1 for what has none. */
    offset: Float64Array;
    /** The row behind all that is inside. */
    end: Uint32Array;
    /** Of elements, for calls with the data set. */
    handle: Uint32Array;
}

export const RowKind = { ELEMENT: 0, SEQUENCE: 1, ITEM: 2, FRAGMENTS: 3, FRAGMENT: 4 } as const;

const ITEM_TAG = 0xfffee000;

class TableBuilder {
    private rows: number[][] = [[], [], [], [], [], [], [], []];

    get count(): number {
        return this.rows[0].length;
    }

    add(...row: [number, number, number, number, number, number, number]): number {
        row.forEach((value, i) => this.rows[i].push(value));
        this.rows[7].push(this.count);
        return this.count - 1;
    }

    close(row: number): void {
        this.rows[7][row] = this.count;
    }

    build(): Table {
        const [tag, depth, vr, kind, length, offset, handle, end] = this.rows;
        return {
            count: this.count,
            tag: Uint32Array.from(tag),
            depth: Uint16Array.from(depth),
            vr: Uint16Array.from(vr),
            kind: Uint8Array.from(kind),
            length: Float64Array.from(length),
            offset: Float64Array.from(offset),
            handle: Uint32Array.from(handle),
            end: Uint32Array.from(end),
        };
    }
}

const released = new FinalizationRegistry<() => void>((release) => release());

/** A data set. Its elements are numbers, good until it is changed or closed. */
export class Dataset {
    private isOpen = true;

    private constructor(
        readonly machine: Machine,
        private readonly address: number,
    ) {
        released.register(this, () => Dataset.release(machine, address), this);
    }

    /** For calls of the library. Throws when the data set is closed: what it was is used otherwise by now. */
    get handle(): number {
        if (!this.isOpen) {
            throw new MendError(Status.BAD_ARGUMENT, "the data set is closed");
        }
        return this.address;
    }

    private static release(machine: Machine, handle: number): void {
        if (!machine.isStopped) {
            machine.call("dataset_free", handle);
        }
    }

    /** What is wrong with the file are findings of the session. */
    static read(session: Session, content: Content): Dataset {
        const { machine } = session;
        return machine.files.withInput(content, (path) =>
            machine.withTexts([path], (name) => {
                const out = machine.out;
                session.check(machine.call("read_file", session.handle, name, out));
                return new Dataset(machine, machine.pointer(out));
            }),
        );
    }

    check(session: Session, module?: string): void {
        this.machine.withTexts([module], (code) =>
            session.check(this.machine.call("check", session.handle, this.handle, code)),
        );
    }

    mend(session: Session): void {
        session.check(this.machine.call("mend", session.handle, this.handle));
    }

    complete(session: Session, module: string, rules: string): void {
        this.machine.withTexts([module, rules], (code, lines) =>
            session.check(this.machine.call("complete", session.handle, this.handle, code, lines)),
        );
    }

    write(session: Session, sink: Sink): void {
        const { machine } = this;
        machine.files.withOutput(sink, (path) =>
            machine.withTexts([path], (name) =>
                session.check(machine.call("write_file", session.handle, this.handle, name, 0)),
            ),
        );
    }

    /** The DICOM JSON model (PS3.18 annex F) as text; values with more bytes become references. */
    json(session: Session, longestInline = 0): string {
        return new TextDecoder().decode(
            this.machine.taken((text, size) =>
                session.check(
                    this.machine.call(
                        "to_json",
                        session.handle,
                        this.handle,
                        longestInline,
                        text,
                        size,
                    ),
                ),
            ),
        );
    }

    get transferSyntax(): string {
        return this.machine.written((buffer, capacity) =>
            this.machine.call("transfer_syntax", this.handle, buffer, capacity),
        );
    }

    /** All elements; nesting costs no stack. */
    table(): Table {
        const { machine } = this;
        const rows = new TableBuilder();
        const vr = machine.allocate(4);
        /** A list of elements that is gone through, or the items of a sequence. */
        interface Open {
            row: number;
            next: number;
            sequence: number;
            item: number;
        }
        const open: Open[] = [
            { row: -1, next: machine.call("first", this.handle, 0), sequence: 0, item: 0 },
            { row: -1, next: machine.call("first_meta", this.handle), sequence: 0, item: 0 },
        ];
        const depth = () => Math.min(open.length - 1, 0xffff);
        let bottom = 1;
        while (open.length > 0) {
            const level = open[open.length - 1];
            if (level.sequence !== 0) {
                const item = machine.call("get_item", level.sequence, level.item);
                if (item === 0) {
                    rows.close(level.row);
                    open.pop();
                    continue;
                }
                const at = depth() - bottom;
                const row = rows.add(ITEM_TAG, at, 0, RowKind.ITEM, level.item++, -1, 0);
                open.push({
                    row,
                    next: machine.call("first", this.handle, item),
                    sequence: 0,
                    item: 0,
                });
                continue;
            }
            const element = level.next;
            if (element === 0) {
                if (level.row >= 0) {
                    rows.close(level.row);
                } else {
                    bottom = 0;
                }
                open.pop();
                continue;
            }
            level.next = machine.call("next", element);
            machine.call("vr", element, vr);
            const letters = machine.view(vr).getUint16(0, false);
            const tag = machine.call("tag", element) >>> 0;
            const offset = machine.call("offset", element);
            const at = depth() - bottom;
            if (machine.call("is_sequence", element)) {
                const items = machine.call("item_count", element);
                const row = rows.add(tag, at, letters, RowKind.SEQUENCE, items, offset, element);
                open.push({ row, next: 0, sequence: element, item: 0 });
                continue;
            }
            const fragments = machine.call("fragment_count", element);
            const size = machine.call("length", element);
            const kind = fragments > 0 ? RowKind.FRAGMENTS : RowKind.ELEMENT;
            const row = rows.add(tag, at, letters, kind, size, offset, element);
            for (let i = 0; i < fragments; ++i) {
                const part = machine.call("get_fragment", element, i);
                const [length, place] = [
                    machine.call("length", part),
                    machine.call("offset", part),
                ];
                rows.add(ITEM_TAG, at + 1, 0, RowKind.FRAGMENT, length, place, part);
            }
            rows.close(row);
        }
        machine.free(vr);
        return rows.build();
    }

    /** The element of a path such as "0040,0275[0]/0008,0100" or "PatientName"; 0 when there is none. */
    find(path: string): number {
        const { machine } = this;
        return machine.withTexts([path], (name) => {
            const out = machine.out;
            const status = machine.call("find_path", this.handle, name, out, 0);
            return status === Status.OK ? machine.pointer(out) : 0;
        });
    }

    valueCount(element: number): number {
        return this.machine.call("value_count", this.handle, element);
    }

    /** The values as text, with backslashes between them, as far as `most` characters hold. */
    text(element: number, most = 1024): string {
        const count = this.valueCount(element);
        let all = "";
        for (let i = 0; i < count && all.length <= most; ++i) {
            all += (i > 0 ? "\\" : "") + this.textOf(element, i, most);
        }
        return all.length > most ? all.slice(0, most) + "…" : all;
    }

    /** One value as text, at most some characters of it. */
    textOf(element: number, index: number, most = 1024): string {
        const { machine } = this;
        const buffer = machine.allocate(4 * most + 4);
        try {
            const length = machine.out;
            const status = machine.call(
                "get_text",
                this.handle,
                element,
                index,
                buffer,
                4 * most + 4,
                length,
            );
            const size = Math.min(machine.pointer(length), 4 * most + 3);
            return status === Status.OK
                ? new TextDecoder().decode(machine.bytes(buffer, size))
                : "";
        } finally {
            machine.free(buffer);
        }
    }

    /** One value as a number; NaN when it is none. */
    number(element: number, index = 0): number {
        const out = this.machine.out;
        const status = this.machine.call("get_double", this.handle, element, index, out);
        return status === Status.OK ? this.machine.view(out).getFloat64(0, true) : NaN;
    }

    /** Bytes of a value, numbers in little endian. */
    bytes(session: Session, element: number, offset: number, size: number): Uint8Array {
        const { machine } = this;
        const buffer = machine.allocate(size);
        try {
            const out = machine.out;
            session.check(
                machine.call("get_bytes", this.handle, element, offset, buffer, size, out),
            );
            return machine.bytes(buffer, machine.pointer(out)).slice();
        } finally {
            machine.free(buffer);
        }
    }

    isHarmless(element: number): boolean {
        return this.machine.call("is_harmless", this.handle, element) !== 0;
    }

    close(): void {
        if (this.isOpen) {
            this.isOpen = false;
            released.unregister(this);
            Dataset.release(this.machine, this.address);
        }
    }
}
