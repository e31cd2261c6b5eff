/** The module of Emscripten, and what stands around each call of its C interface. */
import { FileSystem, type EmscriptenFS } from "./file_system.js";

/** Numbers that calls end with; those of dicom_mend.h. */
export const Status = {
    OK: 0,
    BAD_ARGUMENT: 1,
    NO_MEMORY: 2,
    CANNOT_READ: 3,
    CANNOT_WRITE: 4,
    NOT_DICOM: 5,
    NO_OUTPUT: 6,
    NOT_FOUND: 7,
    BAD_VALUE: 8,
    BAD_JSON: 9,
    INTERNAL: 10,
} as const;

/** A call that failed. `status` is one of `Status`. */
export class MendError extends Error {
    constructor(
        readonly status: number,
        reason: string,
        options?: ErrorOptions,
    ) {
        super(reason, options);
        this.name = "MendError";
    }
}

type Function = (...parameters: (number | bigint)[]) => number | bigint | undefined;

/** What the glue of Emscripten makes. */
export interface Module {
    FS: EmscriptenFS;
    [name: `_${string}`]: Function;
}
export type ModuleFactory = (settings: object) => Promise<Module>;

const PAGE = 1 << 16;
const INITIAL = 16 << 20;
/** What the module was linked with. */
const MOST = 2 ** 31;
const decoder = new TextDecoder();
const encoder = new TextEncoder();

export interface Parts {
    factory: ModuleFactory;
    wasm: WebAssembly.Module;
    /** The texts of the definition files by their names. */
    definitions: Record<string, string>;
    /** The most memory that the library may take, in bytes; 1 GiB unless given. */
    memory?: number;
}

/** A running module. One that was stopped by a fault of its own is of no use any more. */
export class Machine {
    readonly files: FileSystem;
    private readonly scratch: number;
    private stopped: unknown = undefined;

    private constructor(
        private readonly module: Module,
        private readonly memory: WebAssembly.Memory,
        definitions: Record<string, string>,
    ) {
        this.files = new FileSystem(module.FS, definitions);
        this.scratch = Number(module._malloc(64));
    }

    static async start(parts: Parts): Promise<Machine> {
        const most = Math.min(Math.max(parts.memory ?? 1 << 30, INITIAL), MOST);
        const memory = new WebAssembly.Memory({ initial: INITIAL / PAGE, maximum: most / PAGE });
        const module = await parts.factory({
            wasmMemory: memory,
            instantiateWasm(
                imports: WebAssembly.Imports,
                received: (instance: WebAssembly.Instance) => void,
            ) {
                void WebAssembly.instantiate(parts.wasm, imports).then(received);
                return {};
            },
            // The library tells by findings; nobody reads a console.
            print: () => undefined,
            printErr: () => undefined,
        });
        return new Machine(module, memory, parts.definitions);
    }

    get isStopped(): boolean {
        return this.stopped !== undefined;
    }

    /** Bytes of memory that the module has taken. */
    get memorySize(): number {
        return this.memory.buffer.byteLength;
    }

    /** Views do not outlive a call: memory that grows has others. */
    bytes(at: number, size: number): Uint8Array {
        return new Uint8Array(this.memory.buffer, at, size);
    }

    view(at = 0): DataView {
        return new DataView(this.memory.buffer, at);
    }

    /** Calls a function by its name without "dicom_mend_". */
    call(name: string, ...parameters: (number | bigint)[]): number {
        if (this.isStopped) {
            throw new MendError(Status.INTERNAL, "the library was stopped by an earlier fault");
        }
        try {
            const result = this.module[`_dicom_mend_${name}`](...parameters) ?? 0;
            // Sizes and pointers use all 32 bits; no status is negative.
            return typeof result === "bigint" ? Number(result) : result >>> 0;
        } catch (failure) {
            this.stopped = failure;
            const out = failure instanceof RangeError || /memory/i.test(String(failure));
            throw new MendError(
                out ? Status.NO_MEMORY : Status.INTERNAL,
                out ? "there is not enough memory" : `the library was stopped: ${String(failure)}`,
                { cause: failure },
            );
        }
    }

    allocate(size: number): number {
        const at = Number(this.module._malloc(size || 1));
        if (at === 0) {
            throw new MendError(Status.NO_MEMORY, "there is not enough memory");
        }
        return at;
    }

    free(at: number): void {
        this.module._free(at);
    }

    /** Room for numbers and pointers that a call hands out. */
    get out(): number {
        this.bytes(this.scratch, 64).fill(0);
        return this.scratch;
    }

    pointer(at: number): number {
        return this.view().getUint32(at, true);
    }

    /** Hands texts in, each with a NUL; undefined becomes null. */
    withTexts<T>(texts: (string | undefined)[], work: (...places: number[]) => T): T {
        const places: number[] = [];
        try {
            for (const text of texts) {
                if (text === undefined) {
                    places.push(0);
                    continue;
                }
                const encoded = encoder.encode(text);
                const place = this.allocate(encoded.length + 1);
                places.push(place);
                const bytes = this.bytes(place, encoded.length + 1);
                bytes.set(encoded);
                bytes[encoded.length] = 0;
            }
            return work(...places);
        } finally {
            places.filter((place) => place !== 0).forEach((place) => this.free(place));
        }
    }

    /** The text up to a NUL; "" for null. */
    text(at: number): string {
        if (at === 0) {
            return "";
        }
        const all = new Uint8Array(this.memory.buffer, at);
        return decoder.decode(all.subarray(0, all.indexOf(0)));
    }

    /** A text from a function that writes into a buffer and tells the length of the whole. */
    written(write: (buffer: number, capacity: number) => number): string {
        let room = 256;
        for (;;) {
            const buffer = this.allocate(room);
            try {
                const size = write(buffer, room);
                if (size < room) {
                    return decoder.decode(this.bytes(buffer, size));
                }
                room = size + 1;
            } finally {
                this.free(buffer);
            }
        }
    }

    /** Bytes that a call hands out by pointer and size, copied. */
    taken(call: (bytes: number, size: number) => void): Uint8Array {
        const out = this.out;
        call(out, out + 4);
        const at = this.pointer(out);
        try {
            return this.bytes(at, this.pointer(out + 4)).slice();
        } finally {
            this.call("free", at);
        }
    }
}
