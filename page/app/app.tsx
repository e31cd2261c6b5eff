/** The page as a whole. */
import type { ReportFormat } from "dicom-mend";
import type { ComponentChildren } from "preact";
import { useEffect, useRef, useState } from "preact/hooks";
import { ofDrop, ofList } from "./dropped.js";
import { Faults } from "./faults.js";
import { Image } from "./image.js";
import type { MendChoices } from "./protocol.js";
import { type Entry, numbered, type Pane, type State, type Store } from "./store.js";
import { Tree } from "./tree.js";
import { Room, useScrolled } from "./virtual.js";

function useStore(store: Store): State {
    const [state, setState] = useState(store.state);
    useEffect(() => store.subscribe(() => setState(store.state)), [store]);
    return state;
}

/** Chooses files or folders without a mouse. */
function Chooser(properties: { store: Store; label: string; isFolder: boolean }) {
    const { store, label, isFolder } = properties;
    const input = useRef<HTMLInputElement>(null);
    useEffect(() => {
        if (isFolder) {
            input.current!.webkitdirectory = true;
        }
    }, [isFolder]);
    return (
        <>
            <button type="button" onClick={() => input.current!.click()}>
                {label}
            </button>
            <input
                ref={input}
                type="file"
                class="chooser"
                multiple
                hidden
                aria-label={label}
                onChange={(event) => {
                    const given = ofList(event.currentTarget.files!);
                    event.currentTarget.value = "";
                    void store.add(given);
                }}
            />
        </>
    );
}

function stateText(entry: Entry): string {
    switch (entry.state) {
        case "waiting":
            return "waits";
        case "working":
            return "is read";
        case "failed":
            return entry.fault;
        case "done":
            return entry.outcome === 0
                ? "sound"
                : [
                      entry.errors > 0 && numbered(entry.errors, "error"),
                      entry.warnings > 0 && numbered(entry.warnings, "warning"),
                  ]
                      .filter(Boolean)
                      .join(", ");
    }
}

function Files({ store, state }: { store: Store; state: State }) {
    const scrolled = useScrolled(state.entries.length, 52);
    const shown = state.entries.slice(scrolled.first, scrolled.first + scrolled.count);
    const open = state.view?.entry ?? state.opening;
    return (
        <section class="files" aria-label="Files">
            <div
                class="scroller"
                ref={scrolled.viewport}
                tabIndex={0}
                role="group"
                aria-label="All files"
            >
                <Room scrolled={scrolled}>
                    {shown.map((entry, i) => (
                        <button
                            type="button"
                            key={scrolled.first + i}
                            class={`file ${entry === open ? "selected" : ""} outcome-${entry.state === "failed" ? 2 : entry.outcome}`}
                            aria-pressed={entry === open}
                            onClick={() => void store.open(entry)}
                        >
                            <bdi class="file-name">{entry.path}</bdi>
                            <span class="file-state">{stateText(entry)}</span>
                        </button>
                    ))}
                </Room>
            </div>
        </section>
    );
}

const CHOICES: [keyof MendChoices, string][] = [
    ["complete", "Supply what the kind of object requires"],
    ["toUtf8", "Convert texts to UTF-8"],
    ["record", "Keep in the file what is changed"],
];

/** What opens below its name, and closes by Escape and by a click elsewhere. */
function Menu({ name, children }: { name: string; children: ComponentChildren }) {
    const menu = useRef<HTMLDetailsElement>(null);
    useEffect(() => {
        const onClick = (event: MouseEvent) => {
            if (!menu.current!.contains(event.target as Node)) {
                menu.current!.open = false;
            }
        };
        document.addEventListener("click", onClick);
        return () => document.removeEventListener("click", onClick);
    }, []);
    const onKeyDown = (event: KeyboardEvent) => {
        if (event.key === "Escape" && menu.current!.open) {
            menu.current!.open = false;
            menu.current!.querySelector("summary")!.focus();
        }
    };
    return (
        <details class="menu" ref={menu} onKeyDown={onKeyDown}>
            <summary>{name}</summary>
            <div class="menu-body">{children}</div>
        </details>
    );
}

