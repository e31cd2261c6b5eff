/** What the page asks of its worker, and what it is told. */
import type { Finding, ReportFormat, Table } from "dicom-mend";

export interface Opened {
    table: Table;
    syntax: string;
    /** The file is packed as a whole: places are those of what is in it. */
    isPacked: boolean;
    image: ImageFacts | null;
}

/** An element as it is shown. */
export interface Row {
    name: string;
    keyword: string;
    value: string;
    /** The value may identify a person, and was not asked for. */
    hidden: boolean;
}

/** What is known of an image that can be shown. */
export interface ImageFacts {
    width: number;
    height: number;
    frames: number;
    isColour: boolean;
    /** It may show who it is of. */
    mayIdentify: boolean;
    window: Window | null;
}

export interface Window {
    center: number;
    width: number;
}

/** One frame: values before windowing, or colours. */
export type Frame =
    | { kind: "grey"; values: Float32Array; inverted: boolean; least: number; most: number }
    | { kind: "colour"; pixels: Uint8ClampedArray };

/** A finding without its bytes where these may identify a person: they are asked for by `sides`. */
export interface Told extends Finding {
    isHidden: boolean;
}

export interface Checked {
    findings: Told[];
    outcome: number;
}

export interface Sides {
    before: Uint8Array;
    after: Uint8Array;
}

export interface Mended {
    /** Null where there is none. */
    blob: Blob | null;
    /** What was lost last, which tells why there is none. */
    why: string;
}

export interface MendChoices {
    complete: boolean;
    toUtf8: boolean;
    record: boolean;
}

/** The questions with their answers; each is a function of the worker. */
export interface Questions {
    start(memory: number | undefined): { version: string };
    /** Bytes of the findings are kept for `sides` where the file is the one that is looked at. */
    check(file: File, isLookedAt: boolean): Checked;
    /** The bytes of a finding of the file that is looked at. */
    sides(finding: number): Sides;
    open(file: File): Opened;
    rows(indices: number[], reveal: boolean): Row[];
    search(text: string, reveal: boolean): Uint32Array;
    frame(index: number): Frame;
    mend(file: File, choices: MendChoices): Mended;
    report(file: File, format: ReportFormat, reveal: boolean): string;
    archive(entries: { name: string; blob: Blob }[]): Blob;
}

export type Question = keyof Questions;

export interface Asked {
    id: number;
    question: Question;
    parameters: unknown[];
}

export type Answered =
    { id: number; answer: unknown } | { id: number; fault: string; outOfMemory: boolean };
