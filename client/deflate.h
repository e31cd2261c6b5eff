// Deflated data sets (PS3.5 section A.5, RFC 1951).
#ifndef CLIENT_DEFLATE_H
#define CLIENT_DEFLATE_H

#include "client/source.h"

namespace dicom_client {

struct Inflated {
    Bytes bytes;
    /** The stream came to its end; otherwise `bytes` holds what precedes the fault. */
    bool complete = false;
    /** Bytes of the input that the stream took. */
    std::int64_t used = 0;
    std::string error;
};

/** Inflates the raw stream that starts at an offset. */
Inflated Inflate(const Source& source, std::int64_t offset);

/** Deflates bytes to a raw stream, padded to an even length; false without memory. */
bool Deflate(std::span<const unsigned char> bytes, Bytes& out);

}  // namespace dicom_client

#endif
