/** The files that the library sees: what is handed in, what it writes, definitions, temporary files. */
import { BytesContent, Temporary, type Content, type Sink } from "./contents.js";

/** A file of Emscripten's, as far as it is used here. */
interface FileNode {
    id: number;
    mode: number;
    node_ops: object;
    stream_ops: object;
    content?: Content | Sink;
}

interface Stream {
    node: FileNode;
    position: number;
}

/** The file system of Emscripten, as far as it is used here. */
export interface EmscriptenFS {
    mkdirTree(path: string): void;
    mount(type: object, options: object, path: string): void;
    createNode(parent: FileNode | null, name: string, mode: number, device: number): FileNode;
    ErrnoError: new (code: number) => Error;
    lookupPath(path: string): { node: FileNode };
    unlink(path: string): void;
    analyzePath(path: string): { exists: boolean };
}

const DIRECTORY = 0o040777;
const FILE = 0o100666;
const [NO_ENTRY, INVALID, IO, NO_SPACE, NOT_PERMITTED] = [44, 28, 29, 51, 63];
const FOLDER = "/files";
/** Temporary files take no more than this together with what the library holds. */
const MOST_TEMPORARY = 1 << 29;

export class FileSystem {
    private sinks = new Map<string, Sink>();
    private count = 0;
    /** The file that was handed in last. */
    private last: { path: string; name?: string } = { path: "" };
    private failure: unknown = undefined;

    constructor(
        private readonly fs: EmscriptenFS,
        definitions: Record<string, string>,
    ) {
        this.mount(FOLDER, (name) => this.sinks.get(name));
        this.mount("/tmp", () => new Temporary(MOST_TEMPORARY));
        const folder = "/share/Lib_DICOM/definitions";
        this.mount(folder, () => undefined);
        const encoder = new TextEncoder();
        for (const [name, text] of Object.entries(definitions)) {
            const slash = name.lastIndexOf("/");
            fs.mkdirTree(`${folder}/${name.slice(0, Math.max(slash, 0))}`);
            const parent = fs.lookupPath(`${folder}/${name.slice(0, Math.max(slash, 0))}`).node;
            this.add(parent, name.slice(slash + 1), FILE, new BytesContent(encoder.encode(text)));
        }
    }

    /** Why reading or writing failed last, in the words of the browser or of the system. */
    takeFailure(): unknown {
        const failure = this.failure;
        this.failure = undefined;
        return failure;
    }

    /** Gives what is read a path for the time of some work. */
    withInput<T>(content: Content, work: (path: string) => T): T {
        const path = this.input(content);
        try {
            return work(path);
        } finally {
            this.remove(path);
        }
    }

    input(content: Content): string {
        const name = `in-${++this.count}`;
        this.add(this.fs.lookupPath(FOLDER).node, name, FILE, content);
        this.last = { path: `${FOLDER}/${name}`, name: content.name };
        return this.last.path;
    }

    /** Says a file as its user does, and not by its path here. */
    inWords(reason: string): string {
        const { path, name = "the file" } = this.last;
        return reason.replaceAll(/\/files\/(in|out)-\d+/g, (one) =>
            one === path ? name : "the file",
        );
    }

    remove(path: string): void {
        this.fs.unlink(path);
    }

    /** Gives what is written a path for the time of some work. */
    withOutput<T>(sink: Sink, work: (path: string) => T): T {
        const name = `out-${++this.count}`;
        this.sinks.set(name, sink);
        try {
            return work(`${FOLDER}/${name}`);
        } finally {
            this.sinks.delete(name);
            if (this.fs.analyzePath(`${FOLDER}/${name}`).exists) {
                this.remove(`${FOLDER}/${name}`);
            }
        }
    }

    private mount(path: string, make: (name: string) => Content | Sink | undefined): void {
        this.fs.mkdirTree(path);
        this.fs.mount({ mount: () => this.root(make) }, {}, path);
    }

    private root(make: (name: string) => Content | Sink | undefined): FileNode {
        const node = this.fs.createNode(null, "/", DIRECTORY, 0);
        this.equip(node, make);
        return node;
    }

    private add(parent: FileNode, name: string, mode: number, content?: Content | Sink): FileNode {
        const node = this.fs.createNode(parent, name, mode, 0);
        node.content = content;
        this.equip(node, () => undefined);
        return node;
    }

    private fail(code: number): never {
        throw new this.fs.ErrnoError(code);
    }

    private equip(node: FileNode, make: (name: string) => Content | Sink | undefined): void {
        node.node_ops = {
            getattr: (of: FileNode) => ({
                dev: 1,
                ino: of.id,
                mode: of.mode,
                nlink: 1,
                uid: 0,
                gid: 0,
                rdev: 0,
                size: this.sizeOf(of),
                atime: new Date(0),
                mtime: new Date(0),
                ctime: new Date(0),
                blksize: 4096,
                blocks: 0,
            }),
            setattr: () => undefined,
            lookup: () => this.fail(NO_ENTRY),
            mknod: (parent: FileNode, name: string, mode: number) => {
                const content = make(name);
                if ((mode & 0o170000) === 0o100000) {
                    return content
                        ? this.add(parent, name, mode, content)
                        : this.fail(NOT_PERMITTED);
                }
                return this.add(parent, name, mode);
            },
            unlink: () => undefined,
            rmdir: () => undefined,
            readdir: () => [".", ".."],
        };
        node.stream_ops = {
            read: (from: Stream, heap: Int8Array, at: number, size: number, position: number) => {
                const content = from.node.content;
                if (!content || !("read" in content)) {
                    return this.fail(INVALID);
                }
                const target = new Uint8Array(heap.buffer, at, size);
                return this.attempt(() => {
                    const count = content.read(target, position);
                    if (!Number.isInteger(count) || count < 0 || count > size) {
                        throw new RangeError(`${count} bytes are said to be read of ${size}`);
                    }
                    return count;
                });
            },
            write: (to: Stream, heap: Int8Array, at: number, size: number, position: number) => {
                const content = to.node.content;
                const bytes = new Uint8Array(heap.buffer, at, size);
                if (content instanceof Temporary) {
                    const isDone = this.attempt(() => content.write(bytes, position));
                    return isDone ? size : this.fail(NO_SPACE);
                }
                if (!content || !("take" in content)) {
                    return this.fail(NOT_PERMITTED);
                }
                this.attempt(() => content.take(bytes));
                return size;
            },
            llseek: (of: Stream, offset: number, whence: number) => {
                const start = whence === 1 ? of.position : whence === 2 ? this.sizeOf(of.node) : 0;
                const position = offset + start;
                return position < 0 ? this.fail(INVALID) : position;
            },
        };
    }

    private sizeOf({ content }: FileNode): number {
        return this.attempt(() => {
            const size = content && "size" in content ? content.size : 0;
            if (!Number.isSafeInteger(size) || size < 0) {
                throw new RangeError(`${size} is no size`);
            }
            return size;
        });
    }

    /** What browser or system refuse is a failed read or write for the library. */
    private attempt<T>(work: () => T): T {
        try {
            return work();
        } catch (failure) {
            this.failure = failure;
            return this.fail(IO);
        }
    }
}
