/** Handing out files: streamed to a place that the user chooses, or by a download. */

interface SavePicker {
    showSaveFilePicker?(options: { suggestedName: string }): Promise<FileSystemFileHandle>;
}

/** A file that was saved, refused by the user, or handed to the browser as a download. */
export type Saved = "saved" | "refused" | "downloaded";

function download(blob: Blob, name: string): Saved {
    const link = document.createElement("a");
    link.href = URL.createObjectURL(blob);
    link.download = name;
    link.click();
    // The browser has to have taken it over by then.
    setTimeout(() => URL.revokeObjectURL(link.href), 60_000);
    return "downloaded";
}

/**
 * Saves what `make` makes. The place is asked for first, as browsers allow that only right after a click.
 *
 * @return what became of it; null when there was nothing to save
 */
export async function save(name: string, make: () => Promise<Blob | null>): Promise<Saved | null> {
    const picker = window as SavePicker;
    if (picker.showSaveFilePicker === undefined) {
        const blob = await make();
        return blob && download(blob, name);
    }
    let handle: FileSystemFileHandle;
    try {
        handle = await picker.showSaveFilePicker({ suggestedName: name });
    } catch (error) {
        if (error instanceof DOMException && error.name === "AbortError") {
            return "refused";
        }
        const blob = await make();
        return blob && download(blob, name);
    }
    const blob = await make();
    if (blob === null) {
        return null;
    }
    // What is not closed is not there: a failure leaves the old file.
    await blob.stream().pipeTo(await handle.createWritable());
    return "saved";
}

/** "scan.dcm" becomes "scan-mended.dcm". */
export function mendedName(name: string): string {
    const dot = name.lastIndexOf(".");
    const slash = name.lastIndexOf("/");
    return dot > slash + 1
        ? `${name.slice(0, dot)}-mended${name.slice(dot)}`
        : `${name}-mended.dcm`;
}