function Actions({ store, state }: { store: Store; state: State }) {
    const { view, busy, entries, choices, reveal } = state;
    const entry = view?.entry;
    const report = (format: ReportFormat) => entry && void store.report(entry, format);
    return (
        <div class="actions" role="toolbar" aria-label="Actions">
            <button
                type="button"
                class="main"
                disabled={!entry || busy}
                onClick={() => entry && void store.mend(entry)}
            >
                Mend
            </button>
            <button
                type="button"
                disabled={entries.length < 2 || busy}
                onClick={() => void store.mendAll()}
            >
                Mend all
            </button>
            <Menu name="Options">
                {CHOICES.map(([name, label]) => (
                    <label key={name}>
                        <input
                            type="checkbox"
                            checked={choices[name]}
                            onChange={(event) =>
                                store.set({
                                    choices: {
                                        ...choices,
                                        [name]: event.currentTarget.checked,
                                    },
                                })
                            }
                        />{" "}
                        {label}
                    </label>
                ))}
            </Menu>
            <Menu name="Report">
                {(["text", "json", "sarif"] as const).map((format) => (
                    <button
                        type="button"
                        key={format}
                        disabled={!entry}
                        onClick={() => report(format)}
                    >
                        {{ text: "As text", json: "As JSON", sarif: "As SARIF" }[format]}
                    </button>
                ))}
            </Menu>
            <label class="reveal">
                <input
                    type="checkbox"
                    checked={reveal}
                    onChange={(event) => void store.reveal(event.currentTarget.checked)}
                />{" "}
                Personal values
            </label>
        </div>
    );
}

function Panes({ store, state }: { store: Store; state: State }) {
    const { view, pane, opening, entries } = state;
    const names: [Pane, string, boolean][] = [
        ["files", "Files", entries.length > 0],
        ["faults", "Faults", view !== null],
        ["elements", "Elements", view !== null],
        ["image", "Image", view?.image !== null && view !== null],
    ];
    return (
        <>
            <nav class="panes" aria-label="Parts">
                {names.map(([name, label, isThere]) => (
                    <button
                        type="button"
                        key={name}
                        disabled={!isThere}
                        aria-pressed={pane === name}
                        onClick={() => store.set({ pane: name })}
                    >
                        {label}
                    </button>
                ))}
            </nav>
            <main class={`work show-${pane}`}>
                <Files store={store} state={state} />
                {view ? (
                    <>
                        <div class="side-column">
                            {view.image && (
                                <Image key={view.entry.path} store={store} image={view.image} />
                            )}
                            <Faults key={view.entry.path} store={store} view={view} />
                        </div>
                        <Tree key={view.entry.path} store={store} view={view} />
                    </>
                ) : (
                    <p class="none reading">
                        {opening ? `${opening.path} is read` : "Choose a file."}
                    </p>
                )}
            </main>
        </>
    );
}

export function App({ store }: { store: Store }) {
    const state = useStore(store);
    const [isOver, setOver] = useState(false);
    const isEmpty = state.entries.length === 0;
    const onDrop = (event: DragEvent) => {
        event.preventDefault();
        setOver(false);
        if (event.dataTransfer) {
            ofDrop(event.dataTransfer).then(
                (given) => store.add(given),
                () => store.tell("What was dropped cannot be read", true),
            );
        }
    };
    return (
        <div
            class={`page ${isOver ? "over" : ""}`}
            onDragOver={(event) => {
                event.preventDefault();
                setOver(true);
            }}
            onDragLeave={() => setOver(false)}
            onDrop={onDrop}
        >
            <header>
                <h1>dicom-mend</h1>
                <div class="choosers">
                    <Chooser store={store} label="Choose files" isFolder={false} />
                    <Chooser store={store} label="Choose a folder" isFolder={true} />
                </div>
                {!isEmpty && <Actions store={store} state={state} />}
            </header>
            <p class={`message ${state.isFault ? "fault-message" : ""}`} role="status">
                {state.message}
            </p>
            {isEmpty ? (
                <main class="start">
                    <p class="invitation">Drop DICOM files or a folder here</p>
                    <p>
                        You see what is wrong with them, and get clean files back. Everything is
                        done on this machine: nothing is uploaded.
                    </p>
                </main>
            ) : (
                <Panes store={store} state={state} />
            )}
        </div>
    );
}
