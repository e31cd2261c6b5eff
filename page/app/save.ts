/** Handing out files: streamed to a folder that the user chooses, or by a download. */

interface FolderPicker {
    showDirectoryPicker?(options: {
        id: string;
        mode: "readwrite";
    }): Promise<FileSystemDirectoryHandle>;
}

/** A file that was saved, refused by the user, or handed to the browser as a download. */
export interface Saved {
    how: "saved" | "refused" | "downloaded";
    /** The name it has got. */
    name: string;
}

function download(blob: Blob, name: string): Saved {
    const link = document.createElement("a");
    link.href = URL.createObjectURL(blob);
    link.download = name;
    link.click();
    // The browser has to have taken it over by then.
    setTimeout(() => URL.revokeObjectURL(link.href), 60_000);
    return { how: "downloaded", name };
}

function isNamed(error: unknown, name: string): boolean {
    return error instanceof DOMException && error.name === name;
}

/** "scan-mended.dcm" where the folder has none, "scan-mended-2.dcm" and so on where it has. */
async function freeName(folder: FileSystemDirectoryHandle, name: string): Promise<string> {
    for (let number = 2, wanted = name; ; wanted = withEnding(name, `-${number++}`)) {
        try {
            await folder.getFileHandle(wanted);
        } catch (error) {
            if (isNamed(error, "NotFoundError")) {
                return wanted;
            }
            // A folder has the name.
            if (!isNamed(error, "TypeMismatchError")) {
                throw error;
            }
        }
    }
}

async function write(folder: FileSystemDirectoryHandle, blob: Blob, name: string): Promise<Saved> {
    const free = await freeName(folder, name);
    const handle = await folder.getFileHandle(free, { create: true });
    try {
        await blob.stream().pipeTo(await handle.createWritable());
    } catch (error) {
        await folder.removeEntry(free).catch(() => undefined);
        throw error;
    }
    return { how: "saved", name: free };
}

/**
 * Saves what `make` makes. The folder is asked for first, as browsers allow that only right after a click. It is a
 * folder and not a file: browsers empty a file as soon as it is chosen, which may be the one that is still to be
 * read. What a folder has is never replaced.
 *
 * @return what became of it; null when there was nothing to save
 */
export async function save(name: string, make: () => Promise<Blob | null>): Promise<Saved | null> {
    const picker = window as FolderPicker;
    let folder: FileSystemDirectoryHandle | undefined;
    try {
        folder = await picker.showDirectoryPicker?.({ id: "mended", mode: "readwrite" });
    } catch (error) {
        if (isNamed(error, "AbortError")) {
            return { how: "refused", name };
        }
    }
    const blob = await make();
    if (blob === null) {
        return null;
    }
    if (folder === undefined) {
        return download(blob, name);
    }
    try {
        return await write(folder, blob, name);
    } catch (error) {
        // Folders take not all names that files may have.
        if (error instanceof TypeError) {
            return download(blob, name);
        }
        throw error;
    }
}

/** "scan.dcm" becomes "scan-mended.dcm". */
export function mendedName(name: string): string {
    const dot = name.lastIndexOf(".");
    return dot > 0 ? withEnding(name, "-mended") : `${name}-mended.dcm`;
}

function withEnding(name: string, ending: string): string {
    const dot = name.lastIndexOf(".");
    return dot > 0 ? `${name.slice(0, dot)}${ending}${name.slice(dot)}` : name + ending;
}
