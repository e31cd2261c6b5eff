/** Options and findings of calls. */
import { Machine, MendError, Status } from "./calls.js";

/** What a user may ask of mending. */
export interface Options {
    /** Apply the fixed repairs of the VRs (PS3.5 6.2) in full. */
    strict?: boolean;
    /** Replace UIDs that are none (PS3.5 9.1). */
    replaceUids?: boolean;
    /** Fill pixel data that is too short with zeros. */
    padPixels?: boolean;
    /** Convert all texts to UTF-8. */
    toUtf8?: boolean;
    /** Keep what is changed in the Original Attributes Sequence (PS3.3 C.12.1.1.9). */
    record?: boolean;
    /** Leave private elements out. */
    dropPrivate?: boolean;
    /** Write a group length in front of each group. */
    groupLengths?: boolean;
    /** Write sequences and items with defined lengths. */
    definedLengths?: boolean;
    /** The transfer syntax that is written. */
    syntax?: "keep" | "implicit-little" | "explicit-little" | "explicit-big";
    /** The character set that the texts have whatever a file declares. */
    charset?: string;
}

const FLAGS = {
    strict: 1,
    replaceUids: 2,
    padPixels: 3,
    toUtf8: 4,
    record: 5,
    dropPrivate: 6,
    groupLengths: 7,
    definedLengths: 8,
} as const;
const SYNTAXES = ["keep", "implicit-little", "explicit-little", "explicit-big"];
const FORMATS = ["text", "json", "sarif"] as const;

export type ReportFormat = (typeof FORMATS)[number];
export type Severity = "info" | "warning" | "error";
/** What becomes of a fault: "info" is none, "loss" what could not be read, kept or written. */
export type Level = "info" | "change" | "kept" | "loss";

/** What was found, and what becomes of it. */
export interface Finding {
    code: number;
    /** A stable name: "odd-length". */
    kind: string;
    severity: Severity;
    level: Level;
    /** group * 65536 + element; null for the file as a whole. */
    tag: number | null;
    /** "0040,0275[0]/0008,0100" */
    path: string;
    /** In bytes from the start of the file, and of the value; null where there is none. */
    offset: number | null;
    length: number | null;
    /** What is wrong and what becomes of it, without values. */
    message: string;
    /** Bytes before and after, at most 256. They may identify a person unless `harmless`. */
    before: Uint8Array;
    after: Uint8Array;
    harmless: boolean;
    /** What the standard asks for, and where. */
    rule: string;
    clause: string;
}

const SEVERITIES: Severity[] = ["info", "warning", "error"];
const LEVELS: Level[] = ["info", "change", "kept", "loss"];
/** sizeof(dicom_mend_finding_data) with pointers of 32 bits. */
const SIZE_OF_FINDING = 80;

function finding(machine: Machine, at: number): Finding {
    const view = machine.view(at);
    const [pointer, long] = [
        (offset: number) => view.getUint32(offset, true),
        (offset: number) => Number(view.getBigInt64(offset, true)),
    ];
    const orNull = (number: number) => (number >= 0 ? number : null);
    return {
        code: view.getInt32(0, true),
        severity: SEVERITIES[view.getInt32(4, true)],
        level: LEVELS[view.getInt32(8, true)],
        tag: view.getInt32(12, true) ? view.getUint32(16, true) : null,
        harmless: view.getInt32(20, true) !== 0,
        offset: orNull(long(24)),
        length: orNull(long(32)),
        kind: machine.text(pointer(40)),
        path: machine.text(pointer(44)),
        message: machine.text(pointer(48)),
        rule: machine.text(pointer(52)),
        clause: machine.text(pointer(56)),
        before: machine.bytes(pointer(60), pointer(64)).slice(),
        after: machine.bytes(pointer(68), pointer(72)).slice(),
    };
}

const released = new FinalizationRegistry<() => void>((release) => release());

/** Holds options, and what was found with them. */
export class Session {
    readonly handle: number;
    private isOpen = true;

    constructor(
        readonly machine: Machine,
        options: Options = {},
    ) {
        const handle = machine.call("session_new");
        if (handle === 0) {
            throw new MendError(Status.NO_MEMORY, "there is not enough memory");
        }
        this.handle = handle;
        released.register(this, () => Session.release(machine, handle), this);
        for (const [name, flag] of Object.entries(FLAGS)) {
            this.check(
                machine.call("set_flag", handle, flag, options[name as keyof typeof FLAGS] ? 1 : 0),
            );
        }
        const syntax = SYNTAXES.indexOf(options.syntax ?? "keep");
        this.check(machine.call("set_syntax", handle, syntax));
        machine.withTexts([options.charset ?? ""], (terms) =>
            this.check(machine.call("set_charset", handle, terms)),
        );
    }

    private static release(machine: Machine, handle: number): void {
        if (!machine.isStopped) {
            machine.call("session_free", handle);
        }
    }

    /** Throws what a status stands for, in the words of the library. */
    check(status: number): void {
        if (status !== Status.OK) {
            const { files } = this.machine;
            const reason = files.inWords(
                this.machine.text(this.machine.call("last_error", this.handle)),
            );
            throw new MendError(status, reason, { cause: files.takeFailure() });
        }
    }

    findings(): Finding[] {
        const { machine } = this;
        const count = machine.call("finding_count", this.handle);
        const room = machine.allocate(count * SIZE_OF_FINDING);
        try {
            machine.call("get_findings", this.handle, 0, room, SIZE_OF_FINDING, count);
            return Array.from({ length: count }, (_, i) =>
                finding(machine, room + i * SIZE_OF_FINDING),
            );
        } finally {
            machine.free(room);
        }
    }

    /** 0 nothing against the standard, 1 something is, 2 something was lost. */
    get outcome(): number {
        return this.machine.call("outcome", this.handle);
    }

    /**
     * All findings as `dicom-mend check -v` prints them, notes included; JSON has an object a line, and text leaves out
     * the kind in brackets at the end of its lines.
     */
    report(format: ReportFormat, file: string, showValues = false): string {
        const { machine, handle } = this;
        const number = FORMATS.indexOf(format);
        return new TextDecoder().decode(
            machine.withTexts([file], (name) =>
                machine.taken((text, size) =>
                    this.check(
                        machine.call(
                            "report",
                            handle,
                            name,
                            number,
                            showValues ? 1 : 0,
                            text,
                            size,
                        ),
                    ),
                ),
            ),
        );
    }

    close(): void {
        if (this.isOpen) {
            this.isOpen = false;
            released.unregister(this);
            Session.release(this.machine, this.handle);
        }
    }
}
