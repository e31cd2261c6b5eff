#include "dictionary/name_search.h"

namespace lib_dicom {

namespace {

/** The letter as names are compared, 0 for a character that does not count. */
char Folded(char c)
{
    if (c >= 'A' && c <= 'Z') {
        return static_cast<char>(c - 'A' + 'a');
    }
    return (c >= 'a' && c <= 'z') || (c >= '0' && c <= '9') ? c : '\0';
}

/** Moves to the next character that counts, or to the end. */
const char* Skip(const char* text)
{
    while (*text != '\0' && Folded(*text) == '\0') {
        ++text;
    }
    return text;
}

bool Begins_With(const char* name, const char* part)
{
    for (; *part != '\0'; part = Skip(part + 1), name = Skip(name + 1)) {
        if (*name == '\0' || Folded(*name) != Folded(*part)) {
            return false;
        }
    }
    return true;
}

}  // namespace

bool Name_Contains(const char* name, const char* part)
{
    part = Skip(part);
    if (*part == '\0') {
        return false;
    }
    for (name = Skip(name); *name != '\0'; name = Skip(name + 1)) {
        if (Begins_With(name, part)) {
            return true;
        }
    }
    return false;
}

}  // namespace lib_dicom
