/** What is wrong with a file: a list, and all that is known of one of them. */
import type { Level } from "dicom-mend";
import { useEffect, useState } from "preact/hooks";
import { digits, HexView, Hidden, letters } from "./hex.js";
import type { Sides, Told } from "./protocol.js";
import type { Store, View } from "./store.js";

const BECOMES: Record<Level, string> = {
    info: "Nothing is changed: this is worth knowing, and no fault.",
    change: "Mending changes it.",
    kept: "It stays as it was read, for nothing sure is known of it.",
    loss: "Something is lost here, or could not be read.",
};
const SIGNS = { error: "✖", warning: "▲", info: "ℹ" };
const AT_ONCE = 300;

function Bytes({ title, bytes, none }: { title: string; bytes: Uint8Array; none: string }) {
    return (
        <div class="side">
            <h3>{title}</h3>
            {bytes.length === 0 ? (
                <p class="none">{none}</p>
            ) : (
                <>
                    <code class="letters">{letters(bytes)}</code>
                    <code class="digits">{digits(bytes)}</code>
                </>
            )}
        </div>
    );
}

/** Bytes before and after; those that are hidden are asked for when they are wanted. */
function Compared({ store, finding, index }: { store: Store; finding: Told; index: number }) {
    const { isHidden } = finding;
    const [sides, setSides] = useState<Sides | null>(isHidden ? null : finding);
    useEffect(() => {
        if (isHidden) {
            store.client.ask("sides", index).then(setSides, () => undefined);
        }
    }, []);
    const isLeft = finding.level === "kept" || finding.level === "info";
    return (
        sides && (
            <div class="sides">
                <Bytes title="Before" bytes={sides.before} none="nothing" />
                <Bytes
                    title="After"
                    bytes={sides.after}
                    none={isLeft ? "as it was read" : "nothing"}
                />
            </div>
        )
    );
}

export function FaultDetail(properties: {
    store: Store;
    view: View;
    finding: Told;
    index: number;
}) {
    const { store, view, finding, index } = properties;
    const { reveal } = store.state;
    const { path, offset, length, rule, clause, level, before, after, isHidden, kind } = finding;
    const hasValues = isHidden || before.length > 0 || after.length > 0;
    return (
        <section class="detail" aria-label="The chosen fault">
            <h2>{finding.message}</h2>
            <p class="becomes">{BECOMES[level]}</p>
            <dl>
                <dt>Place</dt>
                <dd>
                    {path || "the file as a whole"}
                    {offset !== null && `, at byte ${offset}`}
                    {length !== null && `, ${length} bytes long`}
                </dd>
                {rule !== "" && (
                    <>
                        <dt>Rule</dt>
                        <dd>{rule}</dd>
                    </>
                )}
                {clause !== "" && (
                    <>
                        <dt>Clause</dt>
                        <dd>{clause}</dd>
                    </>
                )}
                <dt>Kind</dt>
                <dd>{kind}</dd>
            </dl>
            {hasValues &&
                (!isHidden || reveal ? (
                    <Compared key={index} store={store} finding={finding} index={index} />
                ) : (
                    <Hidden store={store} />
                ))}
            {offset !== null && !view.isPacked && (
                <details>
                    <summary>Bytes of the file</summary>
                    {reveal ? (
                        <HexView file={view.entry.file} offset={offset} length={length} />
                    ) : (
                        <Hidden store={store} />
                    )}
                </details>
            )}
        </section>
    );
}

export function Faults({ store, view }: { store: Store; view: View }) {
    const [most, setMost] = useState(AT_ONCE);
    const { selectedFault } = store.state;
    const { findings } = view;
    const chosen = findings[selectedFault];
    return (
        <section class="faults" aria-label="Faults">
            {!view.isChecked && <p class="none reading">The file is checked.</p>}
            {view.isChecked && findings.length === 0 && (
                <p class="none">Nothing is against the standard.</p>
            )}
            <ol class="fault-list">
                {findings.slice(0, most).map((finding, i) => (
                    <li key={i}>
                        <button
                            type="button"
                            class={`fault ${finding.severity} ${i === selectedFault ? "selected" : ""}`}
                            aria-pressed={i === selectedFault}
                            onClick={() => store.select(i)}
                        >
                            <span class="mark" role="img" aria-label={finding.severity}>
                                {SIGNS[finding.severity]}
                            </span>
                            <span class="fault-text">{finding.message}</span>
                            <span class="fault-place">{finding.path}</span>
                        </button>
                        {i === selectedFault && chosen && (
                            <FaultDetail store={store} view={view} finding={chosen} index={i} />
                        )}
                    </li>
                ))}
            </ol>
            {findings.length > most && (
                <button type="button" onClick={() => setMost(most + AT_ONCE)}>
                    Show more of {findings.length}
                </button>
            )}
        </section>
    );
}
