// The search for names in the registries.
#ifndef LIB_DICOM_SRC_DICTIONARY_NAME_SEARCH_H
#define LIB_DICOM_SRC_DICTIONARY_NAME_SEARCH_H

namespace lib_dicom {

/**
 * Tells whether a name contains a text. Only ASCII letters, whose case makes no difference, and
 * digits count: keywords are names without the other characters. An empty text is in no name.
 */
bool Name_Contains(const char* name, const char* part);

}  // namespace lib_dicom

#endif
