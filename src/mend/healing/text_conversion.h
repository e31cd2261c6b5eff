// Brings every text of a data set to UTF-8.
#ifndef LIB_MEND_TEXT_CONVERSION_H
#define LIB_MEND_TEXT_CONVERSION_H

#include "mend/healing/texts.h"

namespace lib_mend {

/**
 * Converts the texts of a data set and declares ISO_IR 192; nothing is changed, and the texts that
 * stand against it are said, when one of them does not convert without loss. Texts in UTF-8 stay as
 * they are, and so do former values in Original Attributes that have a declaration.
 *
 * @param without_private  private texts are left out later, and stand against nothing
 */
void Convert_To_UTF_8(Data_Set& set, std::vector<Text_Scope>& scopes, bool without_private,
                      Findings& findings);

}  // namespace lib_mend

#endif
