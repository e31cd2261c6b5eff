/**
 * @file Lib_Util.h
 * Public interface of Lib_Util, the utility library below Lib_DICOM: the reporting channel, the
 * byte-order aware accessors, and the small text helpers that both libraries share.
 *
 * No function throws. Unless a function says otherwise, text is a NUL-terminated byte string whose
 * bytes pass through unchanged, whatever the process's locale is.
 */
#ifndef LIB_UTIL_LIB_UTIL_H
#define LIB_UTIL_LIB_UTIL_H

#if defined(_WIN32)
#if defined(LIB_UTIL_BUILD)
#define LIB_UTIL_API __declspec(dllexport)
#else
#define LIB_UTIL_API __declspec(dllimport)
#endif
#else
#define LIB_UTIL_API __attribute__((visibility("default")))
#endif

/** Window handle: opaque, only handed on to the message sink. Null is a valid handle. */
struct HWND__;
typedef struct HWND__* HWND;

/** Window handle used where a function is given none. Default null. */
extern LIB_UTIL_API HWND hwnd;
/** Finest trace level that is shown: 0 (default) shows none, 9 shows all. */
extern LIB_UTIL_API int Flag_Trace;
/** Name of the host program, for the sink's use; not owned. Default null. */
extern LIB_UTIL_API char* Prog_Name;

/* ---- reporting ---- */

/**
 * Receives one message.
 *
 * @param handle    the window handle of the call that reports
 * @param severity  the severity word: 0x9000200N a trace of level N (1 coarse to 9 fine),
 *                  0x80000001 the place of the error that follows, 1 a memory or internal error,
 *                  2 an error, any other small number an ordinary message at a level that the
 *                  application chose
 * @param text      the message without a line end, in UTF-8 or in the bytes of the file's own
 *                  character set, with its markup bytes (0x01, 0x04, 0x05, 0x06 colours, 0x02 back
 *                  to normal, 0xF1 and 0xF0 emphasis on and off); valid during the call only
 * @param context   the pointer given to Error_Sink_Set
 */
typedef void (*Error_Sink)(HWND handle, unsigned int severity, const char* text, void* context);

/**
 * Directs all messages to `sink`. A null sink restores the default: standard error, with markup
 * shown as colours on a terminal and dropped elsewhere.
 *
 * @return the previous sink, null when it was the default
 */
LIB_UTIL_API Error_Sink Error_Sink_Set(Error_Sink sink, void* context);

/** Tells whether a message with this severity word passes the filter of `Flag_Trace`. */
inline int Error_Wanted(unsigned int severity)
{
    const bool is_trace = (severity & 0xFFFFFFF0U) == 0x90002000U;
    return !is_trace || static_cast<int>(severity & 0xFU) <= Flag_Trace;
}

/**
 * Reports one message. Hidden traces return at once, before anything is formatted.
 *
 * The format is that of printf; `%hs` and `%hc` take narrow, `%ls` and `%lc` wide text in both
 * forms. A plain `%s` or `%c` takes text of the format's own width. Narrow text passes byte for
 * byte, wide text is converted to UTF-8. A null text prints as "(null)". A NUL given to `%c` prints
 * as a blank, since it would cut the message. There is no `%n`: it, like any unknown conversion, is
 * printed as it stands together with the rest of the format. The precision of a text counts bytes
 * of narrow and characters of wide text, and nothing behind it is read. In a wide format, U+00F0 and
 * U+00F1 are the emphasis markup. Without memory a narrow format itself is delivered, for a wide
 * one a line that says that a message was lost. Leaves errno alone.
 *
 * @return 1 when the message was delivered, 0 when it was filtered out or lost
 */
LIB_UTIL_API int Error_Fct(HWND handle, unsigned int severity, const char* format, ...);
LIB_UTIL_API int Error_Fct(HWND handle, unsigned int severity, const wchar_t* format, ...);

/**
 * Text of a system error number (errno).
 *
 * @return a text of the library's own, valid until the thread's next call
 */
LIB_UTIL_API const wchar_t* Error_Perror(int error_number);

