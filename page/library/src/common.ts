/** What both entries of the package hand out. */
export { MendError, Status, type Parts } from "./calls.js";
export {
    BlobContent,
    BlobSink,
    BytesContent,
    BytesSink,
    type Content,
    type Sink,
} from "./contents.js";
export { Dataset, RowKind, type Table } from "./dataset.js";
export {
    Library,
    type CallOptions,
    type CheckOptions,
    type CompleteOptions,
    type JsonModel,
    type MendResult,
    type Result,
    type Written,
} from "./library.js";
export {
    Session,
    type Finding,
    type Level,
    type Options,
    type ReportFormat,
    type Severity,
} from "./session.js";
