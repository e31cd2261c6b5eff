/** Serves a folder on the loopback interface: node serve.mjs FOLDER [PORT] */
import { createReadStream, statSync } from "node:fs";
import { createServer } from "node:http";
import { extname, join, normalize, resolve, sep } from "node:path";
import { fileURLToPath } from "node:url";

const TYPES = {
    ".css": "text/css; charset=utf-8",
    ".gz": "application/gzip",
    ".html": "text/html; charset=utf-8",
    ".js": "text/javascript; charset=utf-8",
    ".svg": "image/svg+xml",
    ".webmanifest": "application/manifest+json",
};

/** Workers have a policy of their own, which only a header can set. */
const POLICY =
    "default-src 'none'; script-src 'self' 'wasm-unsafe-eval'; style-src 'self'; img-src 'self'; " +
    "connect-src 'self'; worker-src 'self'; manifest-src 'self'; base-uri 'none'; " +
    "form-action 'none'; frame-ancestors 'none'";

/** The file that an address stands for; undefined for none, and for one that leads elsewhere. */
function fileOf(root, address) {
    try {
        const { pathname } = new URL(address, "http://localhost");
        const name = decodeURIComponent(
            pathname.endsWith("/") ? `${pathname}index.html` : pathname,
        );
        const path = join(root, normalize(name));
        const status = path.startsWith(root + sep) ? statSync(path) : undefined;
        return status?.isFile() ? { path, size: status.size } : undefined;
    } catch {
        return undefined;
    }
}

/** A server of the files in a folder, which answers on 127.0.0.1 only. */
export function serve(folder, port = 0) {
    const root = resolve(folder);
    const server = createServer((request, response) => {
        const file = fileOf(root, request.url);
        if (file === undefined) {
            response.writeHead(404).end();
            return;
        }
        response.writeHead(200, {
            "Content-Type": TYPES[extname(file.path)] ?? "application/octet-stream",
            "Content-Length": file.size,
            "Content-Security-Policy": POLICY,
            "Cross-Origin-Opener-Policy": "same-origin",
            "X-Content-Type-Options": "nosniff",
            "Cache-Control": "no-cache",
        });
        createReadStream(file.path).pipe(response);
    });
    return new Promise((done) => server.listen(port, "127.0.0.1", () => done(server)));
}

if (process.argv[1] === fileURLToPath(import.meta.url)) {
    const [folder, port] = process.argv.slice(2);
    const server = await serve(folder, Number(port ?? 8080));
    console.log(`http://127.0.0.1:${server.address().port}/ serves ${folder}`);
}
