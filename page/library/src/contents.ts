/** What files of the module hold, wherever their bytes are. */

/** Bytes that are read from any place, at once: the library does not wait for anybody. */
export interface Content {
    readonly size: number;
    /** What failures call it. */
    readonly name?: string;
    /** Copies bytes from a place on; how many there were. */
    read(target: Uint8Array, position: number): number;
}

/** Takes the bytes of a file in their order. */
export interface Sink {
    take(bytes: Uint8Array): void;
    /** Takes a part of what is read without having it read; false where it cannot. */
    copy?(source: Content, offset: number, size: number): boolean;
}

/** The bytes of an array or a buffer; anything else is refused, also where types were not looked at. */
export function bytesOf(input: unknown): Uint8Array {
    const kind = Object.prototype.toString.call(input);
    if (input instanceof ArrayBuffer || kind === "[object ArrayBuffer]") {
        return new Uint8Array(input as ArrayBuffer);
    }
    if (ArrayBuffer.isView(input) && kind === "[object Uint8Array]") {
        return input as Uint8Array;
    }
    throw new TypeError(`a file is given as none of the kinds that are taken: ${kind}`);
}

/** Refuses what cannot be read from. */
export function checkContent(content: Content): void {
    const { size, read } = (content ?? {}) as Partial<Content>;
    if (typeof read !== "function" || !Number.isSafeInteger(size) || (size as number) < 0) {
        throw new TypeError("contents have a size, which is a whole number, and are read");
    }
}

export class BytesContent implements Content {
    constructor(readonly bytes: Uint8Array) {}

    get size(): number {
        return this.bytes.length;
    }

    read(target: Uint8Array, position: number): number {
        const part = this.bytes.subarray(position, position + target.length);
        target.set(part);
        return part.length;
    }
}

/** A file or another Blob, read slice by slice. Workers of browsers only: nobody else reads at once. */
export class BlobContent implements Content {
    /** So much is read around a place, and kept for so many places: slices cost, and files are gone through anew. */
    private static readonly window = 1 << 20;
    private static readonly most = 128;
    private reader = new FileReaderSync();
    private windows = new Map<number, Uint8Array>();
    private last = -1;

    constructor(readonly blob: Blob) {}

    get size(): number {
        return this.blob.size;
    }

    get name(): string | undefined {
        return this.blob instanceof File ? this.blob.name : undefined;
    }

    read(target: Uint8Array, position: number): number {
        const end = Math.min(position + target.length, this.size);
        if (end - position >= BlobContent.window) {
            target.set(this.slice(position, end));
            return end - position;
        }
        for (let at = position; at < end;) {
            const number = Math.floor(at / BlobContent.window);
            const from = at - number * BlobContent.window;
            const part = this.windowOf(number).subarray(from, from + end - at);
            if (part.length === 0) {
                return at - position;
            }
            target.set(part, at - position);
            at += part.length;
        }
        return Math.max(end - position, 0);
    }

    private windowOf(number: number): Uint8Array {
        let window = this.windows.get(number);
        if (window === undefined) {
            const start = number * BlobContent.window;
            window = this.slice(start, Math.min(start + BlobContent.window, this.size));
            if (this.windows.size >= BlobContent.most) {
                this.windows.delete(this.windows.keys().next().value as number);
            }
        } else if (number === this.last) {
            return window;
        } else {
            this.windows.delete(number);
        }
        // The one that was used last stands at the end.
        this.windows.set(number, window);
        this.last = number;
        return window;
    }

    private slice(from: number, to: number): Uint8Array {
        return new Uint8Array(this.reader.readAsArrayBuffer(this.blob.slice(from, to)));
    }
}

/** Keeps what it takes in memory. */
export class BytesSink implements Sink {
    private bytes = new Uint8Array(1 << 16);
    private size = 0;

    take(bytes: Uint8Array): void {
        if (this.size + bytes.length > this.bytes.length) {
            const grown = new Uint8Array(Math.max(2 * this.bytes.length, this.size + bytes.length));
            grown.set(this.bytes.subarray(0, this.size));
            this.bytes = grown;
        }
        this.bytes.set(bytes, this.size);
        this.size += bytes.length;
    }

    result(): Uint8Array {
        return this.bytes.slice(0, this.size);
    }
}

/** Makes a Blob, in which parts of a Blob that was read stay where they are. */
export class BlobSink implements Sink {
    private static readonly piece = 1 << 20;
    private parts: Blob[] = [];
    private bytes = new BytesSink();
    private waiting = 0;

    take(bytes: Uint8Array): void {
        this.bytes.take(bytes);
        this.waiting += bytes.length;
        if (this.waiting >= BlobSink.piece) {
            this.flush();
        }
    }

    copy(source: Content, offset: number, size: number): boolean {
        if (!(source instanceof BlobContent)) {
            return false;
        }
        this.flush();
        this.parts.push(source.blob.slice(offset, offset + size));
        return true;
    }

    result(): Blob {
        this.flush();
        return new Blob(this.parts, { type: "application/dicom" });
    }

    /** A browser may keep a Blob on its disk. */
    private flush(): void {
        if (this.waiting > 0) {
            this.parts.push(new Blob([this.bytes.result()]));
            this.bytes = new BytesSink();
            this.waiting = 0;
        }
    }
}

/** A temporary file in memory, up to a size. */
export class Temporary implements Content {
    private static readonly piece = 1 << 20;
    private pieces: Uint8Array[] = [];
    size = 0;

    constructor(private readonly most: number) {}

    read(target: Uint8Array, position: number): number {
        const end = Math.min(position + target.length, this.size);
        for (let at = position; at < end;) {
            const [piece, from] = [Math.floor(at / Temporary.piece), at % Temporary.piece];
            const part = this.pieces[piece].subarray(
                from,
                Math.min(Temporary.piece, from + end - at),
            );
            target.set(part, at - position);
            at += part.length;
        }
        return Math.max(end - position, 0);
    }

    /** False when there is no room. */
    write(bytes: Uint8Array, position: number): boolean {
        const end = position + bytes.length;
        if (end > this.most) {
            return false;
        }
        while (this.pieces.length * Temporary.piece < end) {
            this.pieces.push(new Uint8Array(Temporary.piece));
        }
        for (let at = position; at < end;) {
            const [piece, from] = [Math.floor(at / Temporary.piece), at % Temporary.piece];
            const part = bytes.subarray(at - position, at - position + Temporary.piece - from);
            this.pieces[piece].set(part, from);
            at += part.length;
        }
        this.size = Math.max(this.size, end);
        return true;
    }
}
