// Conversion between encodings of characters, as each system offers it.
#ifndef LIB_MEND_CONVERTER_H
#define LIB_MEND_CONVERTER_H

#include <string>
#include <string_view>

namespace lib_mend {

/** An open conversion from or to UTF-8; what cannot be opened converts nothing. */
class Converter {
public:
    Converter(const char* to, const char* from);
    Converter(const Converter&) = delete;
    Converter& operator=(const Converter&) = delete;
    ~Converter();

    /** Appends one character; false when it is none of the encoding. */
    bool Append(std::string& out, std::string_view character) const;

private:
    /** The system's handle, or the names of the encodings. */
    void* handle_;
};

}  // namespace lib_mend

#endif
