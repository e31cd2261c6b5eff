/** The tree of elements. */
import { RowKind } from "dicom-mend";
import { useEffect, useRef, useState } from "preact/hooks";
import { Hidden, HexView } from "./hex.js";
import type { Row } from "./protocol.js";
import { tagText, vrText } from "./rows.js";
import type { Store, View } from "./store.js";
import { unitOf } from "./units.js";
import { Room, useScrolled } from "./virtual.js";

const ROW_HEIGHT = 32;
const MOST_INDENTED = 6;

/** The texts of the rows in sight, which the worker is asked for. */
function useTexts(store: Store, view: View, rows: number[], reveal: boolean): Map<number, Row> {
    const texts = useRef(new Map<number, Row>());
    const known = useRef({ table: view.table, reveal });
    const [, redraw] = useState(0);
    if (known.current.table !== view.table || known.current.reveal !== reveal) {
        known.current = { table: view.table, reveal };
        texts.current = new Map();
    }
    useEffect(() => {
        const map = texts.current;
        const missing = rows.filter((row) => !map.has(row));
        if (missing.length === 0) {
            return;
        }
        store.client.ask("rows", missing, reveal).then(
            (answers) => {
                if (map.size > 5000) {
                    map.clear();
                }
                missing.forEach((row, i) => map.set(row, answers[i]));
                redraw((count) => count + 1);
            },
            () => undefined,
        );
    }, [rows.join(","), reveal, view.table]);
    return texts.current;
}

function lengthText(kind: number, length: number): string {
    if (kind === RowKind.SEQUENCE) {
        return length === 1 ? "1 item" : `${length} items`;
    }
    return kind === RowKind.ITEM || kind === RowKind.FRAGMENTS ? "" : `${length} B`;
}

function ValueText({ row }: { row: Row | undefined }) {
    if (row?.hidden) {
        return <span class="hidden-value">hidden</span>;
    }
    const unit = row && row.value !== "" ? unitOf(row.keyword) : "";
    return (
        <>
            <bdi>{row?.value ?? ""}</bdi>
            {unit !== "" && <span class="unit"> {unit}</span>}
        </>
    );
}

function TreeRow(properties: {
    store: Store;
    view: View;
    index: number;
    place: number;
    text: Row | undefined;
    isSelected: boolean;
}) {
    const { store, view, index, place, text, isSelected } = properties;
    const { table } = view;
    const kind = table.kind[index];
    const isBranch = table.end[index] > index + 1;
    const isOpen = isBranch && !view.folded.has(index);
    const mark = view.marks.get(index) ?? 0;
    const depth = table.depth[index];
    return (
        <div
            id={`row-${index}`}
            role="row"
            class={`row ${isSelected ? "selected" : ""} ${["", "warned", "wrong"][mark]}`}
            aria-level={depth + 1}
            aria-rowindex={place + 2}
            aria-selected={isSelected}
            aria-expanded={isBranch ? isOpen : undefined}
            onClick={() => store.set({ selectedRow: index })}
        >
            <span
                role="gridcell"
                class="tag"
                style={{ paddingLeft: `${Math.min(depth, MOST_INDENTED) * 0.6}rem` }}
            >
                <button
                    type="button"
                    tabIndex={-1}
                    class="fold"
                    hidden={!isBranch}
                    aria-label={isOpen ? "Fold" : "Unfold"}
                    onClick={() => store.fold(index, isOpen)}
                >
                    {isOpen ? "▾" : "▸"}
                </button>
                {kind === RowKind.ITEM || kind === RowKind.FRAGMENT
                    ? ""
                    : tagText(table.tag[index])}
            </span>
            <span role="gridcell" class="vr">
                {vrText(table.vr[index])}
            </span>
            <span role="gridcell" class="name">
                {mark > 0 && (
                    <span class="mark" role="img" aria-label={mark === 2 ? "error" : "warning"}>
                        {mark === 2 ? "✖" : "▲"}
                    </span>
                )}
                {text?.name ?? ""}
            </span>
            <span role="gridcell" class="value">
                <ValueText row={text} />
            </span>
            <span role="gridcell" class="length">
                {lengthText(kind, table.length[index])}
            </span>
        </div>
    );
}

