// A converter that mends nothing: what it cannot read to its end, it refuses.
#ifndef TESTS_PLAIN_CONVERTER_H
#define TESTS_PLAIN_CONVERTER_H

#include <string>

/**
 * The file with its data set written anew: explicit VR little endian becomes implicit and the other way round, every
 * other transfer syntax stays; lengths of sequences become undefined. Empty when a plain reader stumbles.
 */
std::string Convert_Plainly(const std::string& bytes);

#endif
