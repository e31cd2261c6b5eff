/** All that the page knows, and what users may do. */
import type { ReportFormat } from "dicom-mend";
import { Client, WorkerFault } from "./client.js";
import type { Given } from "./dropped.js";
import type { MendChoices, Opened, Told } from "./protocol.js";
import { foldedAtFirst, parentsOf, rowAt, visibleRows } from "./rows.js";
import { mendedName, save, type Saved } from "./save.js";

export interface Entry extends Given {
    state: "waiting" | "working" | "done" | "failed";
    outcome: number;
    errors: number;
    warnings: number;
    fault: string;
}

/** The file that is looked at. */
export interface View extends Opened {
    entry: Entry;
    parents: Int32Array;
    folded: Set<number>;
    /** What was folded before the search, whose branches are all open at first. */
    foldedBefore: Set<number> | null;
    found: Uint32Array | null;
    /** The findings are those of the whole file, and not still to come. */
    isChecked: boolean;
    findings: Told[];
    visible: Uint32Array;
    /** The gravest finding of each row: 1 a warning, 2 an error. */
    marks: Map<number, number>;
}

export type Pane = "files" | "elements" | "faults" | "image";

export interface State {
    entries: Entry[];
    view: View | null;
    opening: Entry | null;
    selectedRow: number;
    selectedFault: number;
    search: string;
    reveal: boolean;
    choices: MendChoices;
    pane: Pane;
    /** What is read out: what happened last. */
    message: string;
    isFault: boolean;
    busy: boolean;
}

/** Of many of one kind, the last one says how many more there are. */
const MORE = /^and (\d+) more like this$/;

function counted(findings: Told[], severity: string): number {
    return findings
        .filter((finding) => finding.severity === severity)
        .reduce((count, { message }) => count + Number(MORE.exec(message)?.[1] ?? 1), 0);
}

/** "1 fault", "2 faults". */
export function numbered(count: number, what: string): string {
    return `${count} ${what}${count === 1 ? "" : "s"}`;
}

/** What became of a file that was to be saved. */
function wordsOfSaved({ how, name }: Saved): string {
    const words = { saved: "is saved", refused: "is not saved", downloaded: "is downloaded" };
    return `${name} ${words[how]}`;
}

export function wordsOf(error: unknown): string {
    if (error instanceof WorkerFault && error.outOfMemory) {
        return "The memory that the page may use is not enough for this file. The command line has no such limit.";
    }
    return error instanceof Error ? error.message : String(error);
}

export class Store {
    state: State = {
        entries: [],
        view: null,
        opening: null,
        selectedRow: -1,
        selectedFault: -1,
        search: "",
        reveal: false,
        choices: { complete: false, toUtf8: false, record: false },
        pane: "files",
        message: "",
        isFault: false,
        busy: false,
    };
    readonly client = new Client();
    private listeners = new Set<() => void>();
    private isChecking = false;

    constructor() {
        const memory = Number(new URLSearchParams(location.search).get("memory"));
        this.client.ask("start", memory > 0 ? memory * 2 ** 20 : undefined).then(
            () => document.documentElement.setAttribute("data-ready", ""),
            (error: unknown) => this.tell(`The library cannot be started: ${wordsOf(error)}`, true),
        );
    }

    subscribe(listener: () => void): () => void {
        this.listeners.add(listener);
        return () => this.listeners.delete(listener);
    }

    set(change: Partial<State>): void {
        this.state = { ...this.state, ...change };
        this.listeners.forEach((listener) => listener());
    }

    tell(message: string, isFault = false): void {
        this.set({ message, isFault });
    }

    async add(given: Given[]): Promise<void> {
        if (given.length === 0) {
            return;
        }
        const entries: Entry[] = given.map((one) => ({
            ...one,
            state: "waiting",
            outcome: 0,
            errors: 0,
            warnings: 0,
            fault: "",
        }));
        this.set({ entries: [...this.state.entries, ...entries] });
        await this.open(entries[0]);
        await this.checkWaiting();
    }