/** The chosen element, as far as a row has no room for it. */
function Chosen(properties: { store: Store; view: View; index: number; text: Row | undefined }) {
    const { store, view, index, text } = properties;
    const { table, entry } = view;
    const offset = table.offset[index];
    // The length of what has parts is not that of bytes: its header is marked.
    const isValue = table.kind[index] === RowKind.ELEMENT || table.kind[index] === RowKind.FRAGMENT;
    const isItem = table.kind[index] === RowKind.ITEM;
    return (
        <section class="chosen" aria-label="The chosen element">
            <h2>
                {isItem ? "" : `(${tagText(table.tag[index])}) ${vrText(table.vr[index])} `}
                {text?.name ?? ""}
            </h2>
            <p class="chosen-value">
                <ValueText row={text} />
            </p>
            {offset >= 0 && !view.isPacked && (
                <details>
                    <summary>Bytes of the file, at {offset}</summary>
                    {store.state.reveal ? (
                        <HexView
                            file={entry.file}
                            offset={offset}
                            length={isValue ? table.length[index] : null}
                        />
                    ) : (
                        <Hidden store={store} />
                    )}
                </details>
            )}
        </section>
    );
}

export function Tree({ store, view }: { store: Store; view: View }) {
    const { selectedRow, reveal, search } = store.state;
    const { visible, table } = view;
    const scrolled = useScrolled(visible.length, ROW_HEIGHT, ROW_HEIGHT);
    const shown = [...visible.subarray(scrolled.first, scrolled.first + scrolled.count)];
    const texts = useTexts(store, view, shown, reveal);
    const at = visible.indexOf(selectedRow);
    useEffect(() => scrolled.show(at), [selectedRow, visible]);
    scrolled.keep(at);

    const go = (place: number) => {
        const row = visible[Math.min(Math.max(place, 0), visible.length - 1)];
        store.set({ selectedRow: row ?? -1 });
    };
    const onKeyDown = (event: KeyboardEvent) => {
        const isBranch = selectedRow >= 0 && table.end[selectedRow] > selectedRow + 1;
        const isOpen = isBranch && !view.folded.has(selectedRow);
        const page = Math.max(scrolled.count - 18, 1);
        const keys: Record<string, () => void> = {
            ArrowDown: () => go(at + 1),
            ArrowUp: () => go(at - 1),
            PageDown: () => go(at + page),
            PageUp: () => go(at - page),
            Home: () => go(0),
            End: () => go(visible.length - 1),
            ArrowRight: () => (isBranch && !isOpen ? store.fold(selectedRow, false) : go(at + 1)),
            ArrowLeft: () => {
                if (isOpen) {
                    store.fold(selectedRow, true);
                } else if (selectedRow >= 0 && view.parents[selectedRow] >= 0) {
                    store.set({ selectedRow: view.parents[selectedRow] });
                }
            },
        };
        const work = keys[event.key];
        if (work && !event.ctrlKey && !event.altKey && !event.metaKey) {
            event.preventDefault();
            work();
        }
    };

    return (
        <section class="elements" aria-label="Elements">
            <div class="bar">
                <input
                    type="search"
                    placeholder="Search tag, name, value"
                    aria-label="Search tag, name, value"
                    value={search}
                    onInput={(event) => void store.search(event.currentTarget.value)}
                />
                <button type="button" onClick={() => store.foldAll(true)}>
                    Fold all
                </button>
                <button type="button" onClick={() => store.foldAll(false)}>
                    Unfold all
                </button>
            </div>
            <div
                class="grid"
                role="treegrid"
                aria-label="Elements of the file"
                tabIndex={0}
                ref={scrolled.viewport}
                aria-rowcount={visible.length + 1}
                aria-activedescendant={at >= 0 ? `row-${selectedRow}` : undefined}
                onKeyDown={onKeyDown}
                onFocus={() => selectedRow < 0 && go(0)}
            >
                <div class="row head" role="row" aria-rowindex={1}>
                    {["Tag", "VR", "Name", "Value", "Length"].map((name) => (
                        <span role="columnheader" class={name.toLowerCase()} key={name}>
                            {name}
                        </span>
                    ))}
                </div>
                <Room scrolled={scrolled}>
                    {shown.map((index, i) => (
                        <TreeRow
                            key={index}
                            store={store}
                            view={view}
                            index={index}
                            place={scrolled.first + i}
                            text={texts.get(index)}
                            isSelected={index === selectedRow}
                        />
                    ))}
                </Room>
            </div>
            {at >= 0 && (
                <Chosen
                    store={store}
                    view={view}
                    index={selectedRow}
                    text={texts.get(selectedRow)}
                />
            )}
        </section>
    );
}
