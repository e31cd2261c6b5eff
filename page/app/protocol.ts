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

export interface Mended {
    /** Null where a finding tells why there is none. */
    blob: Blob | null;
    outcome: number;
    findings: Finding[];
}

export interface MendChoices {
    complete: boolean;
    toUtf8: boolean;
    record: boolean;
}

/** The questions with their answers; each is a function of the worker. */
export interface Questions {
    start(memory: number | undefined): { version: string };
    check(file: File): { findings: Finding[]; outcome: number };
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
