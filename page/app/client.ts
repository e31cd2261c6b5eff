/** The page's side of the worker: questions become promises. */
import type { Answered, Asked, Question, Questions } from "./protocol.js";

/** A question that the worker could not answer. */
export class WorkerFault extends Error {
    constructor(
        fault: string,
        readonly outOfMemory: boolean,
    ) {
        super(fault);
    }
}

interface Waiting {
    resolve(answer: unknown): void;
    reject(fault: WorkerFault): void;
}

/** The only texts of scripts that this page makes addresses of. */
const SCRIPTS = ["worker.js", "service_worker.js"];

interface Policies {
    createPolicy(name: string, rules: { createScriptURL(name: string): string }): Policy;
}

interface Policy {
    createScriptURL(name: string): string;
}

const rules = {
    createScriptURL(name: string): string {
        if (!SCRIPTS.includes(name)) {
            throw new TypeError(`${name} is no script of this page`);
        }
        return new URL(name, document.baseURI).href;
    },
};
const policies = (globalThis as { trustedTypes?: Policies }).trustedTypes;
const policy: Policy = policies ? policies.createPolicy("dicom-mend", rules) : rules;

/** The address of a script, as far as browsers ask for it in a form that texts cannot take. */
export function scriptAddress(name: string): string {
    return policy.createScriptURL(name);
}

export class Client {
    private waiting = new Map<number, Waiting>();
    private count = 0;
    private worker = new Worker(scriptAddress("worker.js"), { type: "module" });

    constructor() {
        this.worker.addEventListener("message", ({ data }: MessageEvent<Answered>) => {
            const waiting = this.waiting.get(data.id);
            this.waiting.delete(data.id);
            if ("fault" in data) {
                waiting?.reject(new WorkerFault(data.fault, data.outOfMemory));
            } else {
                waiting?.resolve(data.answer);
            }
        });
        this.worker.addEventListener("error", (event) => {
            const fault = new WorkerFault(
                event.message || "the worker could not be started",
                false,
            );
            this.waiting.forEach((waiting) => waiting.reject(fault));
            this.waiting.clear();
        });
    }

    ask<Q extends Question>(
        question: Q,
        ...parameters: Parameters<Questions[Q]>
    ): Promise<ReturnType<Questions[Q]>> {
        const id = ++this.count;
        return new Promise((resolve, reject) => {
            this.waiting.set(id, { resolve: resolve as (answer: unknown) => void, reject });
            this.worker.postMessage({ id, question, parameters } satisfies Asked);
        });
    }
}
