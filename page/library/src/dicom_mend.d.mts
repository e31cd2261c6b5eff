/** What Emscripten writes beside the module. */
import type { ModuleFactory } from "./calls.js";
declare const factory: ModuleFactory;
export default factory;