/** Enters and leaves the one process-wide lock that guards rotating result slots. Recursive. */
LIB_UTIL_API void Critical_Util_In(void);
LIB_UTIL_API void Critical_Util_Out(void);

/* ---- numbers in a given byte order ---- */

/**
 * Values from bytes. `code` is the byte-order code: bit 0x01 big endian, bit 0x02 the bytes of
 * each 16-bit pair are swapped; other bits are ignored. The pair swap is undone first, then the
 * endianness is applied. `bytes` needs no alignment and holds at least the width of the type.
 */
LIB_UTIL_API short Get_Short(unsigned char code, const void* bytes);
LIB_UTIL_API unsigned short Get_UShort(unsigned char code, const void* bytes);
LIB_UTIL_API int Get_Int(unsigned char code, const void* bytes);
LIB_UTIL_API float Get_Float(unsigned char code, const void* bytes);
LIB_UTIL_API double Get_Double(unsigned char code, const void* bytes);

/**
 * Bytes from values, the inverse of the functions above.
 *
 * @return the 2, 4 or 8 bytes of the value, valid until the thread's next Put call
 */
LIB_UTIL_API const unsigned char* Put_Short(unsigned char code, short value);
LIB_UTIL_API const unsigned char* Put_UShort(unsigned char code, unsigned short value);
LIB_UTIL_API const unsigned char* Put_Int(unsigned char code, int value);
LIB_UTIL_API const unsigned char* Put_Float(unsigned char code, float value);
LIB_UTIL_API const unsigned char* Put_Double(unsigned char code, double value);

/* ---- text ---- */

/**
 * Next token of a text: runs of delimiters count as one, empty tokens are never returned. The text
 * is edited in place. Each thread has one tokeniser.
 *
 * @param text        the text to start on, or null to go on with the last one
 * @param delimiters  the set of delimiter characters
 * @return the token, null at the end
 */
LIB_UTIL_API char* Str_Strtok(char* text, const char* delimiters);

/**
 * Matches a text against a pattern, without regard to the case of ASCII letters: `?` stands for
 * any one character, `*` for any run of characters, anything else for itself.
 *
 * @return nonzero when the whole text matches
 */
LIB_UTIL_API int Str_Match(const char* pattern, const char* text);

/** Removes every double quote character. Edits in place and returns `text`. Null gives null. */
LIB_UTIL_API char* Str_Strip_Quotes(char* text);
/** Removes leading and trailing blanks (0x20). Edits in place and returns `text`. */
LIB_UTIL_API char* Str_Strip_Spaces(char* text);
/** Turns the ASCII capitals into small letters. Edits in place and returns `text`. */
LIB_UTIL_API char* Str_To_Lower(char* text);

/**
 * Wide copy of a narrow text: UTF-8 is decoded. A byte that is not UTF-8 becomes the lone surrogate
 * 0xDC00 + byte, which no UTF-8 stands for, so that Wchar_2_Char gives every text back and every
 * file can be named in wide characters. Messages show it as the character of the byte in ISO 8859-1.
 *
 * @return a text from the C heap that the caller frees, null for null or without memory
 */
LIB_UTIL_API wchar_t* Char_2_Wchar(const char* text);

/**
 * Narrow copy of a wide text in UTF-8, the inverse of Char_2_Wchar.
 *
 * @return a text from the C heap that the caller frees; null for null, for a text that has no narrow
 *         form, and without memory
 */
LIB_UTIL_API char* Wchar_2_Char(const wchar_t* text);

/**
 * Takes a path apart. Both separators, '/' and '\\', are understood; the extension starts at the
 * last '.' of the file name, unless that is its first character.
 *
 * @param path       the path
 * @param directory  receives everything up to and including the last separator, or null to skip
 * @param base       receives the file name without directory and extension, or null to skip
 * @param extension  receives the extension with its '.', or null to skip
 *                   (each buffer holds at least strlen(path) + 1 bytes)
 * @return the base name: `base` when given, else a text valid until the thread's next call
 */
LIB_UTIL_API char* Get_Generic_Name(const char* path, char* directory, char* base, char* extension);

#endif
