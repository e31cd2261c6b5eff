/** The library for browsers: files are given as bytes, in workers as Blobs and Files too. */
import factory from "./dicom_mend.mjs";
import { BlobContent, BytesContent, bytesOf, type Content } from "./contents.js";
import { Library } from "./library.js";

export * from "./common.js";

/** A Blob is read slice by slice, which only a worker may do. */
export type Input = Uint8Array | ArrayBuffer | Blob;

function opened(input: Input): { content: Content; close(): void } {
    const content =
        input instanceof Blob ? new BlobContent(input) : new BytesContent(bytesOf(input));
    return { content, close: () => undefined };
}

/** Bytes that were packed by gzip, unless the server unpacked them on the way already. */
async function unpacked(response: Response): Promise<Response> {
    if (!response.ok) {
        throw new Error(`${response.url}: ${response.status} ${response.statusText}`);
    }
    const bytes = new Uint8Array(await response.arrayBuffer());
    const isPacked = bytes[0] === 0x1f && bytes[1] === 0x8b;
    const stream = new Blob([bytes]).stream();
    return new Response(isPacked ? stream.pipeThrough(new DecompressionStream("gzip")) : stream);
}

export interface LoadOptions {
    /** Where the module is, plain or packed by gzip; beside this file unless given. */
    wasm?: string | URL;
    /** Where the definitions are, plain or packed by gzip; beside this file unless given. */
    definitions?: string | URL;
    /** The most memory that the library may take, in bytes; 1 GiB unless given. */
    memory?: number;
}

/** Makes the library ready. */
export async function load(options: LoadOptions = {}): Promise<Library<Input>> {
    const wasm = options.wasm ?? new URL("dicom_mend.wasm", import.meta.url);
    const definitions = options.definitions ?? new URL("definitions.json.gz", import.meta.url);
    const [module, texts] = await Promise.all([
        fetch(wasm)
            .then(unpacked)
            .then((response) => response.arrayBuffer())
            .then((bytes) => WebAssembly.compile(bytes)),
        fetch(definitions)
            .then(unpacked)
            .then((response) => response.json() as Promise<Record<string, string>>),
    ]);
    return Library.start<Input>(
        { factory, wasm: module, definitions: texts, memory: options.memory },
        opened,
    );
}
