/** Keeps the page for use without a network. The build puts in the names of its files and their sum. */
declare const FILES: string[];
declare const SUM: string;

const scope = self as unknown as ServiceWorkerGlobalScope;
const CACHE = `dicom-mend-${SUM}`;

scope.addEventListener("install", (event) => {
    // A file that the browser has from an earlier build would not go with the others.
    const fresh = FILES.map((name) => new Request(name, { cache: "reload" }));
    event.waitUntil(caches.open(CACHE).then((cache) => cache.addAll(fresh)));
});

scope.addEventListener("activate", (event) => {
    const clean = async () => {
        const old = (await caches.keys()).filter(
            (name) => name.startsWith("dicom-mend-") && name !== CACHE,
        );
        await Promise.all(old.map((name) => caches.delete(name)));
        await scope.clients.claim();
    };
    event.waitUntil(clean());
});

scope.addEventListener("fetch", (event) => {
    const { request } = event;
    if (request.method !== "GET" || new URL(request.url).origin !== scope.location.origin) {
        return;
    }
    const answer = async () => {
        const cache = await caches.open(CACHE);
        const kept = await cache.match(request, { ignoreSearch: true });
        return kept ?? fetch(request);
    };
    event.respondWith(answer());
});
