/** The verbs: list, check, mend, complete. */
import { Machine, MendError, Status, type Parts } from "./calls.js";
import { BytesSink, checkContent, type Content, type Sink } from "./contents.js";
import { Dataset } from "./dataset.js";
import { Session, type Finding, type Options, type ReportFormat } from "./session.js";

/** What a check or a mending came to. */
export interface Result {
    findings: Finding[];
    /** 0 nothing against the standard, 1 something is, 2 something was lost. */
    outcome: number;
    /** All findings as `dicom-mend check -v` prints them, text without their kinds; "" unless it was asked for. */
    report: string;
}

/** What was written into a sink; `written` is false where a finding tells why it is not whole. */
export interface Written extends Result {
    written: boolean;
}

export interface CallOptions extends Options {
    /** A report is wanted, too. JSON has one object a line. */
    report?: {
        format: ReportFormat;
        /** The name that the report gives the file. */
        file: string;
        /** Also values that may identify a person. */
        showValues?: boolean;
    };
}

export interface MendResult extends Result {
    /** The clean file; null where a finding tells why there is none. */
    data: Uint8Array | null;
}

export interface CheckOptions extends CallOptions {
    /** Also verify against an IOD: its code ("CT"), or "auto" for that of the SOP class. */
    module?: string;
}

export interface CompleteOptions extends CallOptions {
    /** The IOD that is completed; "auto", that of the SOP class, unless given. */
    module?: string;
    /** Lines of definitions that override those of the IOD. */
    rules?: string;
}

/** The DICOM JSON model (PS3.18 annex F). */
export type JsonModel = Record<string, { vr: string; [member: string]: unknown }>;

/**
 * The library. `Input` is what files are given as: bytes, and what the host knows besides.
 * Calls are made at once and in turn; where they should not be waited for, they belong into a worker.
 */
export class Library<Input> {
    protected constructor(
        protected machine: Machine,
        private readonly parts: Parts,
        private readonly opened: (input: Input) => { content: Content; close(): void },
    ) {}

    static async start<Input>(
        parts: Parts,
        opened: (input: Input) => { content: Content; close(): void },
    ): Promise<Library<Input>> {
        return new Library(await Machine.start(parts), parts, opened);
    }

    /** Makes the library anew after a fault that stopped it. What was read with it is lost. */
    async restart(): Promise<void> {
        this.machine = await Machine.start(this.parts);
    }

    get isStopped(): boolean {
        return this.machine.isStopped;
    }

    /** Bytes of memory that the library has taken. */
    get memorySize(): number {
        return this.machine.memorySize;
    }

    get version(): string {
        return this.machine.text(this.machine.call("version"));
    }

    /** What is wrong with a file. One that is no DICOM file gives a finding too. */
    check(input: Input, options: CheckOptions = {}): Result {
        return this.with(input, options, (session, content) => {
            const { machine } = this;
            const status = machine.files.withInput(content, (path) =>
                machine.withTexts([path, options.module], (name, code) =>
                    machine.call("check_file", session.handle, name, code),
                ),
            );
            if (status !== Status.NOT_DICOM) {
                session.check(status);
            }
            return {};
        });
    }

    /** A clean copy of a file. */
    mend(input: Input, options: CallOptions = {}): MendResult {
        const sink = new BytesSink();
        const result = this.mendTo(input, sink, options);
        return { ...result, data: result.written ? sink.result() : null };
    }

    /** The same into a sink, piece by piece. */
    mendTo(input: Input, sink: Sink, options: CallOptions = {}): Written {
        return this.with(input, options, (session, content) => {
            const { machine } = this;
            const mend = (from: string, to: string) =>
                machine.withTexts([from, to], (one, other) =>
                    machine.call("mend_file", session.handle, one, other, 0),
                );
            return this.ended(session, () =>
                machine.files.withInput(content, (from) =>
                    machine.files.withOutput(sink, (to) => session.check(mend(from, to))),
                ),
            );
        });
    }

    /** A clean copy with what the IOD requires supplied as far as it can be. */
    complete(input: Input, options: CompleteOptions = {}): MendResult {
        const sink = new BytesSink();
        const result = this.completeTo(input, sink, options);
        return { ...result, data: result.written ? sink.result() : null };
    }

    /** The same into a sink, piece by piece. */
    completeTo(input: Input, sink: Sink, options: CompleteOptions = {}): Written {
        return this.with(input, options, (session, content) =>
            this.ended(session, () => {
                const dataset = Dataset.read(session, content);
                try {
                    dataset.complete(session, options.module ?? "auto", options.rules ?? "");
                    dataset.write(session, sink);
                } finally {
                    dataset.close();
                }
            }),
        );
    }

    /**
     * The elements of a file as the DICOM JSON model.
     *
     * @param longestInline  values with more bytes become references; 0 for all inline
     */
    list(input: Input, longestInline = 0): JsonModel {
        return JSON.parse(this.listText(input, longestInline)) as JsonModel;
    }

    /** The same as text. */
    listText(input: Input, longestInline = 0): string {
        const { content, close } = this.opened(input);
        const session = new Session(this.machine);
        try {
            const dataset = Dataset.read(session, content);
            try {
                return dataset.json(session, longestInline);
            } finally {
                dataset.close();
            }
        } finally {
            session.close();
            close();
        }
    }

    /** Reads a file for calls of one's own; the data set is closed by the caller. */
    open(content: Content, options: Options = {}): { dataset: Dataset; session: Session } {
        checkContent(content);
        const session = new Session(this.machine, options);
        return { dataset: Dataset.read(session, content), session };
    }

    /** Name of an attribute. */
    tagName(tag: number): string {
        return this.machine.written((buffer, capacity) =>
            this.machine.call("tag_name", tag, buffer, capacity),
        );
    }

    /** "PatientName"; "" for private and unknown tags. */
    keyword(tag: number): string {
        return this.machine.written((buffer, capacity) =>
            this.machine.call("tag_keyword", tag, buffer, capacity),
        );
    }

    private with<More extends object>(
        input: Input,
        options: CallOptions,
        work: (session: Session, content: Content) => More,
    ): Result & More {
        const { content, close } = this.opened(input);
        try {
            const session = new Session(this.machine, options);
            try {
                const more = work(session, content);
                const { report } = options;
                return {
                    ...more,
                    findings: session.findings(),
                    outcome: session.outcome,
                    report: report
                        ? session.report(report.format, report.file, report.showValues)
                        : "",
                };
            } finally {
                session.close();
            }
        } finally {
            close();
        }
    }

    /** A file that cannot be mended is told of by findings, and is no fault of the call. */
    private ended(session: Session, work: () => void): { written: boolean } {
        try {
            work();
            return { written: true };
        } catch (error) {
            const told: number[] = [Status.NOT_DICOM, Status.NO_OUTPUT, Status.NOT_FOUND];
            if (
                error instanceof MendError &&
                told.includes(error.status) &&
                session.outcome === 2
            ) {
                return { written: false };
            }
            throw error;
        }
    }
}
