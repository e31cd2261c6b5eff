/** Files that are dropped or chosen, also those in folders, with their paths. */

export interface Given {
    path: string;
    file: File;
}

async function inFolder(folder: FileSystemDirectoryEntry): Promise<FileSystemEntry[]> {
    const reader = folder.createReader();
    const all: FileSystemEntry[] = [];
    for (;;) {
        // A reader hands out some at a time, and nothing at the end.
        const some = await new Promise<FileSystemEntry[]>((resolve, reject) =>
            reader.readEntries(resolve, reject),
        );
        if (some.length === 0) {
            return all.sort((a, b) => (a.name < b.name ? -1 : 1));
        }
        all.push(...some);
    }
}

/** Hands files over as they are found, folder by folder. */
async function walk(start: FileSystemEntry[], found: (given: Given) => void): Promise<void> {
    const open = [...start].reverse();
    while (open.length > 0) {
        const entry = open.pop()!;
        if (entry.isDirectory) {
            open.push(...(await inFolder(entry as FileSystemDirectoryEntry)).reverse());
            continue;
        }
        const file = await new Promise<File>((resolve, reject) =>
            (entry as FileSystemFileEntry).file(resolve, reject),
        );
        found({ path: entry.fullPath.replace(/^\//, ""), file });
    }
}

/** What a drop brought. It has to be asked for its entries before anything is waited for. */
export async function ofDrop(transfer: DataTransfer): Promise<Given[]> {
    const all: Given[] = [];
    const items = [...transfer.items].filter((item) => item.kind === "file");
    const entries = items.map((item) => item.webkitGetAsEntry?.() ?? null);
    if (entries.some((entry) => entry === null)) {
        return ofList(transfer.files);
    }
    await walk(entries as FileSystemEntry[], (given) => all.push(given));
    return all;
}

export function ofList(files: FileList): Given[] {
    return [...files].map((file) => ({ path: file.webkitRelativePath || file.name, file }));
}