    private change(entry: Entry, change: Partial<Entry>): void {
        Object.assign(entry, change);
        this.set({ entries: [...this.state.entries] });
    }

    private checked(entry: Entry, findings: Told[], outcome: number): void {
        this.change(entry, {
            state: "done",
            outcome,
            errors: counted(findings, "error"),
            warnings: counted(findings, "warning"),
            fault: "",
        });
    }

    private async checkWaiting(): Promise<void> {
        if (this.isChecking) {
            return;
        }
        this.isChecking = true;
        for (;;) {
            const entry = this.state.entries.find(({ state }) => state === "waiting");
            if (entry === undefined) {
                break;
            }
            this.change(entry, { state: "working" });
            try {
                const { findings, outcome } = await this.client.ask("check", entry.file, false);
                this.checked(entry, findings, outcome);
            } catch (error) {
                this.change(entry, { state: "failed", fault: wordsOf(error) });
            }
        }
        this.isChecking = false;
    }

    async open(entry: Entry): Promise<void> {
        this.set({ opening: entry, view: null, selectedRow: -1, selectedFault: -1, search: "" });
        if (entry.state === "waiting") {
            this.change(entry, { state: "working" });
        }
        try {
            const opened = await this.client.ask("open", entry.file);
            if (this.state.opening !== entry) {
                this.putBack(entry);
                return;
            }
            this.show(entry, opened);
            const { findings, outcome } = await this.client.ask("check", entry.file, true);
            this.checked(entry, findings, outcome);
            this.showFindings(entry, findings);
        } catch (error) {
            this.change(entry, { state: "failed", fault: wordsOf(error) });
            const { opening, view } = this.state;
            if (opening === entry || view?.entry === entry) {
                this.set({ opening: null, view: null });
                this.tell(`${entry.path}: ${wordsOf(error)}`, true);
            }
        }
    }

    /** Another file was opened meanwhile: this one is checked in its turn. */
    private putBack(entry: Entry): void {
        if (entry.state === "working") {
            this.change(entry, { state: "waiting" });
            void this.checkWaiting();
        }
    }

    /** The elements are seen before it is known what is wrong with them. */
    private show(entry: Entry, opened: Opened): void {
        const { table } = opened;
        const [parents, folded] = [parentsOf(table), foldedAtFirst(table)];
        const visible = visibleRows(table, parents, folded, null);
        const view: View = {
            ...opened,
            entry,
            parents,
            folded,
            foldedBefore: null,
            found: null,
            visible,
            isChecked: false,
            findings: [],
            marks: new Map(),
        };
        const pane = this.state.pane === "files" ? "faults" : this.state.pane;
        this.set({ view, opening: null, pane });
    }

    private showFindings(entry: Entry, findings: Told[]): void {
        const { view } = this.state;
        if (view?.entry !== entry) {
            return;
        }
        const { table } = view;
        const marks = new Map<number, number>();
        for (const { offset, tag, severity } of findings) {
            const row = rowAt(table, offset, tag);
            const grave = severity === "error" ? 2 : severity === "warning" ? 1 : 0;
            marks.set(row, Math.max(marks.get(row) ?? 0, grave));
        }
        marks.delete(-1);
        this.changeView({ findings, marks, isChecked: true });
        const words = `${numbered(table.count, "element")}, ${numbered(entry.errors + entry.warnings, "fault")}`;
        this.tell(`${entry.path}: ${words}`);
    }

    private changeView(change: Partial<View>): void {
        if (this.state.view !== null) {
            const view = { ...this.state.view, ...change };
            view.visible = visibleRows(view.table, view.parents, view.folded, view.found);
            this.set({ view });
        }
    }

    fold(row: number, isFolded: boolean): void {
        const folded = new Set(this.state.view?.folded);
        if (isFolded) {
            folded.add(row);
        } else {
            folded.delete(row);
        }
        this.changeView({ folded });
    }

    foldAll(isFolded: boolean): void {
        const folded = new Set<number>();
        const table = this.state.view?.table;
        for (let i = 0; table && isFolded && i < table.count; ++i) {
            if (table.end[i] > i + 1) {
                folded.add(i);
            }
        }
        this.changeView({ folded });
    }

