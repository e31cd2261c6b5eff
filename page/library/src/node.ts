/** The library for Node.js: files are given as paths or as bytes. */
import { closeSync, fstatSync, openSync, readFileSync, readSync } from "node:fs";
import { gunzipSync } from "node:zlib";
import factory from "./dicom_mend.mjs";
import { BytesContent, bytesOf, type Content } from "./contents.js";
import { Library } from "./library.js";

export * from "./common.js";

/** A path, or the bytes of a file. */
export type Input = string | Uint8Array | ArrayBuffer;

/** An open file, read piece by piece. */
export class FileContent implements Content {
    private readonly descriptor: number;
    readonly size: number;

    constructor(readonly name: string) {
        this.descriptor = openSync(name, "r");
        this.size = fstatSync(this.descriptor).size;
    }

    read(target: Uint8Array, position: number): number {
        return readSync(this.descriptor, target, 0, target.length, position);
    }

    close(): void {
        closeSync(this.descriptor);
    }
}

function opened(input: Input): { content: Content; close(): void } {
    if (typeof input === "string") {
        const file = new FileContent(input);
        return { content: file, close: () => file.close() };
    }
    return { content: new BytesContent(bytesOf(input)), close: () => undefined };
}

/**
 * Makes the library ready.
 *
 * @param memory  the most memory that it may take, in bytes; 1 GiB unless given
 */
export async function load({ memory }: { memory?: number } = {}): Promise<Library<Input>> {
    const bytes = (name: string) => readFileSync(new URL(name, import.meta.url));
    const definitions = JSON.parse(gunzipSync(bytes("definitions.json.gz")).toString("utf8"));
    const wasm = await WebAssembly.compile(bytes("dicom_mend.wasm"));
    return Library.start<Input>({ factory, wasm, definitions, memory }, opened);
}
