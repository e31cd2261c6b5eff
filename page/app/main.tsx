/** Starts the page. */
import { render } from "preact";
import { App } from "./app.js";
import { scriptAddress } from "./client.js";
import { Store } from "./store.js";

const root = document.getElementById("app")!;
root.replaceChildren();
render(<App store={new Store()} />, root);

if ("serviceWorker" in navigator) {
    // The first visit goes on without it where the browser forbids one.
    navigator.serviceWorker.register(scriptAddress("service_worker.js")).catch(() => undefined);
}