    async search(text: string): Promise<void> {
        this.set({ search: text });
        if (text.trim() === "") {
            const { view } = this.state;
            const folded = view?.foldedBefore ?? view?.folded ?? new Set();
            this.changeView({ found: null, folded, foldedBefore: null });
            return;
        }
        const { view, reveal } = this.state;
        const found = await this.client.ask("search", text.trim(), reveal);
        const isWanted = this.state.search === text && this.state.reveal === reveal;
        if (isWanted && view && this.state.view?.entry === view.entry) {
            const { folded, foldedBefore } = this.state.view!;
            this.changeView({ found, folded: new Set(), foldedBefore: foldedBefore ?? folded });
            this.tell(`${numbered(found.length, "element")} found`);
        }
    }

    /** What is found depends on what may be looked at. */
    async reveal(reveal: boolean): Promise<void> {
        this.set({ reveal });
        if (this.state.search.trim() !== "") {
            await this.search(this.state.search);
        }
    }

    /** Shows the element of a finding, opening what it is in. */
    select(fault: number): void {
        const { view } = this.state;
        const finding = view?.findings[fault];
        if (!view || !finding) {
            return;
        }
        const row = rowAt(view.table, finding.offset, finding.tag);
        const folded = new Set(view.foldedBefore ?? view.folded);
        for (let at = row >= 0 ? view.parents[row] : -1; at >= 0; at = view.parents[at]) {
            folded.delete(at);
        }
        this.set({ selectedFault: fault, selectedRow: row, search: "" });
        this.changeView({ folded, foldedBefore: null, found: null });
    }

    private async busy(work: () => Promise<void>): Promise<void> {
        this.set({ busy: true });
        try {
            await work();
        } catch (error) {
            this.tell(wordsOf(error), true);
        } finally {
            this.set({ busy: false });
        }
    }

    async mend(entry: Entry): Promise<void> {
        await this.busy(async () => {
            let why = "";
            const name = mendedName(entry.path.split("/").pop()!);
            const saved = await save(name, async () => {
                this.tell(`Mending ${entry.path}`);
                const mended = await this.client.ask("mend", entry.file, this.state.choices);
                why = mended.why;
                return mended.blob;
            });
            this.tell(
                saved === null ? `${entry.path} cannot be mended: ${why}` : wordsOfSaved(saved),
                saved === null,
            );
        });
    }

    async mendAll(): Promise<void> {
        await this.busy(async () => {
            const { entries, choices } = this.state;
            const failed: string[] = [];
            const saved = await save("mended.zip", async () => {
                const mended: { name: string; blob: Blob }[] = [];
                for (const [i, { path, file }] of entries.entries()) {
                    this.tell(`Mending ${i + 1} of ${entries.length}: ${path}`);
                    const blob = await this.client
                        .ask("mend", file, choices)
                        .then(({ blob }) => blob)
                        .catch(() => null);
                    if (blob === null) {
                        failed.push(path);
                    } else {
                        mended.push({ name: path, blob });
                    }
                }
                return mended.length > 0 ? this.client.ask("archive", mended) : null;
            });
            const left =
                failed.length > 0 ? `; not mended, and not in it: ${failed.join(", ")}` : "";
            const count = `${entries.length - failed.length} of ${entries.length} files`;
            const words = saved === null ? "Nothing is saved" : `${wordsOfSaved(saved)}: ${count}`;
            this.tell(words + left, left !== "");
        });
    }

    async report(entry: Entry, format: ReportFormat): Promise<void> {
        await this.busy(async () => {
            const endings = { text: "txt", json: "jsonl", sarif: "sarif" };
            const name = `${entry.file.name}-findings.${endings[format]}`;
            const saved = await save(name, async () => {
                const text = await this.client.ask("report", entry.file, format, this.state.reveal);
                return new Blob([text], { type: "text/plain" });
            });
            this.tell(saved === null ? "There is no report" : wordsOfSaved(saved));
        });
    }
}
